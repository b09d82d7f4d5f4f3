function element = disc(radius, varargin)
% DISC  One flat circular piston.
%
%   element = kavro.disc(radius)
%   element = kavro.disc(radius, option, value, ...)
%
%   The disc lies at the origin in the plane z = 0 and radiates towards +z, unless told
%   otherwise. Elements can be joined into an array: [a, b].
%
%   Argument
%     radius        radius in m, positive
%
%   Options
%     'center'      centre in m, three numbers; default [0 0 0]
%     'euler'       Euler angles in rad, three numbers; default [0 0 0]. An element with the
%                   angles [a b 0] radiates towards [sin(a), -cos(a)*sin(b), cos(a)*cos(b)]:
%                   a tilts it from +z towards +x, b from +z towards -y
%     'amplitude'   factor of the waveform (surface velocity in m/s); default 1
%     'time_delay'  time in s by which it fires later; default 0
%
%   Result
%     element       structure with the fields that kavro.transient_pressure and kavro.solve
%                   read; sizes that belong to other shapes are 0
%
%   Example: a disc of 5 mm radius, and one beside it, tilted by 10 degrees towards +x
%     a = kavro.disc(5e-3);
%     b = kavro.disc(5e-3, 'center', [-12e-3 0 0], 'euler', [10 0 0] * pi / 180);
%     pair = [a, b];
%
%   See also kavro.rectangular_piston, kavro.polygon, kavro.ring, kavro.spherical_shell,
%   kavro.linear_array, kavro.planar_array, kavro.ring_array, kavro.bowl_array, kavro.show_array,
%   kavro.transient_pressure

me = 'disc';
kavro.internal.check_count(me, nargin, [1 Inf], 'radius and options');
sizes.radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
element = kavro.internal.place_element(me, 'disc', sizes, varargin);
end
