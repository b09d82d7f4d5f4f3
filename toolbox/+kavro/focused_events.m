function events = focused_events(elements, points, medium, varargin)
% FOCUSED_EVENTS  Transmit events that send focused or diverging waves.
%
%   events = kavro.focused_events(elements, points, medium)
%   events = kavro.focused_events(elements, points, medium, option, value, ...)
%
%   Waves meet in points in front of the array, and seem to come from points behind it. Time 0 of
%   each event is when its wave passes the origin, so that it is in a point in front of the array at
%   norm(point - origin) / soundspeed; some channels fire before time 0, and have negative delays.
%
%   Arguments
%     elements     structure array of elements, of k channels (see kavro.set_channels)
%     points       n x 3: x, y and z of each event's point in m
%     medium       structure with the field soundspeed (m/s), as kavro.set_medium makes it
%
%   Options: the channels that fire are those that all of them allow
%     'aperture'   a vector of channels' numbers, or k logical values, for all events, or n x k
%                  logical values; default all
%     'count'      how many channels fire, those nearest to the point (of equally near ones the
%                  lower number first)
%     'f_number'   distance of the point from the nearest channel over the width of the part of the
%                  array that fires, which lies around that channel
%     'origin'     the point that the waves pass at time 0 in m; default [0 0 0]
%
%   Result: a structure of one row for each event
%     delays       n x k: when each channel fires, in s; NaN: it is silent
%     apodization  n x k: factors of the elements' amplitudes, 1 or 0
%     origin       n x 3: the point in m that the wave passes at time 0
%     direction    n x 3: a unit vector, in which the wave goes there
%     distance     n x 1: how far ahead of the origin in m the point lies; negative behind it
%
%   The wave is at a point x at the time (distance + s * norm(x - point)) / soundspeed, s being the
%   sign of direction . (x - point), plus what the waveform takes to its peak.
%
%   Example: lines 1 mm apart, focused at 30 mm by a part of the array that moves along
%     elements = kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]);
%     x = (-8:8)' * 1e-3;
%     events = kavro.focused_events(elements, [x, 0 * x, 30e-3 + 0 * x], kavro.set_medium(), ...
%                                   'f_number', 2.5);
%
%   See also kavro.plane_wave_events, kavro.synthetic_aperture_events, kavro.set_channels,
%   kavro.focus_delays

me = 'focused_events';
kavro.internal.check_count(me, nargin, [3 Inf], 'elements, points, medium and options');
places = kavro.internal.channel_places(me, elements);
ok = kavro.internal.is_numbers(points, [NaN 3]);
kavro.internal.check(ok, me, 'points', points, 'an n x 3 matrix of real numbers (m)');
points = double(points);
c = kavro.internal.sound_speed(me, medium);
defaults = struct('aperture', [], 'count', [], 'f_number', [], 'origin', [0 0 0]);
options = kavro.internal.parse_options(me, defaults, varargin);
origin = kavro.internal.three_numbers(me, 'origin', options.origin, 'm');
n = size(points, 1);
k = size(places.positions, 1);
fires = kavro.internal.aperture(me, options.aperture, n, k);
away = zeros(n, k);
for i = 1:n
    of_elements = kavro.internal.element_distances(elements, points(i, :));
    away(i, :) = kavro.internal.channel_means(places.channel, places.share, of_elements(:)).';
end
fires = fires & near_enough(me, away, fires, options);

% Which side of the array a point is on, and of the origin.
facing = sum(places.directions, 1).';
ahead = @(from) 2 * ((points - repmat(from, n, 1)) * facing >= 0) - 1;
middle = kavro.internal.middle_share(ones(k, 1), places.positions).' * places.positions;
from_origin = points - repmat(origin, n, 1);
far = sqrt(sum(from_origin .^ 2, 2));
distance = ahead(origin) .* far;
direction = from_origin ./ repmat(distance, 1, 3);
direction(far == 0, :) = repmat(kavro.internal.unit_rows(facing.'), sum(far == 0), 1);
delays = (repmat(distance, 1, k) - repmat(ahead(middle), 1, k) .* away) / c;
events = kavro.internal.make_events(delays, fires, origin, direction, distance);
end

function near = near_enough(me, away, allowed, options)
near = true(size(away));
away(~allowed) = Inf;
if ~isempty(options.f_number)
    f = kavro.internal.real_number(me, 'f_number', options.f_number, 'positive', '');
    reach = min(away, [], 2) * sqrt(1 + 1 / (4 * f ^ 2)) * (1 + 1e-9);
    near = away <= repmat(reach, 1, size(away, 2));
end
if ~isempty(options.count)
    count = kavro.internal.whole_number(me, 'count', options.count, [1 size(away, 2)]);
    [~, order] = sort(away, 2);
    for i = 1:size(away, 1)
        near(i, order(i, count + 1:end)) = false;
    end
end
end
