function element = rectangular_piston(width, height, varargin)
% RECTANGULAR_PISTON  One rectangular piston, flat or bent by a lens.
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
%     'elevation_focus'  distance in m at which an elevation lens focuses, at least height / 2;
%                   default [], none
%     'wavelength'  in m, where there is a lens: the shortest that the waveform has much of
%
%   Result
%     element       structure with the fields that kavro.solve reads; sizes that belong to
%                   other shapes are 0. With a lens 1 x n of them
%
%   A lens acts as if the face were part of a cylinder about the line y = 0, z = elevation_focus:
%   its middle stays where it is, its rims at y = -height / 2 and height / 2 stand ahead. The face
%   is returned as flat strips, together as large as that part of the cylinder, all of channel 1
%   (see kavro.set_channels). There are as many as it takes for errors below 0.1 % of the largest
%   pressure at any distance, and below 0.01 % in the focus, at the wavelength and longer ones; at
%   half the wavelength they are 0.5 % near the face, and 0.01 % in the focus.
%
%   kavro.solve offers methods for rectangles, kavro.transient_pressure does not.
%
%   Example: the continuous-wave field of a rectangle in the plane y = 0
%     element = kavro.rectangular_piston(4e-3, 6e-3);
%     grid = kavro.set_coordinate_grid(0.25e-3, -5e-3, 5e-3, 0, 0, 0.5e-3, 20e-3);
%     p = kavro.solve('fnm_cw', element, grid, kavro.set_medium('water'), 'f0', 2e6);
%     fprintf('largest pressure %.2f MPa\n', 1e-6 * max(abs(p(:))));
%
%   Example: an element of 0.27 x 7 mm that focuses at 25 mm in elevation, for 5 MHz
%     element = kavro.rectangular_piston(0.27e-3, 7e-3, 'elevation_focus', 25e-3, ...
%                                        'wavelength', 0.3e-3);
%     fprintf('%d strips\n', numel(element));
%
%   See also kavro.disc, kavro.polygon, kavro.linear_array, kavro.planar_array,
%   kavro.convex_array, kavro.show_array, kavro.solve

me = 'rectangular_piston';
kavro.internal.check_count(me, nargin, [2 Inf], 'width, height and options');
sizes.width = kavro.internal.real_number(me, 'width', width, 'positive', 'm');
sizes.height = kavro.internal.real_number(me, 'height', height, 'positive', 'm');
no_lens = kavro.internal.lens_options(me, {});
[element, options] = kavro.internal.place_element(me, 'rect', sizes, varargin, no_lens);
element = kavro.internal.add_lens(me, element, options);
end
