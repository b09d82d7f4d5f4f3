function distances = element_distances(elements, point)
% ELEMENT_DISTANCES  How far each element is from a point: 1 x n, in metres.
%   From a disc's, a rectangle's or a bowl's centre, a polygon's centre of area; from a ring's
%   middle circle, that which halves its area (for a point off the axis, the root mean square over
%   the circle).
distances = zeros(1, numel(elements));
for i = 1:numel(elements)
    e = elements(i);
    away = kavro.internal.rotation_matrix(e.euler) * (point(:) - e.center(:));
    middle = [0; 0];
    switch e.shape
        case 'ring'
            height = 0;
            radius = sqrt((e.inner_radius ^ 2 + e.outer_radius ^ 2) / 2);
        case 'sph ring'
            % Height above the deepest point grows with the area below it.
            d = e.geometric_focus;
            depth = @(a) a ^ 2 / (d + sqrt(d ^ 2 - a ^ 2));
            height = (depth(e.inner_radius) + depth(e.outer_radius)) / 2;
            radius = sqrt(height * (2 * d - height));
        case 'poly'
            height = 0;
            radius = 0;
            middle = centroid(e.corners);
        otherwise
            height = 0;
            radius = 0;
    end
    distances(i) = sqrt(sum((away - [middle; height]) .^ 2) + radius ^ 2);
end
end

function middle = centroid(corners)
next = corners([2:end, 1], :);
areas = corners(:, 1) .* next(:, 2) - next(:, 1) .* corners(:, 2);
middle = (sum((corners + next) .* repmat(areas, 1, 2)) / (3 * sum(areas))).';
end
