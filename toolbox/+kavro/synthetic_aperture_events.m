function events = synthetic_aperture_events(elements, varargin)
% SYNTHETIC_APERTURE_EVENTS  Transmit events in which one channel after the other fires alone.
%
%   events = kavro.synthetic_aperture_events(elements)
%   events = kavro.synthetic_aperture_events(elements, 'aperture', channels)
%
%   Time 0 of each event is when its channel fires; the wave is at a point x at the time
%   norm(x - origin) / soundspeed, plus what the waveform takes to its peak.
%
%   Arguments
%     elements     structure array of elements, of k channels (see kavro.set_channels)
%     channels     the channels that fire, in this order: a vector of their numbers, or k logical
%                  values; default all
%
%   Result: a structure of one row for each of the n events
%     delays       n x k: 0 for the channel that fires; NaN: it is silent
%     apodization  n x k: factors of the elements' amplitudes, 1 or 0
%     origin       n x 3: where the channel stands, in m
%     direction    n x 3: a unit vector, in which it radiates
%     distance     n x 1: 0, the wave comes from the origin itself
%
%   Example: every fourth channel
%     elements = kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]);
%     events = kavro.synthetic_aperture_events(elements, 'aperture', 1:4:64);
%
%   See also kavro.plane_wave_events, kavro.focused_events, kavro.set_channels

me = 'synthetic_aperture_events';
kavro.internal.check_count(me, nargin, [1 Inf], 'elements and options');
places = kavro.internal.channel_places(me, elements);
options = kavro.internal.parse_options(me, struct('aperture', []), varargin);
k = size(places.positions, 1);
[~, firing] = kavro.internal.aperture(me, options.aperture, 1, k);
fires = false(numel(firing), k);
fires(sub2ind(size(fires), 1:numel(firing), firing)) = true;
events = kavro.internal.make_events(zeros(size(fires)), fires, places.positions(firing, :), ...
                                    places.directions(firing, :), 0);
end
