function elements = ring_array(count, pitch, radius, varargin)
% RING_ARRAY  Discs evenly spaced on a circle in the x-y plane.
%
%   elements = kavro.ring_array(count, pitch, radius)
%   elements = kavro.ring_array(count, [], radius, 'ring_radius', r)
%
%   The circle is centred at the origin in the plane z = 0 and the discs radiate towards +z;
%   element 1 lies on +x, the others follow towards +y. In the first form the circle's radius
%   follows from the pitch, the straight distance between neighbouring centres: it is
%   pitch / (2 * sin(pi / count)). In the second form it is given. Rings of different radii can
%   be joined: [a, b].
%
%   Arguments
%     count     number of discs, a whole number, 2 or more
%     pitch     distance between neighbouring centres in m, at least 2 * radius
%     radius    radius of each disc in m, positive
%     r         radius of the circle through the centres in m, positive
%
%   Option
%     'amplitude'  factor of the waveform (surface velocity in m/s), one for all or one for each;
%               default 1
%
%   Result
%     elements  1 x count structure array (fields as kavro.disc makes them)
%
%   Example: two rings, of 16 and 32 discs
%     elements = [kavro.ring_array(16, 2e-3, 0.9e-3), kavro.ring_array(32, 2e-3, 0.9e-3)];
%
%   See also kavro.linear_array, kavro.planar_array, kavro.bowl_array, kavro.focus_delays,
%   kavro.show_array

me = 'ring_array';
kavro.internal.check_count(me, nargin, [3 Inf], 'count, pitch, radius and options');
count = kavro.internal.whole_number(me, 'count', count, [2 kavro.internal.most_elements()]);
sizes.radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
options = kavro.internal.parse_options(me, struct('ring_radius', [], 'amplitude', 1), varargin);
if isempty(options.ring_radius)
    pitch = kavro.internal.real_number(me, 'pitch', pitch, 'positive', 'm');
    r = pitch / (2 * sin(pi / count));
else
    r = kavro.internal.real_number(me, 'ring_radius', options.ring_radius, 'positive', 'm');
    kavro.internal.check(isempty(pitch), me, 'pitch', pitch, ...
                         'empty, [], when ''ring_radius'' is given');
    pitch = 2 * r * sin(pi / count);
end
kavro.internal.check_disc_spacing(me, pitch, sizes.radius);
phi = (0:count - 1)' * (2 * pi / count);
centers = r * [cos(phi), sin(phi), zeros(count, 1)];
elements = kavro.internal.make_elements('disc', sizes, centers, [0 0 0]);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
end
