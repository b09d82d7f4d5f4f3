function [x, y, z] = grid_axes(grid)
% GRID_AXES  The coordinates that belong to a coordinate grid.
%
%   [x, y, z] = kavro.grid_axes(grid)
%
%   For a regular grid, x, y and z are the samples along the three axes: rows of nx, ny and nz
%   values in m, counted as the module counts them. For a list of points they are columns of
%   npoints values, so that [x, y, z] is the list.
%
%   Argument
%     grid  structure made by kavro.set_coordinate_grid
%
%   Example
%     grid = kavro.set_coordinate_grid(1e-3, 0, 10e-3, 0, 0, 5e-3, 25e-3);
%     [x, y, z] = kavro.grid_axes(grid);
%     fprintf('%d x %d x %d points\n', numel(x), numel(y), numel(z));
%
%   See also kavro.set_coordinate_grid, kavro.time_axis, kavro.show_field

me = 'grid_axes';
kavro.internal.check_count(me, nargin, 1, 'grid');
kavro.internal.check_grid(me, grid);
if isfield(grid, 'coordinates')
    x = grid.coordinates(:, 1);
    y = grid.coordinates(:, 2);
    z = grid.coordinates(:, 3);
else
    x = kavro.internal.axis_values(grid.xmin, grid.xmax, grid.delta(1));
    y = kavro.internal.axis_values(grid.ymin, grid.ymax, grid.delta(2));
    z = kavro.internal.axis_values(grid.zmin, grid.zmax, grid.delta(3));
end
end
