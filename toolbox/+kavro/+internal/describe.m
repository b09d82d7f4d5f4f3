function text = describe(value)
% DESCRIBE  Say in a few words what a value is, for an error message.
dims = sprintf('%d x ', size(value));
dims = dims(1:end - 3);
if ischar(value) && size(value, 1) == 1 && numel(value) <= 40
    text = ['''', value, ''''];
elseif isempty(value)
    text = sprintf('an empty %s %s', dims, class(value));
elseif isscalar(value) && isnumeric(value)
    text = describe_number(value);
elseif isnumeric(value) && ~isreal(value)
    text = sprintf('a complex %s %s', dims, class(value));
elseif isnumeric(value) && any(~isfinite(double(value(:))))
    text = sprintf('a %s %s with values that are not finite', dims, class(value));
elseif isnumeric(value) && numel(value) <= 4 && isvector(value)
    text = sprintf('a %s %s [%s]', dims, class(value), ...
                   strtrim(sprintf('%.6g ', double(value))));
else
    text = sprintf('a %s %s', dims, class(value));
end
end

function text = describe_number(value)
value = double(value);
if isreal(value)
    text = sprintf('%.6g', value);
else
    text = sprintf('the complex number %.6g%+.6gi', real(value), imag(value));
end
end
