function values = axis_values(first, last, step)
% AXIS_VALUES  The samples of a regular axis, counted as the module counts them.
%   The quotient gets 1e-10 before it is rounded down, so that 0 to 1 by 0.1 has 11 samples;
%   each sample is computed from its index, so that nothing drifts. Limits alike but for the sign
%   have an exact 0 between them where a sample falls there but for rounding.
if first == last || step == 0
    values = first;
else
    values = (0:floor((last - first) / step + 1e-10)) * step + first;
    if first == -last
        values(abs(values) < 1e-9 * step) = 0;
    end
end
end
