function [channel, share] = channels(elements)
% CHANNELS  The channels to which elements are wired.
%   [channel, share] = CHANNELS(elements) returns, 1 x n, the number of each element's channel,
%   from 1 to the count of channels: in the order of the elements' field channel, then the elements
%   without a number, each a channel of its own. share, 1 x n, are weights with which the elements
%   say where their channel stands: the middle one of them alone, or those that share the middle.
n = numel(elements);
given = zeros(1, n);
if isfield(elements, 'channel')
    given = double([elements.channel]);
end
own = given == 0;
given(own) = max(given) + (1:sum(own));
[~, ~, channel] = unique(given);
channel = channel(:);
if nargout > 1
    share = kavro.internal.middle_share(channel, kavro.internal.element_middles(elements)).';
end
channel = channel.';
end
