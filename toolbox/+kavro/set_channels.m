function elements = set_channels(elements, channels)
% SET_CHANNELS  Say which elements are wired together.
%
%   elements = kavro.set_channels(elements, channels)
%
%   Elements of one channel fire together, and what they receive adds up. An element has a channel
%   of its own, unless it is given a number; makers number only the strips of a lens. Channels are
%   counted in the order of their numbers, whichever these are, then come the elements without a
%   number in their order. So the channels of an array that nobody numbered are its elements, also
%   where arrays are joined or thinned; joined arrays that are numbered alike share channels.
%
%   Arguments
%     elements  structure array of n elements
%     channels  numbers of channels: n whole numbers, or one for all; 0 is a channel of its own
%
%   Result
%     elements  the same structure array with channel changed
%
%   Example: three rows, of which the two outer ones are wired together
%     elements = kavro.planar_array([64 3], [0.3e-3 2e-3], [0.27e-3 1.9e-3]);
%     elements = kavro.set_channels(elements, [1:64, 65:128, 1:64]);
%
%   See also kavro.set_delays, kavro.rectangular_piston, kavro.plane_wave_events,
%   kavro.focused_events, kavro.synthetic_aperture_events

me = 'set_channels';
kavro.internal.check_count(me, nargin, 2, 'elements, channels');
kavro.internal.check_elements(me, elements);
n = numel(elements);
ok = kavro.internal.is_numbers(channels) && isvector(channels) ...
     && any(numel(channels) == [1 n]) ...
     && all(channels(:) >= 0) && all(channels(:) == round(channels(:)));
kavro.internal.check(ok, me, 'channels', channels, ...
    sprintf('one whole number, 0 or more, or a vector of %d, one for each element', n));
channels = double(channels(:)) .* ones(n, 1);
for i = 1:n
    elements(i).channel = channels(i);
end
end
