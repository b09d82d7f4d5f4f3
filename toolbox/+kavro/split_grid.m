function parts = split_grid(grid, count)
% SPLIT_GRID  Cut the points of a grid into parts, to compute them apart.
%
%   parts = kavro.split_grid(grid, count)
%
%   The field at a point does not depend on the other points, so parts may be computed by
%   different workers or one after another. kavro.join_field puts the results together: to the
%   last bit what one call for the whole grid gives. Each part is a list of points, because the
%   samples of a shorter regular grid would be rounded in another way.
%
%   The nonlinear methods (kzk_transient, kzk_cw) march through the whole grid and cannot be
%   split; nor do the parts' impulse_begin_and_end_times join other than by their minimum and
%   maximum.
%
%   Arguments
%     grid   points, made by kavro.set_coordinate_grid
%     count  number of parts, a whole number of at least 1
%
%   Result
%     parts  1 x count cell array of grids, in the order of the points and of equal size as far
%            as possible; fewer than count where there are fewer points
%
%   Example: one part after another
%     element = kavro.disc(3e-3);
%     medium = kavro.set_medium();
%     grid = kavro.set_coordinate_grid(1e-3, -5e-3, 5e-3, 0, 0, 1e-3, 20e-3);
%     times = kavro.set_time_samples(100e-9, 0, 20e-6);
%     pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%     work = @(part) kavro.solve('fnm_tsd_sse', element, part, medium, 'time', times, ...
%                                'excitation', pulse);
%     fields = cellfun(work, kavro.split_grid(grid, 4), 'UniformOutput', false);
%     p = kavro.join_field(fields, grid);
%
%   On the workers of a parallel pool in MATLAB, let parfor run over the parts; in GNU Octave,
%   let parcellfun of the package parallel take the place of cellfun, with 'threads', 1 among
%   the options of kavro.solve. docs/solve.md shows both.
%
%   See also kavro.join_field, kavro.solve, kavro.grid_axes

me = 'split_grid';
kavro.internal.check_count(me, nargin, 2, 'grid, count');
kavro.internal.check_grid(me, grid);
count = kavro.internal.whole_number(me, 'count', count, [1 Inf]);
points = grid_points(grid);
n = size(points, 1);
count = min(count, max(n, 1));
ends = floor((0:count) * n / count);
parts = cell(1, count);
for i = 1:count
    parts{i} = struct('coordinates', points(ends(i) + 1:ends(i + 1), :));
end
end

function points = grid_points(grid)
[x, y, z] = kavro.grid_axes(grid);
if ~isfield(grid, 'coordinates')
    [x, y, z] = ndgrid(x, y, z);
end
points = [x(:), y(:), z(:)];
end
