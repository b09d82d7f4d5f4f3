function euler = euler_towards(direction)
% EULER_TOWARDS  Euler angles that turn an element's local z axis into a given direction.
%   euler = EULER_TOWARDS(direction) takes n x 3 directions (of any length) and returns n x 3
%   angles in radians. The third angle, the turn about the element's own axis, is left at 0.
x = direction(:, 1);
y = direction(:, 2);
z = direction(:, 3);
euler = [atan2(x, hypot(y, z)), atan2(-y, z), zeros(size(x))];
end
