function elements = set_each(caller, elements, field, name, values)
% SET_EACH  Spread a vector of values, or one value, over a field of all elements.
kavro.internal.check_elements(caller, elements);
n = numel(elements);
ok = kavro.internal.is_numbers(values) && isvector(values) && any(numel(values) == [1 n]);
kavro.internal.check(ok, caller, name, values, ...
                     sprintf('one real number, or a vector of %d, one for each element', n));
values = double(values(:)) .* ones(n, 1);
for i = 1:n
    elements(i).(field) = values(i);
end
end
