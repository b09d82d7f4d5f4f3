function yes = is_number(value)
% IS_NUMBER  True for one finite real number.
yes = kavro.internal.is_numbers(value, [1 1]);
end
