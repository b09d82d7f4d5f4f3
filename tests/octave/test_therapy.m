% From pressure to temperature and dose, and arrays for it.

%!test  % the heat rate is what the wave loses, by the law of the method
%! liver = kavro.set_medium('liver');
%! lossless = kavro.set_medium('liver', 'attenuationdBcmMHz', 0, 'nonlinearityparameter', 0);
%! liver.nonlinearityparameter = 0;
%! disc = kavro.disc(2e-3);
%! grid = kavro.set_coordinate_grid([1 1 1e-3], 0, 0, 0, 0, 60e-3, 100e-3);
%! for c = {'fnm_cw', 'power'; 'kzk_cw', 'march'}'
%!   p = squeeze(kavro.solve(c{1}, disc, grid, liver, 'f0', 2e6));
%!   share = abs(p ./ squeeze(kavro.solve(c{1}, disc, grid, lossless, 'f0', 2e6)));
%!   alpha = -log(share(end) / share(1)) / 40e-3;
%!   expected = 2 * alpha * abs(p) .^ 2 / (2 * 1050 * 1578);
%!   assert(kavro.heat_rate(p, liver, 2e6, 'law', c{2}), expected, 2e-3 * max(expected));
%! end
%! p = cat(3, p, p / 2, p / 3);
%! one = @(n) kavro.heat_rate(p(:, :, n), liver, n * 1e6);
%! assert(kavro.heat_rate(p, liver, 1e6, 'harmonics', 3), one(1) + one(2) + one(3), -1e-13);
%! march = @(varargin) kavro.heat_rate(varargin{:}, 'law', 'march');
%! assert(march(p, liver, 1e6, 'harmonics', 3), (1 + 4 / 4 + 9 / 9) * march(p(:, :, 1), liver, 1e6), ...
%!        -1e-13);

%!test  % walls side by side, blood, heat that goes on and off
%! medium = kavro.set_medium('liver');
%! L = 10e-3;
%! grid = kavro.set_coordinate_grid([0.1e-3 1 1], 0, L, 0, 0, 0, 0);
%! x = kavro.grid_axes(grid).';
%! sides = {'insulated', 'FIXED', 'fixed', 'fixed', 'insulated', 'fixed'};
%! T = kavro.bioheat(1e5, grid, medium, [0 1e5], 'walls', sides, 'wall_temperature', 20, ...
%!                   'start_temperature', 30 + x);
%! assert(size(T), [101 1 1 2]);
%! assert(T(1:end - 1, 1), 30 + x(1:end - 1), 1e-12);
%! steady = 20 + 1e5 * (L ^ 2 - x .^ 2) / (2 * medium.thermalconductivity);
%! assert(T(:, 1, 1, 2), steady, 1e-3);
%! medium.bloodperfusion = 20;
%! rate = 20 * medium.specificheatofblood / (medium.density * medium.specificheat);
%! times = kavro.set_time_samples(10, 0, 40);
%! T = squeeze(kavro.bioheat(3e5, grid, medium, times, 'start_temperature', 40, ...
%!                           'arterial_temperature', 36, 'switching', [0 0; 10 2; 20 0]));
%! lasting = 6e5 / (20 * medium.specificheatofblood) * (1 - exp(-10 * rate));
%! cooled = 4 * exp(-rate * (0:10:40)) + [0 0 1 exp(-10 * rate) exp(-20 * rate)] * lasting;
%! assert(T, repmat(36 + cooled, 101, 1), 1e-11);
%! half = kavro.set_coordinate_grid([1e-3 1 1e-3], 0, 9e-3, 0, 0, 0, 5e-3);
%! assert(size(kavro.bioheat(ones(10, 6), half, medium, 1, 'axisymmetric', true)), [10 1 6]);

%!test  % minutes at 43 degrees, straight lines between the instants
%! assert(kavro.thermal_dose([43 43; 44 44; 42 42], [30 90]), [1; 2; 0.25], 1e-14);
%! t = [0 20 50 60 300];
%! T = [37 44.5 41 41.000001 37];
%! fine = linspace(0, 300, 300001);
%! line = interp1(t, T, fine);
%! rate = 2 .^ ((line - 43) .* (1 + (line < 43)));
%! assert(kavro.thermal_dose(T, t), trapz(fine, rate) / 60, 1e-7);
%! rate(line < 39) = 0;
%! assert(kavro.thermal_dose(T, t, 'threshold', 39), trapz(fine, rate) / 60, 1e-5);
%! T = repmat(reshape(T, 1, 1, 1, 5), [2 3 4]);
%! assert(size(kavro.thermal_dose(T, t)), [2 3 4]);

