function delays = focus_delays(elements, point, medium)
% FOCUS_DELAYS  Time delays that let the waves of all elements arrive at a point together.
%
%   delays = kavro.focus_delays(elements, point, medium)
%
%   The element farthest from the point fires at time 0 and the nearest last, so no delay is
%   negative. Distances are taken from the elements' centres, those of polygons from the centre of
%   their area, those of rings from the circle that halves it; elements of one channel fire together,
%   by the distance of the middle one of them. The wave then arrives at the point at
%   max(distance) / soundspeed.
%
%   Arguments
%     elements  structure array of n elements
%     point     the focus in m, three numbers x, y, z
%     medium    structure with the field soundspeed (m/s), as kavro.set_medium makes it
%
%   Result
%     delays    1 x n row of delays in s, one for each element, zero or positive; give them to
%               kavro.set_delays
%
%   Example: steered by about 13 degrees and focused
%     medium = kavro.set_medium('water');
%     elements = kavro.linear_array(64, 0.6e-3, 0.25e-3);
%     delays = kavro.focus_delays(elements, [8e-3 0 35e-3], medium);
%     elements = kavro.set_delays(elements, delays);
%
%   See also kavro.set_delays, kavro.set_amplitudes, kavro.set_medium, kavro.show_array

me = 'focus_delays';
kavro.internal.check_count(me, nargin, 3, 'elements, point, medium');
kavro.internal.check_elements(me, elements);
point = kavro.internal.three_numbers(me, 'point', point, 'm');
c = kavro.internal.sound_speed(me, medium);
[channel, share] = kavro.internal.channels(elements);
distance = kavro.internal.element_distances(elements, point);
distance = kavro.internal.channel_means(channel, share, distance(:)).';
distance = distance(channel);
delays = (max(distance) - distance) / c;
end
