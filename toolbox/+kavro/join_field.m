function field = join_field(parts, grid)
% JOIN_FIELD  Put the fields of a split grid together.
%
%   field = kavro.join_field(parts, grid)
%
%   Arguments
%     parts  cell array of the results for the parts of kavro.split_grid(grid, count), in the
%            same order: npoints x 1 (continuous wave) or npoints x ntimes
%     grid   the grid that was split
%
%   Result
%     field  what one call for the whole grid gives: nx x ny x nz or nx x ny x nz x ntimes for a
%            regular grid, otherwise all rows one under another
%
%   Example
%     grid = kavro.set_coordinate_grid(1e-3, 0, 2e-3, 0, 0, 1e-3, 4e-3);
%     fields = cellfun(@(part) part.coordinates(:, 3), kavro.split_grid(grid, 2), ...
%                      'UniformOutput', false);
%     z = squeeze(kavro.join_field(fields, grid));
%
%   See also kavro.split_grid, kavro.solve

me = 'join_field';
kavro.internal.check_count(me, nargin, 2, 'parts, grid');
kavro.internal.check_grid(me, grid);
ok = iscell(parts) && ~isempty(parts) && all(cellfun(@(p) isnumeric(p) && ndims(p) == 2, parts(:)));
kavro.internal.check(ok, me, 'parts', parts, ...
                     'a cell array of matrices with one row for each point');
widths = cellfun(@(p) size(p, 2), parts(:));
[x, y, z] = kavro.grid_axes(grid);
regular = ~isfield(grid, 'coordinates');
npoints = numel(x);
if regular
    npoints = numel(x) * numel(y) * numel(z);
end
count = sum(cellfun(@(p) size(p, 1), parts(:)));
if count ~= npoints || any(widths ~= widths(1))
    error('kavro:argument', ['%s: ''parts'' must have as many rows together as the grid has ', ...
          'points, %d, and the same columns, but they have %d rows and %d to %d columns.'], ...
          me, npoints, count, min(widths), max(widths));
end
field = vertcat(parts{:});
if regular
    field = reshape(field, [numel(x), numel(y), numel(z), widths(1)]);
end
end