%!test  % random places keep apart, stay within, look at the focus, and come again
%! make = @(seed) kavro.random_array(100, 30e-3, 1.5e-3, 'rad_curvature', 50e-3, ...
%!                                   'minimum_gap', 0.5e-3, 'hole_radius', 8e-3, 'seed', seed);
%! array = make(7);
%! at = reshape([array.center], 3, []).';
%! r = hypot(at(:, 1), at(:, 2));
%! assert(min(r) >= 9.5e-3 && max(r) <= 28.5e-3);
%! assert(sum((at - [0 0 50e-3]) .^ 2, 2), repmat(50e-3 ^ 2, 100, 1), 1e-15);
%! for i = 2:100
%!   assert(min(sqrt(sum((at(1:i - 1, :) - at(i, :)) .^ 2, 2))) >= 3.5e-3);
%! end
%! for i = [1 50 100]
%!   ahead = kavro.internal.rotation_matrix(array(i).euler) * ([0 0 50e-3] - at(i, :)).';
%!   assert(ahead, [0; 0; 50e-3], 1e-15);
%! end
%! assert(isequal(make(7), array) && ! isequal(make(8), array));
%! flat = kavro.random_array(5, 10e-3, 1e-3, 'seed', 3);
%! assert(flat(5).center, [-0.006973559462852638 0.0016433319186070817 0]);
%! assert([flat.euler], zeros(1, 15));
%! fail('kavro.random_array(500, 60e-3, 2.5e-3)', 'only 301 of 500 elements have found room');
%! fail('kavro.random_array(1, 1e-3, 2e-3)', 'the aperture''s radius must be at least 0.002 m');

%!test  % one focus for delays and phases, several by phases and amplitudes
%! medium = kavro.set_medium();
%! array = kavro.random_array(40, 15e-3, 1.2e-3, 'rad_curvature', 40e-3, 'seed', 2);
%! point = [4e-3 -2e-3 45e-3];
%! there = @(e, points, varargin) kavro.solve('fnm_cw', e, kavro.set_coordinate_grid(points), ...
%!                                            medium, 'f0', 1.5e6, varargin{:});
%! focused = kavro.focus(array, point, medium, 'f0', 1.5e6);
%! most = sum(abs(there(array, point, 'per_element', true)));
%! assert(abs(there(focused, point)), most, 0.01 * most);
%! assert([focused.time_delay], kavro.focus_delays(array, point, medium));
%! grid = kavro.set_coordinate_grid(point);
%! assert(kavro.pressure(focused, grid, medium, 'f0', 1.5e6), there(focused, point), 1e-9 * most);
%! assert(abs(kavro.pressure(kavro.set_phases(focused, 0), grid, medium, 'f0', 1.5e6)), most, ...
%!        0.01 * most);
%! points = [point; -4e-3 0 40e-3; 0 5e-3 42e-3];
%! wanted = [1e5; 2e5i; -3e5];
%! drive = @(varargin) kavro.focus(array, points, medium, 'f0', 1.5e6, varargin{:});
%! assert(there(drive('pressures', wanted), points), wanted, 1e-3);
%! alike = drive();
%! assert(max([alike.amplitude]), 1, 1e-12);
%! assert(abs(there(alike, points)) ./ mean(abs(there(alike, points))), ones(3, 1), 1e-9);
%! pairs = kavro.set_channels(array, kron(1:20, [1 1]));
%! wired = kavro.focus(pairs, points, medium, 'f0', 1.5e6, 'pressures', wanted);
%! assert(there(wired, points), wanted, 1e-3);
%! assert([wired(1:2:end).phase], [wired(2:2:end).phase]);
%! uniform = drive('uniform', true, 'pressures', wanted);
%! assert([uniform.amplitude], ones(1, 40), 1e-12);
%! p = abs(there(uniform, points));
%! assert(p / mean(p), [0.5; 1; 1.5], 1e-3);
%! assert(mean(p) > mean(abs(there(alike, points))));
%! there(kavro.set_phases(focused, 0), point);
%! assert(! isempty(strfind(lastwarn(), 'A continuous wave does not read the elements'' delays')));

%!test  % windows
%! for name = {'rectangular', 'cosine', 'hann', 'hamming', 'blackman', 'tukey', 'gaussian'}
%!   w = kavro.window(name{1}, 24);
%!   assert(size(w), [24 1]);
%!   assert(isequal(w, flipud(w)) && all(w >= 0 & w <= 1) && all(diff(w(1:12)) >= 0));
%!   assert(kavro.window(name{1}, 1), 1, 1e-15);
%! end
%! assert(kavro.window('hann', 5), [0 0.5 1 0.5 0].', 1e-15);
%! assert(kavro.window('hamming', 3), [0.08 1 0.08].', 1e-15);
%! assert(kavro.window('blackman', 5), [0 0.34 1 0.34 0].', 1e-15);
%! assert(kavro.window('tukey', 9, 1), kavro.window('hann', 9), 1e-15);
%! assert(kavro.window('tukey', 9, 0), ones(9, 1));
%! assert(kavro.window('gaussian', 3, 0.5), exp([-2 0 -2].'), 1e-15);
%! fail('kavro.window(''hann'', 3, 1)', 'where a parameter is given');
