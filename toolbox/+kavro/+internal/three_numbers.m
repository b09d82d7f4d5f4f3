function value = three_numbers(caller, name, value, unit)
% THREE_NUMBERS  Take an argument that must be three real numbers, as a row of doubles.
ok = kavro.internal.is_numbers(value) && isvector(value) && numel(value) == 3;
kavro.internal.check(ok, caller, name, value, sprintf('three real numbers (%s)', unit));
value = double(value(:).');
end
