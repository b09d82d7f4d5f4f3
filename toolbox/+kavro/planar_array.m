function elements = planar_array(count, pitch, face, varargin)
% PLANAR_ARRAY  Discs or rectangles on a rectangular grid in the x-y plane.
%
%   elements = kavro.planar_array([nx ny], [px py], radius)
%   elements = kavro.planar_array([nx ny], [px py], [width height])
%   elements = kavro.planar_array([nx ny], pitch, ...)
%   elements = kavro.planar_array([nx ny], [px py], [width height], option, value, ...)
%
%   The grid is centred at the origin in the plane z = 0 and radiates towards +z. Elements are
%   numbered along x first: element i + (j - 1) * nx is the i-th along x in the j-th row.
%
%   Arguments
%     [nx ny]          numbers of elements along x and y, whole numbers, 1 or more
%     [px py]          distances between neighbouring centres along x and y in m, each at least
%                      2 * radius, or the width and the height; one number serves for both
%     radius           radius of each disc in m, positive
%     [width height]   sizes of each rectangle along x and y in m, positive
%
%   Options
%     'amplitude'      factor of the waveform (surface velocity in m/s), one for all or one for
%                      each; default 1
%     'elevation_focus', 'wavelength'  of rectangles, in m: a lens that focuses in y, as
%                      kavro.rectangular_piston has it, common to all rows; every rectangle
%                      becomes strips of one channel
%
%   Result
%     elements  1 x (nx * ny) structure array (fields as kavro.disc and
%               kavro.rectangular_piston make them)
%
%   Example: 16 x 8 discs, and a matrix array of 32 x 32 squares
%     elements = kavro.planar_array([16 8], [0.8e-3 1.2e-3], 0.35e-3);
%     fprintf('%d elements\n', numel(elements));
%     matrix = kavro.planar_array([32 32], 0.3e-3, [0.28e-3 0.28e-3]);
%
%   See also kavro.linear_array, kavro.convex_array, kavro.ring_array, kavro.bowl_array,
%   kavro.focus_delays, kavro.show_array

me = 'planar_array';
kavro.internal.check_count(me, nargin, [3 Inf], 'count, pitch, radius or [width height], and options');
ok = kavro.internal.is_numbers(count) && numel(count) == 2 ...
     && all(count(:) >= 1) && all(count(:) == round(count(:)));
kavro.internal.check(ok, me, 'count', count, 'two whole numbers [nx ny], 1 or more');
most = kavro.internal.most_elements();
kavro.internal.check(prod(double(count)) <= most, me, 'count', count, ...
                     sprintf('of no more than %d elements together', most));
ok = kavro.internal.is_numbers(pitch) && any(numel(pitch) == [1 2]) && all(pitch(:) > 0);
kavro.internal.check(ok, me, 'pitch', pitch, 'one or two positive real numbers (m)');
pitch = double(pitch([1 end]));
options = kavro.internal.lens_options(me, varargin);
[shape, sizes, extent] = kavro.internal.array_face(me, face);
kavro.internal.check_spacing(me, pitch, shape, extent);
x = kavro.internal.centered_steps(double(count(1)), pitch(1));
y = kavro.internal.centered_steps(double(count(2)), pitch(2));
[x, y] = ndgrid(x, y);
elements = kavro.internal.make_elements(shape, sizes, [x(:), y(:), 0 * x(:)], [0 0 0]);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
elements = kavro.internal.add_lens(me, elements, options, y(:));
end
