function [factor, unit] = pressure_unit(largest)
% PRESSURE_UNIT  A unit that suits a largest pressure in pascals, and the factor into it.
if largest >= 1e6
    factor = 1e-6;
    unit = 'MPa';
elseif largest >= 1e3
    factor = 1e-3;
    unit = 'kPa';
else
    factor = 1;
    unit = 'Pa';
end
end
