function distances = element_distances(elements, point)
% ELEMENT_DISTANCES  How far each element is from a point: 1 x n, in metres.
%   From its middle; from the circle that halves a ring's area, for a point off the axis the root
%   mean square over the circle.
[middles, radii] = kavro.internal.element_middles(elements);
away = repmat(point(:).', numel(elements), 1) - middles;
distances = sqrt(sum(away .^ 2, 2) + radii .^ 2).';
end
