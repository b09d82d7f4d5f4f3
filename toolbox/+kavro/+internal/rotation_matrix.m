function R = rotation_matrix(euler)
% ROTATION_MATRIX  The matrix that takes a global vector into an element's own frame.
%   R = ROTATION_MATRIX(euler) takes three angles in radians. The rows of R are the element's
%   local axes in global coordinates; row 3 is the direction in which the element radiates.
%   The solver's elements turn in the same way.
s = sin(euler);
c = cos(euler);
R = [c(1)*c(3) - s(1)*s(2)*s(3), s(1)*s(2)*c(3) + c(1)*s(3), -s(1)*c(2); ...
     -c(2)*s(3),                 c(2)*c(3),                   s(2); ...
     c(1)*s(2)*s(3) + s(1)*c(3), s(1)*s(3) - c(1)*s(2)*c(3),  c(1)*c(2)];
end
