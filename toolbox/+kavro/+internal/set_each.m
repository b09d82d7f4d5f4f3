function elements = set_each(caller, elements, field, name, values)
% SET_EACH  Spread one value, or one for each element or for each channel, over a field.
kavro.internal.check_elements(caller, elements);
n = numel(elements);
channel = kavro.internal.channels(elements);
expected = sprintf('one real number, or a vector of %d, one for each element', n);
if max(channel) < n
    expected = sprintf('%s, or of %d, one for each channel', expected, max(channel));
end
ok = kavro.internal.is_numbers(values) && isvector(values) ...
     && any(numel(values) == [1 n max(channel)]);
kavro.internal.check(ok, caller, name, values, expected);
values = double(values(:));
if isscalar(values)
    values = repmat(values, n, 1);
elseif numel(values) < n
    values = values(channel);
end
for i = 1:n
    elements(i).(field) = values(i);
end
end
