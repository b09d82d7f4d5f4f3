function events = make_events(delays, fires, origin, direction, distance)
% MAKE_EVENTS  The structure of transmit events: one row of everything for each event.
%   origin and distance may be one for all.
n = size(delays, 1);
delays(~fires) = NaN;
events = struct('delays', delays, 'apodization', double(fires), ...
                'origin', repmat(origin, n / size(origin, 1), 1), 'direction', direction, ...
                'distance', repmat(distance, n / size(distance, 1), 1));
end
