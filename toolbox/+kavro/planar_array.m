function elements = planar_array(count, pitch, radius)
% PLANAR_ARRAY  Discs on a rectangular grid in the x-y plane.
%
%   elements = kavro.planar_array([nx ny], [px py], radius)
%   elements = kavro.planar_array([nx ny], pitch, radius)
%
%   The grid is centred at the origin in the plane z = 0 and radiates towards +z. Elements are
%   numbered along x first: element i + (j - 1) * nx is the i-th along x in the j-th row.
%
%   Arguments
%     [nx ny]   numbers of discs along x and y, whole numbers, 1 or more
%     [px py]   distances between neighbouring centres along x and y in m, each at least
%               2 * radius; one number serves for both
%     radius    radius of each disc in m, positive
%
%   Result
%     elements  1 x (nx * ny) structure array (fields as kavro.disc makes them)
%
%   Example: 16 x 8 discs
%     elements = kavro.planar_array([16 8], [0.8e-3 1.2e-3], 0.35e-3);
%     fprintf('%d elements\n', numel(elements));
%
%   See also kavro.linear_array, kavro.ring_array, kavro.bowl_array, kavro.focus_delays,
%   kavro.show_array

me = 'planar_array';
kavro.internal.check_count(me, nargin, 3, 'count, pitch, radius');
ok = kavro.internal.is_numbers(count) && numel(count) == 2 ...
     && all(count(:) >= 1) && all(count(:) == round(count(:)));
kavro.internal.check(ok, me, 'count', count, 'two whole numbers [nx ny], 1 or more');
ok = kavro.internal.is_numbers(pitch) && any(numel(pitch) == [1 2]) && all(pitch(:) > 0);
kavro.internal.check(ok, me, 'pitch', pitch, 'one or two positive real numbers (m)');
sizes.radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
kavro.internal.check_disc_spacing(me, pitch, sizes.radius);
x = kavro.internal.centered_steps(double(count(1)), double(pitch(1)));
y = kavro.internal.centered_steps(double(count(2)), double(pitch(end)));
[x, y] = ndgrid(x, y);
elements = kavro.internal.make_elements('circ', sizes, [x(:), y(:), 0 * x(:)], [0 0 0]);
end
