function T = bioheat(Q, grid, medium, times, varargin)
% BIOHEAT  Temperature in tissue that is heated, conducts, and is cooled by blood.
%
%   T = kavro.bioheat(Q, grid, medium, times)
%   T = kavro.bioheat(Q, grid, medium, times, option, value, ...)
%
%   Pennes' equation on a regular grid, from the time 0 on:
%
%     density C dT/dt = k laplace(T) - w C_b (T - T_a) + Q
%
%   The temperature is a series of the modes that the walls allow, each of which follows the heat
%   exactly: the times may be as far apart as you like. The grid's first and last points lie on the
%   walls; where it has one point along an axis, nothing varies along that axis. A smooth heat rate
%   that has come to rest at the walls is exact to rounding with three points to its half width;
%   what does not meet the walls as the temperature must costs an error of about h^2/12 times its
%   second derivative, with the spacing h.
%
%   Arguments
%     Q        heat rate in W/m^3, such as kavro.heat_rate gives: one number for each point of the
%              grid, nx x ny x nz or without dimensions of one, or one number for all
%     grid     made by kavro.set_coordinate_grid, regular
%     medium   made by kavro.set_medium. What is read: density, specificheat (C, J/(kg K)),
%              thermalconductivity (k, W/(m K)), bloodperfusion (w, kg/(m^3 s)) and
%              specificheatofblood (C_b)
%     times    instants in s, in order, zero or positive, or made by kavro.set_time_samples
%
%   Options
%     'arterial_temperature'   T_a in degrees Celsius; default 37
%     'start_temperature'      at the time 0: one number, or one for each point; default T_a
%     'walls'                  'insulated' (default: no heat passes) or 'fixed' (they keep a
%                              temperature); or a cell array of three of these for x, y and z, or of
%                              six for the first and last x, y and z
%     'wall_temperature'       of fixed walls; default T_a
%     'switching'              n x 2: from the instant in the first column on, the heat rate is Q
%                              times the factor in the second one; before the first there is none.
%                              Default [0 1]; [0 1; 10 0] heats for ten seconds
%     'axisymmetric'           true: x is the distance from an axis along z, from 0 on, and y has
%                              one value, as in the grids of kzk_cw. The axis is no wall
%     'threads'                threads of this call
%     'progress'               true shows how far it is; or a function handle
%
%   Result
%     T        temperatures in degrees Celsius, nx x ny x nz x numel(times)
%
%   Sources
%     H. H. Pennes, J. Appl. Physiol. 1, 93 (1948).
%
%   Example: a spot of 4 mm, heated for ten seconds
%     grid = kavro.set_coordinate_grid([0.5e-3 1 0.5e-3], 0, 20e-3, 0, 0, -20e-3, 20e-3);
%     [x, ~, z] = kavro.grid_axes(grid);
%     [X, Z] = ndgrid(x, z);
%     Q = 5e6 * exp(-(X .^ 2 + Z .^ 2) / 2e-3 ^ 2);
%     liver = kavro.set_medium('liver', 'bloodperfusion', 15);
%     T = kavro.bioheat(Q, grid, liver, 0:20, 'switching', [0 1; 10 0], 'axisymmetric', true);
%     plot(0:20, squeeze(max(max(T, [], 1), [], 3)))
%
%   See also kavro.heat_rate, kavro.thermal_dose, kavro.set_medium, kavro.set_coordinate_grid

kavro.internal.check_count('bioheat', nargin, [4 Inf], 'Q, grid, medium, times and options');
T = kavro.internal.command('bioheat', Q, grid, medium, times, varargin{:});
end
