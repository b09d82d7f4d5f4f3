function x = centered_steps(count, pitch)
% CENTERED_STEPS  Positions of count elements, pitch apart, centred on 0 (a row vector).
x = ((0:count - 1) - (count - 1) / 2) * pitch;
end
