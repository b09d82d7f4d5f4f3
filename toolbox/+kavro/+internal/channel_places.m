function places = channel_places(caller, elements)
% CHANNEL_PLACES  Where the channels of an array stand and where they face.
%   A structure of channel and share as CHANNELS returns them, positions and directions (count x 3:
%   m, and unit vectors; 0 for a channel whose elements face all ways).
kavro.internal.check_elements(caller, elements);
[channel, share] = kavro.internal.channels(elements);
middles = kavro.internal.element_middles(elements);
facing = zeros(numel(elements), 3);
for i = 1:numel(elements)
    R = kavro.internal.rotation_matrix(elements(i).euler);
    facing(i, :) = R(3, :);
end
of_channels = @(values) kavro.internal.channel_means(channel, share, values);
places = struct('channel', channel, 'share', share, 'positions', of_channels(middles), ...
                'directions', kavro.internal.unit_rows(of_channels(facing)));
end
