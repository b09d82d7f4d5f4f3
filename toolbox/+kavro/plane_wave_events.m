function events = plane_wave_events(elements, angles, medium, varargin)
% PLANE_WAVE_EVENTS  Transmit events that send plane waves.
%
%   events = kavro.plane_wave_events(elements, angles, medium)
%   events = kavro.plane_wave_events(elements, angles, medium, option, value, ...)
%
%   Time 0 of each event is when its wave passes the origin; some channels fire before it, and have
%   negative delays. So the wave is at a point x at the time direction . (x - origin) / soundspeed,
%   plus what the waveform takes to its peak.
%
%   Arguments
%     elements     structure array of elements, of k channels (see kavro.set_channels)
%     angles       a vector of n angles in rad, by which the waves are turned from +z towards +x
%     medium       structure with the field soundspeed (m/s), as kavro.set_medium makes it
%
%   Options
%     'elevation'  by how much the waves are turned towards +y in rad: n angles, or one for all;
%                  default 0. A wave goes towards [sin(a)*cos(e), sin(e), cos(a)*cos(e)]
%     'aperture'   the channels that fire: a vector of their numbers, or k logical values, for all
%                  events, or n x k logical values; default all
%     'origin'     the point that the waves pass at time 0 in m; default [0 0 0]
%
%   Result: a structure of one row for each event
%     delays       n x k: when each channel fires, in s; NaN: it is silent
%     apodization  n x k: factors of the elements' amplitudes, 1 or 0
%     origin       n x 3: the point in m that the wave passes at time 0
%     direction    n x 3: a unit vector, in which the wave goes there
%     distance     n x 1: how far ahead of the origin in m the wave meets in a point (behind it, if
%                  negative); Inf here
%
%   Example: eleven plane waves, from -15 to 15 degrees
%     elements = kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]);
%     events = kavro.plane_wave_events(elements, (-15:3:15) * pi / 180, kavro.set_medium());
%     kavro.show_array(kavro.set_delays(elements, events.delays(1, :)));
%
%   See also kavro.focused_events, kavro.synthetic_aperture_events, kavro.set_channels,
%   kavro.focus_delays

me = 'plane_wave_events';
kavro.internal.check_count(me, nargin, [3 Inf], 'elements, angles, medium and options');
places = kavro.internal.channel_places(me, elements);
ok = kavro.internal.is_numbers(angles) && isvector(angles);
kavro.internal.check(ok, me, 'angles', angles, 'a vector of real numbers (rad)');
c = kavro.internal.sound_speed(me, medium);
defaults = struct('elevation', 0, 'aperture', [], 'origin', [0 0 0]);
options = kavro.internal.parse_options(me, defaults, varargin);
n = numel(angles);
elevation = options.elevation;
ok = kavro.internal.is_numbers(elevation) && isvector(elevation) && any(numel(elevation) == [1 n]);
kavro.internal.check(ok, me, 'elevation', elevation, ...
                     sprintf('one real number, or a vector of %d, one for each angle (rad)', n));
origin = kavro.internal.three_numbers(me, 'origin', options.origin, 'm');
fires = kavro.internal.aperture(me, options.aperture, n, size(places.positions, 1));

a = double(angles(:));
e = double(elevation(:)) .* ones(n, 1);
direction = [sin(a) .* cos(e), sin(e), cos(a) .* cos(e)];
from_origin = places.positions - repmat(origin, size(places.positions, 1), 1);
delays = direction * from_origin.' / c;
events = kavro.internal.make_events(delays, fires, origin, direction, Inf);
end
