function [middles, radii] = element_middles(elements)
% ELEMENT_MIDDLES  Where elements stand as sources of waves, in metres (global).
%   [middles, radii] = ELEMENT_MIDDLES(elements) returns n x 3 points and n x 1 radii: a disc's, a
%   rectangle's or a bowl's centre, a polygon's centre of area, with the radius 0; of rings the
%   circle that halves their area.
n = numel(elements);
middles = zeros(n, 3);
radii = zeros(n, 1);
for i = 1:n
    e = elements(i);
    local = [0 0 0];
    switch e.shape
        case 'ring'
            radii(i) = sqrt((e.inner_radius ^ 2 + e.outer_radius ^ 2) / 2);
        case 'sph ring'
            % Height above the deepest point grows with the area below it.
            d = e.geometric_focus;
            depth = @(a) a ^ 2 / (d + sqrt(d ^ 2 - a ^ 2));
            height = (depth(e.inner_radius) + depth(e.outer_radius)) / 2;
            radii(i) = sqrt(height * (2 * d - height));
            local(3) = height;
        case 'poly'
            local(1:2) = centroid(e.corners);
    end
    middles(i, :) = e.center(:).';
    if any(local)
        middles(i, :) = middles(i, :) + local * kavro.internal.rotation_matrix(e.euler);
    end
end
end

function middle = centroid(corners)
next = corners([2:end, 1], :);
areas = corners(:, 1) .* next(:, 2) - next(:, 1) .* corners(:, 2);
middle = sum((corners + next) .* repmat(areas, 1, 2), 1) / (3 * sum(areas));
end
