function share = middle_share(group, points)
% MIDDLE_SHARE  Weights that pick the middle point of each group of points.
%   share = MIDDLE_SHARE(group, points) takes the groups' numbers (n x 1) and the points (n x 3). The
%   point nearest to its group's mean has the weight 1; those equally near share it.
mean_of = @(values) accumarray(group, values) ./ accumarray(group, 1);
away2 = zeros(size(group));
for k = 1:3
    mean_k = mean_of(points(:, k));
    away2 = away2 + (points(:, k) - mean_k(group)) .^ 2;
end
away = sqrt(away2);
nearest = accumarray(group, away, [], @min);
farthest = accumarray(group, away, [], @max);
chosen = double(away <= nearest(group) + 1e-6 * farthest(group));
together = accumarray(group, chosen);
share = chosen ./ together(group);
end
