function elements = convex_array(count, pitch, face, rad_curvature, varargin)
% CONVEX_ARRAY  Discs or rectangles on an arc, radiating outwards.
%
%   elements = kavro.convex_array(count, pitch, [width height], rad_curvature)
%   elements = kavro.convex_array(count, pitch, radius, rad_curvature)
%   elements = kavro.convex_array(count, pitch, [width height], rad_curvature, option, value, ...)
%
%   The arc lies in the x-z plane. Its highest point is the origin, its centre of curvature lies
%   at [0 0 -rad_curvature], and every element radiates away from that centre; the middle of the
%   array radiates towards +z. Element 1 has the smallest x.
%
%   Arguments
%     count            number of elements, a whole number, 1 or more
%     pitch            distance between neighbouring centres along the arc in m, at least the
%                      width, or 2 * radius
%     [width height]   sizes of each rectangle along the arc and along y in m, positive
%     radius           radius of each disc in m, positive
%     rad_curvature    radius of curvature of the arc in m, positive. The centres may take up
%                      half a circle at most
%
%   Options
%     'amplitude'      factor of the waveform (surface velocity in m/s), one for all or one for
%                      each; default 1
%     'elevation_focus', 'wavelength'  of rectangles, in m: a lens that focuses in y, as
%                      kavro.rectangular_piston has it; every rectangle becomes strips of one
%                      channel
%
%   Result
%     elements  1 x count structure array (fields as kavro.disc and kavro.rectangular_piston
%               make them)
%
%   Example: an abdominal probe, focused 60 mm before its middle
%     elements = kavro.convex_array(96, 0.5e-3, [0.45e-3 12e-3], 50e-3);
%     delays = kavro.focus_delays(elements, [0 0 60e-3], kavro.set_medium('liver'));
%     kavro.show_array(kavro.set_delays(elements, delays));
%
%   See also kavro.linear_array, kavro.planar_array, kavro.bowl_array, kavro.focus_delays,
%   kavro.show_array

me = 'convex_array';
kavro.internal.check_count(me, nargin, [4 Inf], 'count, pitch, [width height], rad_curvature and options');
count = kavro.internal.whole_number(me, 'count', count, [1 kavro.internal.most_elements()]);
pitch = kavro.internal.real_number(me, 'pitch', pitch, 'positive', 'm');
options = kavro.internal.lens_options(me, varargin);
[shape, sizes, extent] = kavro.internal.array_face(me, face);
kavro.internal.check_spacing(me, pitch, shape, extent);
R = kavro.internal.real_number(me, 'rad_curvature', rad_curvature, 'positive', 'm');
expected = sprintf('at least %.6g m, so that the array takes up no more than half a circle', ...
                   (count - 1) * pitch / pi);
kavro.internal.check((count - 1) * pitch <= pi * R, me, 'rad_curvature', rad_curvature, expected);
theta = kavro.internal.centered_steps(count, pitch / R).';
% R (1 - cos theta), written so that a shallow arc loses no digits
depth = 2 * R * sin(theta / 2) .^ 2;
none = zeros(count, 1);
elements = kavro.internal.make_elements(shape, sizes, [R * sin(theta), none, -depth], ...
                                        [theta, none, none]);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
elements = kavro.internal.add_lens(me, elements, options);
end
