function value = whole_number(caller, name, value, range)
% WHOLE_NUMBER  Take an argument that must be a whole number in [range(1), range(2)].
if isinf(range(2))
    expected = sprintf('a whole number, %d or more', range(1));
else
    expected = sprintf('a whole number from %d to %d', range);
end
ok = kavro.internal.is_number(value) && value == round(value) ...
     && value >= range(1) && value <= range(2);
kavro.internal.check(ok, caller, name, value, expected);
value = double(value);
end
