function element = polygon(corners, varargin)
% POLYGON  One flat piston in the form of a convex polygon.
%
%   element = kavro.polygon(corners)
%   element = kavro.polygon(corners, option, value, ...)
%
%   The face lies in the plane z = 0 and radiates towards +z, unless told otherwise. Triangles and
%   hexagons of matrix and bowl arrays are such faces. Elements can be joined into an array: [a, b].
%
%   Argument
%     corners       x and y of each corner in m, n x 2 with n at least 3, in order around a convex
%                   face, in either sense
%
%   Options
%     'center'      where the corners' origin lies, in m, three numbers; default [0 0 0]
%     'euler'       Euler angles in rad, three numbers; default [0 0 0]. They tilt the element as
%                   kavro.disc describes; a third angle alone turns it in its own plane
%     'amplitude'   factor of the waveform (surface velocity in m/s); default 1
%     'time_delay'  time in s by which it fires later; default 0
%
%   Result
%     element       structure with the fields that kavro.solve reads, corners among them; sizes
%                   that belong to other shapes are 0
%
%   kavro.solve offers methods for polygons, kavro.transient_pressure does not.
%
%   Example: the continuous-wave field of a hexagon of 5 mm sides, 30 mm in front of it
%     phi = (0:5)' * pi / 3;
%     element = kavro.polygon(5e-3 * [cos(phi), sin(phi)]);
%     grid = kavro.set_coordinate_grid(0.5e-3, -15e-3, 15e-3, -15e-3, 15e-3, 30e-3, 30e-3);
%     p = kavro.solve('fnm_cw', element, grid, kavro.set_medium(), 'f0', 2e6);
%     kavro.show_field(abs(p), grid);
%
%   See also kavro.disc, kavro.rectangular_piston, kavro.bowl_array, kavro.show_array, kavro.solve

me = 'polygon';
kavro.internal.check_count(me, nargin, [1 Inf], 'corners and options');
ok = kavro.internal.is_numbers(corners, [NaN 2]) && size(corners, 1) >= 3;
kavro.internal.check(ok, me, 'corners', corners, 'n x 2 numbers (m) with n at least 3');
corners = double(corners);
kavro.internal.check(goes_around(corners), me, 'corners', corners, ...
                     'in order around a convex face, none twice in a row');
element = kavro.internal.place_element(me, 'polygon', struct('corners', corners), varargin);
end

function yes = goes_around(corners)
% Whether the sides turn the same way everywhere, once around in all.
sides = corners([2:end, 1], :) - corners;
after = sides([2:end, 1], :);
turns = atan2(sides(:, 1) .* after(:, 2) - sides(:, 2) .* after(:, 1), sum(sides .* after, 2));
turns = turns * sign(sum(turns));
yes = all(any(sides ~= 0, 2)) && all(turns > -1e-9 & turns < pi - 1e-9) && sum(turns) < 3 * pi ...
      && sum(turns) > pi;
end
