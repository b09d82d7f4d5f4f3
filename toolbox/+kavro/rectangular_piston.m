function element = rectangular_piston(width, height, varargin)
% RECTANGULAR_PISTON  One flat rectangular piston.
%
%   element = kavro.rectangular_piston(width, height)
%   element = kavro.rectangular_piston(width, height, option, value, ...)
%
%   The rectangle lies centred at the origin in the plane z = 0, its width along x and its height
%   along y, and radiates towards +z, unless told otherwise. Elements can be joined into an
%   array: [a, b].
%
%   Arguments
%     width         width in m, positive
%     height        height in m, positive
%
%   Options
%     'center'      centre in m, three numbers; default [0 0 0]
%     'euler'       Euler angles in rad, three numbers; default [0 0 0]. An element with the
%                   angles [a b 0] radiates towards [sin(a), -cos(a)*sin(b), cos(a)*cos(b)]:
%                   a tilts it from +z towards +x, b from +z towards -y. A third angle alone
%                   turns the rectangle in its own plane, from +x towards +y
%     'amplitude'   factor of the waveform (surface velocity in m/s); default 1
%     'time_delay'  time in s by which it fires later; default 0
%
%   Result
%     element       structure with the fields that kavro.solve reads; sizes that belong to
%                   other shapes are 0
%
%   kavro.solve offers methods for rectangles, kavro.transient_pressure does not.
%
%   Example: the continuous-wave field of a rectangle in the plane y = 0
%     element = kavro.rectangular_piston(4e-3, 6e-3);
%     grid = kavro.set_coordinate_grid(0.25e-3, -5e-3, 5e-3, 0, 0, 0.5e-3, 20e-3);
%     p = kavro.solve('fnm_cw', element, grid, kavro.set_medium('water'), 'f0', 2e6);
%     fprintf('largest pressure %.2f MPa\n', 1e-6 * max(abs(p(:))));
%
%   See also kavro.disc, kavro.polygon, kavro.linear_array, kavro.planar_array,
%   kavro.convex_array, kavro.show_array, kavro.solve

me = 'rectangular_piston';
kavro.internal.check_count(me, nargin, [2 Inf], 'width, height and options');
sizes.width = kavro.internal.real_number(me, 'width', width, 'positive', 'm');
sizes.height = kavro.internal.real_number(me, 'height', height, 'positive', 'm');
element = kavro.internal.place_element(me, 'rect', sizes, varargin);
end
