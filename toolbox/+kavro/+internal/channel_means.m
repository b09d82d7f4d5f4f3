function means = channel_means(channel, share, values)
% CHANNEL_MEANS  From values of elements to values of their channels.
%   means = CHANNEL_MEANS(channel, share, values) takes what CHANNELS returns and n x m values, and
%   returns as many rows as there are channels.
means = zeros(max(channel), size(values, 2));
for k = 1:size(values, 2)
    means(:, k) = accumarray(channel(:), share(:) .* values(:, k));
end
end
