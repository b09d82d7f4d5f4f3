function check_grid(caller, grid)
% CHECK_GRID  Stop unless the argument 'grid' is a structure made by set_coordinate_grid.
limits = {'delta', 'xmin', 'xmax', 'ymin', 'ymax', 'zmin', 'zmax'};
ok = isstruct(grid) && isscalar(grid) ...
     && (isfield(grid, 'coordinates') || all(isfield(grid, limits)));
kavro.internal.check(ok, caller, 'grid', grid, 'a structure made by set_coordinate_grid');
end
