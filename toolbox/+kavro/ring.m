function element = ring(inner_radius, outer_radius, varargin)
% RING  One flat circular piston with a hole.
%
%   element = kavro.ring(inner_radius, outer_radius)
%   element = kavro.ring(inner_radius, outer_radius, option, value, ...)
%
%   The ring lies around the origin in the plane z = 0 and radiates towards +z, unless told
%   otherwise. With an inner radius of 0 it is the disc.
%
%   Arguments
%     inner_radius  radius of the hole in m, zero or positive
%     outer_radius  radius of the outer rim in m, larger than inner_radius
%
%   Options
%     'center'      middle of the ring in m, three numbers; default [0 0 0]
%     'euler'       Euler angles in rad, three numbers; default [0 0 0]. They tilt the element
%                   as kavro.disc describes
%     'amplitude'   factor of the waveform (surface velocity in m/s); default 1
%     'time_delay'  time in s by which it fires later; default 0
%
%   Result
%     element       structure with the fields that kavro.solve reads; sizes that belong to other
%                   shapes are 0
%
%   Example: on its axis, a ring's wave arrives from both rims
%     element = kavro.ring(4e-3, 10e-3);
%     grid = kavro.set_coordinate_grid([0 0 20e-3]);
%     times = kavro.set_time_samples(20e-9, 12e-6, 20e-6);
%     pulse = kavro.set_excitation_function('hanning pulse', 2e6, 1e-6);
%     p = kavro.solve('fnm_tsd', element, grid, kavro.set_medium(), 'time', times, ...
%                     'excitation', pulse);
%     plot(1e6 * kavro.time_axis(times), p);
%
%   See also kavro.disc, kavro.annular_array, kavro.spherical_ring, kavro.show_array,
%   kavro.solve

me = 'ring';
kavro.internal.check_count(me, nargin, [2 Inf], 'inner_radius, outer_radius and options');
sizes = kavro.internal.rim_sizes(me, inner_radius, outer_radius);
element = kavro.internal.place_element(me, 'ring', sizes, varargin);
end
