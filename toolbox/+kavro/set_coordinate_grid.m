function grid = set_coordinate_grid(delta, xmin, xmax, ymin, ymax, zmin, zmax)
% SET_COORDINATE_GRID  Describe the points at which the pressure is computed.
%
%   grid = kavro.set_coordinate_grid(delta, xmin, xmax, ymin, ymax, zmin, zmax)
%   grid = kavro.set_coordinate_grid(points)
%
%   The first form is a regular grid. An axis whose limits are equal has one sample; otherwise
%   the samples run from the lower limit in steps of delta and do not pass the upper limit.
%   The result of a solver is then an nx x ny x nz x ntimes array. Between limits that differ in
%   sign alone, the sample in the middle is an exact 0 (not in kavro.transient_pressure).
%
%   The second form is a list of points; the result is then an npoints x ntimes matrix.
%   Continuous waves have no ntimes; the nonlinear methods need the first form.
%
%   Arguments
%     delta       spacing in m: one number for all axes, or three, for x, y and z; 0 is
%                 allowed for an axis of one sample
%     xmin, xmax  limits along x in m, scalars, xmax not below xmin
%     ymin, ymax  the same along y
%     zmin, zmax  the same along z
%     points      n x 3 matrix of points in m, one row x, y, z for each
%
%   Result
%     grid        structure with the fields delta (1 x 3), xmin, xmax, ymin, ymax, zmin and
%                 zmax, or with the one field coordinates (n x 3)
%
%   Example: the x-z plane in front of an array, 201 x 1 x 197 points
%     grid = kavro.set_coordinate_grid(0.25e-3, -25e-3, 25e-3, 0, 0, 1e-3, 50e-3);
%
%   See also kavro.grid_axes, kavro.set_time_samples, kavro.show_field,
%   kavro.transient_pressure, kavro.solve

me = 'set_coordinate_grid';
if nargin == 1
    points = delta;
    kavro.internal.check(kavro.internal.is_numbers(points, [NaN 3]), me, 'points', points, ...
                         'an n x 3 matrix of real numbers (m)');
    grid = struct('coordinates', double(points));
    return
end
if nargin ~= 7
    error('kavro:argument', ['%s: it takes 1 argument (points) or 7 (delta, xmin, xmax, ', ...
          'ymin, ymax, zmin, zmax), but it got %d.'], me, nargin);
end
ok = kavro.internal.is_numbers(delta) && isvector(delta) && any(numel(delta) == [1 3]);
kavro.internal.check(ok, me, 'delta', delta, 'one or three real numbers (m)');
delta = double(delta(:).') .* [1 1 1];
kavro.internal.check(all(delta >= 0), me, 'delta', delta, 'zero or positive');
grid = struct('delta', delta);
grid = add_limits(me, grid, 1, 'x', xmin, xmax);
grid = add_limits(me, grid, 2, 'y', ymin, ymax);
grid = add_limits(me, grid, 3, 'z', zmin, zmax);
end

function grid = add_limits(me, grid, i, letter, low, high)
lower = [letter, 'min'];
upper = [letter, 'max'];
grid.(lower) = kavro.internal.real_number(me, lower, low, 'any', 'm');
grid.(upper) = kavro.internal.real_number(me, upper, high, 'any', 'm');
kavro.internal.check(high >= low, me, upper, high, ...
                     sprintf('at least %s, which is %.6g', lower, low));
kavro.internal.check(grid.delta(i) > 0 || low == high, me, 'delta', grid.delta, ...
                     sprintf('positive for %s, because %s and %s differ', letter, lower, upper));
end
