function value = real_number(caller, name, value, rule, unit)
% REAL_NUMBER  Take an argument that must be one finite real number, as a double.
%   value = REAL_NUMBER(caller, name, value, rule, unit) stops with a message unless value
%   follows rule: 'any', 'positive' or 'not negative'. unit is named in the message; '' for none.
switch rule
    case 'positive'
        expected = 'a positive real number';
        follows = @(v) v > 0;
    case 'not negative'
        expected = 'a real number, zero or positive';
        follows = @(v) v >= 0;
    otherwise
        expected = 'a real number';
        follows = @(v) true;
end
if ~isempty(unit)
    expected = sprintf('%s (%s)', expected, unit);
end
kavro.internal.check(kavro.internal.is_number(value) && follows(value), ...
                     caller, name, value, expected);
value = double(value);
end
