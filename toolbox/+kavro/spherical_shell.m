function element = spherical_shell(radius, rad_curvature, varargin)
% SPHERICAL_SHELL  One focusing bowl: the cap of a sphere.
%
%   element = kavro.spherical_shell(radius, rad_curvature)
%   element = kavro.spherical_shell(radius, rad_curvature, option, value, ...)
%
%   The bowl's deepest point is the origin and it opens towards +z, unless told otherwise; its
%   geometric focus, the centre of the sphere, is [0 0 rad_curvature].
%
%   Arguments
%     radius         radius of the rim in m, positive
%     rad_curvature  radius of curvature in m, at least radius (a hemisphere)
%
%   Options
%     'center'      deepest point of the bowl in m, three numbers; default [0 0 0]
%     'euler'       Euler angles in rad, three numbers; default [0 0 0]. They tilt the element
%                   as kavro.disc describes
%     'amplitude'   factor of the waveform (surface velocity in m/s); default 1
%     'time_delay'  time in s by which it fires later; default 0
%
%   Result
%     element       structure with the fields that kavro.solve reads; sizes that belong to other
%                   shapes are 0
%
%   Example: continuous wave of a bowl in its focal plane
%     bowl = kavro.spherical_shell(10e-3, 30e-3);
%     grid = kavro.set_coordinate_grid(0.05e-3, -4e-3, 4e-3, 0, 0, 30e-3, 30e-3);
%     p = kavro.solve('fnm_cw', bowl, grid, kavro.set_medium('water'), 'f0', 1e6);
%     kavro.show_field(abs(p), grid);
%
%   See also kavro.spherical_ring, kavro.annular_array, kavro.bowl_array, kavro.disc,
%   kavro.show_array, kavro.solve

me = 'spherical_shell';
kavro.internal.check_count(me, nargin, [2 Inf], 'radius, rad_curvature and options');
sizes.radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
sizes.rad_curvature = kavro.internal.curvature(me, 'rad_curvature', rad_curvature, sizes.radius);
element = kavro.internal.place_element(me, 'spherical shell', sizes, varargin);
end
