function [fires, listed] = aperture(caller, value, events, channels)
% APERTURE  Which channels fire in which event: events x channels, logical.
%   [fires, listed] = APERTURE(caller, value, events, channels) takes the option 'aperture': numbers
%   of channels, a logical value for each, or a row of them for each event; [] stands for all.
%   listed are the channels of the first event, in the order of their numbers in value.
if isempty(value)
    value = true(1, channels);
end
if islogical(value)
    ok = numel(value) == channels || isequal(size(value), [events channels]);
    if ok && ~isequal(size(value), [events channels])
        value = repmat(value(:).', events, 1);
    end
    ok = ok && all(any(value, 2));
    listed = find(value(1, :));
else
    ok = kavro.internal.is_numbers(value) && isvector(value) ...
         && all(ismember(value(:), 1:channels)) && numel(unique(value)) == numel(value);
    listed = double(value(:).');
end
kavro.internal.check(ok, caller, 'aperture', value, ...
    sprintf(['different numbers of channels from 1 to %d, or %d or %d x %d logical values of which ', ...
             'each event has a true one'], channels, channels, events, channels));
fires = value;
if ~islogical(value)
    fires = false(events, channels);
    fires(:, listed) = true;
end
end
