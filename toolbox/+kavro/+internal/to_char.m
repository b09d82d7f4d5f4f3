function value = to_char(value)
% TO_CHAR  Turn a MATLAB string object into char; leave everything else as it is.
if isa(value, 'string') && numel(value) == 1
    value = char(value);
end
end
