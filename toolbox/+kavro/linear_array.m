function elements = linear_array(count, pitch, face, varargin)
% LINEAR_ARRAY  Discs or rectangles in a row along x.
%
%   elements = kavro.linear_array(count, pitch, radius)
%   elements = kavro.linear_array(count, pitch, [width height])
%   elements = kavro.linear_array(count, pitch, [width height], option, value, ...)
%
%   The row is centred at the origin in the plane z = 0 and radiates towards +z; element 1 has
%   the smallest x.
%
%   Arguments
%     count            number of elements, a whole number, 1 or more
%     pitch            distance between neighbouring centres in m, at least 2 * radius or the
%                      width
%     radius           radius of each disc in m, positive
%     [width height]   sizes of each rectangle along x and y in m, positive
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
%   Example: 64 discs, 0.6 mm apart, and a probe of 128 rectangles under a lens
%     elements = kavro.linear_array(64, 0.6e-3, 0.25e-3);
%     fprintf('aperture %.1f mm\n', 1e3 * (elements(end).center(1) - elements(1).center(1)));
%     probe = kavro.linear_array(128, 0.3e-3, [0.27e-3 5e-3], ...
%                                'elevation_focus', 20e-3, 'wavelength', 0.3e-3);
%
%   See also kavro.planar_array, kavro.convex_array, kavro.ring_array, kavro.bowl_array,
%   kavro.focus_delays, kavro.show_array

me = 'linear_array';
kavro.internal.check_count(me, nargin, [3 Inf], 'count, pitch, radius or [width height], and options');
count = kavro.internal.whole_number(me, 'count', count, [1 kavro.internal.most_elements()]);
pitch = kavro.internal.real_number(me, 'pitch', pitch, 'positive', 'm');
options = kavro.internal.lens_options(me, varargin);
[shape, sizes, extent] = kavro.internal.array_face(me, face);
kavro.internal.check_spacing(me, pitch, shape, extent);
x = kavro.internal.centered_steps(count, pitch).';
elements = kavro.internal.make_elements(shape, sizes, [x, zeros(count, 2)], [0 0 0]);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
elements = kavro.internal.add_lens(me, elements, options);
end
