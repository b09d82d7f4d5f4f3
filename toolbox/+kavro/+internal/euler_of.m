function euler = euler_of(R)
% EULER_OF  The three angles (rad) of which ROTATION_MATRIX makes R.
side = hypot(R(2, 1), R(2, 2));
if side > 1e-12
    euler = [atan2(-R(1, 3), R(3, 3)), atan2(R(2, 3), side), atan2(-R(2, 1), R(2, 2))];
else
    % The first and the third turn are about one axis: one of them does.
    euler = [0, atan2(R(2, 3), side), atan2(R(1, 2), R(1, 1))];
end
end
