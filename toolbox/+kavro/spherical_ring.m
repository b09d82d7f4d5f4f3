function element = spherical_ring(inner_radius, outer_radius, rad_curvature, varargin)
% SPHERICAL_RING  One focusing bowl with a hole in its middle.
%
%   element = kavro.spherical_ring(inner_radius, outer_radius, rad_curvature)
%   element = kavro.spherical_ring(inner_radius, outer_radius, rad_curvature, option, value, ...)
%
%   The part between two rims of the bowl that kavro.spherical_shell makes: the bowl's deepest
%   point, which the hole takes away, is the origin, and the geometric focus is
%   [0 0 rad_curvature], unless told otherwise. With an inner radius of 0 it is the whole bowl.
%
%   Arguments
%     inner_radius   radius of the hole's rim in m, zero or positive
%     outer_radius   radius of the outer rim in m, larger than inner_radius
%     rad_curvature  radius of curvature in m, at least outer_radius
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
%   Example: a bowl with room for an imaging probe
%     kavro.show_array(kavro.spherical_ring(8e-3, 25e-3, 60e-3));
%
%   See also kavro.spherical_shell, kavro.annular_array, kavro.ring, kavro.show_array,
%   kavro.solve

me = 'spherical_ring';
kavro.internal.check_count(me, nargin, [3 Inf], ...
                           'inner_radius, outer_radius, rad_curvature and options');
sizes = kavro.internal.rim_sizes(me, inner_radius, outer_radius);
sizes.geometric_focus = kavro.internal.curvature(me, 'rad_curvature', rad_curvature, ...
                                                 sizes.outer_radius);
element = kavro.internal.place_element(me, 'spherical ring', sizes, varargin);
end
