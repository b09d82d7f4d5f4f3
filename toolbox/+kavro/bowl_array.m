function elements = bowl_array(elements, rad_curvature)
% BOWL_ARRAY  Place the elements of a flat array on a bowl.
%
%   elements = kavro.bowl_array(elements, rad_curvature)
%
%   The bowl is part of a sphere: its lowest point is the origin, its centre of curvature lies
%   at [0 0 rad_curvature], and it opens towards +z. Each element keeps its x and y, moves
%   along z onto the bowl and is turned to radiate towards the centre of curvature. Distances
%   between centres can only grow by this, so elements that did not overlap still do not. All
%   centres are then equally far from the centre of curvature: the array focuses there without
%   time delays.
%
%   Arguments
%     elements       structure array of elements in the plane z = 0 that face +z, such as
%                    kavro.linear_array, kavro.planar_array and kavro.ring_array make, or
%                    elements of kavro.polygon, joined
%     rad_curvature  radius of curvature of the bowl in m, larger than the distance of every
%                    centre from the z axis
%
%   Result
%     elements       the same structure array with center and euler changed
%
%   Example: two rings of discs on a bowl that focuses at 50 mm
%     flat = [kavro.ring_array(12, 5e-3, 2e-3), kavro.ring_array(24, 5e-3, 2e-3)];
%     elements = kavro.bowl_array(flat, 50e-3);
%
%   See also kavro.ring_array, kavro.planar_array, kavro.polygon, kavro.show_array,
%   kavro.focus_delays

me = 'bowl_array';
kavro.internal.check_count(me, nargin, 2, 'elements, rad_curvature');
kavro.internal.check_elements(me, elements);
R = kavro.internal.real_number(me, 'rad_curvature', rad_curvature, 'positive', 'm');
check_flat(me, elements);
centers = kavro.internal.element_centers(elements);
r2 = sum(centers(:, 1:2) .^ 2, 2);
expected = sprintf('larger than %.6g m, the distance of the outermost centre from the z axis', ...
                   sqrt(max(r2)));
kavro.internal.check(all(r2 < R ^ 2), me, 'rad_curvature', rad_curvature, expected);
% R - sqrt(R^2 - r^2), written so that a shallow bowl loses no digits
centers(:, 3) = r2 ./ (R + sqrt(R ^ 2 - r2));
eulers = kavro.internal.euler_towards(repmat([0 0 R], numel(elements), 1) - centers);
for i = 1:numel(elements)
    elements(i).center = centers(i, :);
    elements(i).euler = eulers(i, :);
end
end

function check_flat(me, elements)
for i = 1:numel(elements)
    name = sprintf('elements(%d).', i);
    center = elements(i).center;
    kavro.internal.check(center(3) == 0, me, [name, 'center'], center, 'in the plane z = 0');
    euler = elements(i).euler;
    axes_of_element = kavro.internal.rotation_matrix(euler);
    kavro.internal.check(axes_of_element(3, 3) > 1 - 1e-12, me, [name, 'euler'], euler, ...
                         'angles that leave the element facing +z');
end
end
