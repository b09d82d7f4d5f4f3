function yes = is_numbers(value, dims)
% IS_NUMBERS  True for a non-empty array of finite real numbers.
%   IS_NUMBERS(value) takes any size, IS_NUMBERS(value, dims) only that size; a NaN in dims
%   leaves that dimension open.
yes = isnumeric(value) && isreal(value) && ~isempty(value) && all(isfinite(value(:)));
if yes && nargin > 1
    is = size(value);
    yes = numel(is) == numel(dims) && all(is == dims | isnan(dims));
end
end
