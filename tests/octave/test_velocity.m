% Tests of particle velocity, intensity and power.

%!test  % a disc on its axis in closed form; p is what it is without v, the report comes last
%! [a, w, f0] = deal(4e-3, 0.3, 1e6);
%! medium = kavro.set_medium();
%! [rho, c] = deal(medium.density, medium.soundspeed);
%! k = 2 * pi * f0 / c;
%! z = permute(5e-3 + (0:4) * 5e-3, [1 3 2]);
%! R = sqrt(z .^ 2 + a ^ 2);
%! grid = kavro.set_coordinate_grid([1 1 5e-3], 0, 0, 0, 0, z(1), z(end));
%! disc = kavro.disc(a, 'amplitude', w);
%! solve = @(varargin) kavro.solve('fnm_cw', disc, grid, medium, 'f0', f0, varargin{:});
%! [p, v, report] = solve('tolerance', 1e-10, 'velocity', true);
%! assert(v(:, :, :, 3), w * (exp(-1j * k * z) - z ./ R .* exp(-1j * k * R)), 1e-8 * w);
%! assert({size(v), report.tolerance}, {[1 1 5 3], 1e-10});
%! assert(abs(v(:, :, :, 1:2)) < 1e-12 * w);
%! I = kavro.intensity(p, v);
%! assert(I(1, 1, :, 3), real(p .* conj(v(:, :, :, 3))) / 2);
%! [q, u] = kavro.pressure(disc, grid, medium, 'f0', f0, 'tolerance', 1e-10, 'velocity', true);
%! assert({q, u}, {p, v});
%! [~, report] = solve('velocity', false);
%! assert(report.tolerance, 1e-4);
%! assert(solve('ndiv', 16), nthargout(1, 2, @() solve('ndiv', 16, 'velocity', true)));

%!test  % the elements' own velocities, in a list and on a grid, add up; so do their intensities not
%! pair = [kavro.disc(2e-3), kavro.spherical_shell(4e-3, 9e-3, 'center', [3e-3 0 0])];
%! medium = kavro.set_medium();
%! solve = @(where, each) nthargout(1:2, @kavro.solve, 'fnm_cw', pair, where, medium, ...
%!                                  'f0', 2e6, 'velocity', true, 'per_element', each);
%! list = kavro.set_coordinate_grid([0 0 9e-3; 1e-3 2e-3 5e-3; 0 1e-3 3e-3; 4e-3 0 2e-2]);
%! plane = kavro.set_coordinate_grid(1e-3, 0, 3e-3, -1e-3, 1e-3, 9e-3, 9e-3);
%! all = solve(list, false);
%! each = solve(list, true);
%! assert({size(all{2}), size(each{2})}, {[4 3], [4 3 2]});
%! assert(sum(each{2}, 3), all{2}, 1e-14);
%! I = kavro.intensity(each{:});
%! assert(I(:, 2, 1), real(each{1}(:, 1) .* conj(each{2}(:, 2, 1))) / 2);
%! all = solve(plane, false);
%! each = solve(plane, true);
%! assert({size(all{2}), size(each{2})}, {[4 3 1 3], [4 3 1 3 2]});
%! assert(sum(each{2}, 5), all{2}, 1e-14);
%! I = kavro.intensity(each{:});
%! assert(I(:, :, 1, 3, 2), real(each{1}(:, :, 1, 2) .* conj(each{2}(:, :, 1, 3, 2))) / 2);

%!test  % the power of a disc by its radiation resistance, and through a plane in front of it
%! [a, w, f0] = deal(3e-3, 0.7, 1e6);
%! medium = kavro.set_medium();
%! x = 4 * pi * f0 / medium.soundspeed * a;
%! Z = medium.density * medium.soundspeed * pi * a ^ 2 * (1 - 2 * besselj(1, x) / x);
%! disc = kavro.disc(a, 'amplitude', w);
%! power = kavro.acoustic_power(disc, medium, f0, 'threads', 1);
%! assert(power, Z * w ^ 2 / 2, -1e-9);
%! r = (0.5:1200)' * 50e-6;
%! points = kavro.set_coordinate_grid([r, 0 * r, 5e-4 + 0 * r]);
%! [p, v] = kavro.solve('fnm_cw', disc, points, medium, 'f0', f0, 'velocity', true);
%! I = kavro.intensity(p, v);
%! assert(sum(I(:, 3) .* r) * 50e-6 * 2 * pi, power, -1e-3);

%!test  % what is refused
%! medium = kavro.set_medium();
%! point = kavro.set_coordinate_grid([0 0 1e-2]);
%! disc = kavro.disc(1e-3);
%! fail('kavro.solve(''fnm_cw_sse'', disc, point, medium, ''f0'', 1e6, ''velocity'', true)', ...
%!      'The option ''velocity'' is not used by fnm_cw_sse');
%! fail('kavro.solve(''fnm_cw'', disc, point, medium, ''f0'', [1 2] * 1e6, ''velocity'', true)', ...
%!      'takes one frequency');
%! says(@() kavro.intensity(ones(4, 1), ones(4, 2)), 'intensity', '''v''', '3 components');
%! says(@() kavro.intensity(ones(4, 5, 6), ones(5, 4, 6, 3)), '''v''');
%! says(@() kavro.intensity('p', ones(1, 3)), '''p''');
%! says(@() kavro.acoustic_power(disc, medium), 'acoustic_power', 'f0');
%! fail('kavro.acoustic_power(disc, medium, -1)', 'one positive number');
