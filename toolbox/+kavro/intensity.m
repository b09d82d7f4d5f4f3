function I = intensity(p, v)
% INTENSITY  Time-averaged intensity of a continuous wave, a vector at every point.
%
%   I = kavro.intensity(p, v)
%
%   I = real(p .* conj(v)) / 2, in W/m^2 (1 W/cm^2 is 1e4 W/m^2), for each component of v. The power
%   that passes through a surface is the integral of its component along the surface's normal.
%
%   Arguments
%     p    pressure (Pa) as kavro.solve returns it
%     v    particle velocity (m/s), its second result with the option 'velocity'
%
%   Result
%     I    of the size of v: nx x ny x nz x 3, or n x 3 for a list of points
%
%   Example
%     disc = kavro.disc(5e-3, 'amplitude', 0.05);
%     grid = kavro.set_coordinate_grid(0.5e-3, -8e-3, 8e-3, 0, 0, 1e-3, 40e-3);
%     [p, v] = kavro.solve('fnm_cw', disc, grid, kavro.set_medium(), 'f0', 1e6, 'velocity', true);
%     I = kavro.intensity(p, v);
%     kavro.show_field(I(:, :, :, 3), grid);
%
%   See also kavro.solve, kavro.acoustic_power

me = 'intensity';
kavro.internal.check_count(me, nargin, [2 2], 'p, v');
kavro.internal.check(isnumeric(p), me, 'p', p, 'an array of numbers, such as kavro.solve returns');
% The components come behind those of the points, which are three on a grid and one in a list.
component = 2 + 2 * (ndims(v) > 3);
sizes = size(v);
sizes(component) = 1;
ok = isnumeric(v) && size(v, component) == 3 && prod(sizes) == numel(p) ...
     && isequal(strip(sizes), strip(size(p)));
kavro.internal.check(ok, me, 'v', v, 'the velocity that belongs to p, with 3 components');
I = real(bsxfun(@times, reshape(p, sizes), conj(v))) / 2;
end

% What remains of sizes without extents of 1, which do not tell where the components are.
function sizes = strip(sizes)
sizes = sizes(sizes ~= 1);
end
