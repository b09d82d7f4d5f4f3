% kavro.solve inside the real host: results of the methods against each other and against closed
% forms, whatever methods the library has; progress, errors, and the table of methods.

%!function [e, g, m, t, x] = scene()
%! m = kavro.set_medium();
%! t = kavro.set_time_samples(20e-9, 0, 16e-6);
%! x = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%! e = kavro.set_amplitudes(kavro.linear_array(3, 5e-3, 2e-3), [1 -0.5 2]);
%! e = kavro.set_delays(e, [0 2e-7 1e-7]);
%! g = kavro.set_coordinate_grid([2e-3 3e-3 4e-3], -4e-3, 4e-3, 0, 3e-3, 2e-3, 14e-3);
%!endfunction

%!function table = disc_methods(option)
%! % the methods of discs that take an option, the nonlinear ones apart
%! table = kavro.methods();
%! keep = arrayfun(@(m) any(strcmp('disc', m.shapes)) && any(strcmp(option, m.options)) ...
%!                      && ! any(strcmp('kzk', m.options)), table);
%! table = table(keep);
%!endfunction

%!test  % the module's own method, bit for bit, and the methods over time among each other
%! [e, g, m, t, x] = scene();
%! p = kavro.transient_pressure(e, g, m, t, 32, x);
%! assert(size(p), [5 2 4 801]);
%! assert(kavro.solve('fnm_tsd_sse', e, g, m, 'time', t, 'excitation', x, 'ndiv', 32), p);
%! signal = sin(2e6 * pi * (0:60) * 50e-9) .* (1 - cos(2 * pi * (0:60) / 60)) / 2;
%! sampled = kavro.set_excitation_function('sampled', signal, 50e-9);
%! methods = disc_methods('excitation');
%! assert(numel(methods) >= 4);
%! for method = methods
%!   w = x;
%!   if strcmp(method.name, 'fnm_fdtsd')
%!     w = sampled;
%!   end
%!   q = kavro.solve(method.name, e, g, m, 'time', t, 'excitation', w, 'ndiv', 48);
%!   assert(max(abs(q(:) - p(:))) < 0.02 * max(abs(p(:))), method.name);
%! end

%!test  % continuous waves on the axis of a disc: p = rho c (e^(-jkz) - e^(-jk sqrt(z^2 + a^2)))
%! [~, ~, m] = scene();
%! f0 = 1e6;
%! k = 2 * pi * f0 / m.soundspeed;
%! z = (5e-3:5e-3:30e-3)';
%! e = kavro.set_phases(kavro.disc(4e-3, 'amplitude', 2), 0.5);
%! expected = 2 * exp(0.5j) * m.density * m.soundspeed ...
%!            * (exp(-1j * k * z) - exp(-1j * k * sqrt(z .^ 2 + 16e-6)));
%! methods = disc_methods('f0');
%! assert(numel(methods) >= 4);
%! for method = methods
%!   p = kavro.solve(method.name, e, kavro.set_coordinate_grid([0 * z, 0 * z, z]), m, 'f0', f0);
%!   assert(size(p), [6 1]);
%!   assert(max(abs(p - expected)) < 5e-3 * max(abs(expected)), method.name);
%!   q = kavro.solve(method.name, e, kavro.set_coordinate_grid([1 1 5e-3], 0, 0, 0, 0, 5e-3, 30e-3), ...
%!                   setfield(m, 'f0', f0));
%!   assert(size(q), [1 1 6]);
%!   assert(q(:), p, 1e-9 * max(abs(p)));
%! end

%!test  % a regular grid lies in the result as its axes say; a list point by point
%! [e, g, m, t, x] = scene();
%! run = @(g, n) kavro.solve('fnm_tsd', e, g, m, 'time', t, 'excitation', x, 'threads', n);
%! p = run(g, 1);
%! [x_axis, y_axis, z_axis] = kavro.grid_axes(g);
%! at = kavro.set_coordinate_grid([x_axis(4), y_axis(2), z_axis(3)]);
%! assert(run(at, 1), reshape(p(4, 2, 3, :), 1, []));
%! assert(max(abs(run(at, 1))) > 0);
%! assert(isequal(run(g, 3), p));  % the number of threads shows in nothing

%!test  % measures are those of the field, of one name or several; a field for each element
%! [elements, grid, medium] = deal(kavro.linear_array(3, 2e-3, 0.9e-3), ...
%!     kavro.set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 1e-3, 2e-3, 9e-3), kavro.set_medium());
%! pulse = kavro.set_excitation_function('hanning pulse', 1e6, 2e-6);
%! times = kavro.fit_time_samples(elements, grid, medium, pulse, 5e-8);
%! f = @(varargin) kavro.solve('fnm_tsd', elements, grid, medium, 'time', times, ...
%!                             'excitation', pulse, varargin{:});
%! p = f();
%! assert(f('measure', 'peak_negative'), min(p, [], 4));
%! several = f('measure', {'time_of_peak', 'energy'});
%! [~, j] = max(abs(p), [], 4);
%! t = kavro.time_axis(times);
%! assert(several, struct('time_of_peak', t(j), 'energy', sum(p .^ 2, 4) * 5e-8));
%! each = f('per_element', true);
%! assert(size(each), [size(p), 3]);
%! alone = kavro.solve('fnm_tsd', elements(2), grid, medium, 'time', times, 'excitation', pulse);
%! assert(each(:, :, :, :, 2), alone);
%! assert(f('per_element', true, 'measure', 'peak')(:, :, :, 2), max(abs(alone), [], 4));
%! points = kavro.set_coordinate_grid([0 0 5e-3; 1e-3 0 5e-3]);
%! waves = kavro.solve('fnm_cw', elements, points, medium, 'f0', 1e6, 'per_element', true);
%! assert(waves(:, 3), kavro.solve('fnm_cw', elements(3), points, medium, 'f0', 1e6));

%!test  % a tolerance is kept and reported; what is not reached is a warning with place and reason
%! [e, g, m, t, x] = scene();
%! f = @(varargin) kavro.solve('fnm_tsd', e, g, m, 'time', t, 'excitation', x, varargin{:});
%! best = f('ndiv', 400);
%! [p, report] = f('tolerance', 1e-2);
%! assert(max(abs(p - best), [], 4) <= 1e-2 * numel(e) * max(abs(best(:))));
%! assert({report.method, report.tolerance, report.unreached}, {'fnm_tsd', 1e-2, 0});
%! assert(report.abscissas(1) >= 2 && issorted(report.abscissas) && report.points > 0);
%! [~, finer] = f();
%! assert(finer.tolerance, 1e-3);
%! [~, each] = f('per_element', true, 'measure', 'peak');
%! assert(each.abscissas([1 3]), finer.abscissas([1 3]));
%! assert(finer.abscissas(2) > report.abscissas(2));
%! [~, counted] = f('ndiv', 7);
%! assert({counted.tolerance, counted.abscissas}, {NaN, [7 7 7]});
%! jump = kavro.set_excitation_function('tone burst', 1e6, 1.25e-6);
%! [~, missed] = kavro.solve('fnm_tsd', e, g, m, 'time', t, 'excitation', jump, 'tolerance', 1e-4);
%! assert(missed.unreached > 0 && missed.worst_error > 1e-4);
%! assert(! isempty(strfind(lastwarn(), 'The tolerance is not reached at')));
%! assert(! isempty(strfind(lastwarn(), 'begins or ends with a jump')));

%!test  % the middle of symmetric limits is an exact zero: both sides of a field are alike there
%! grid = kavro.set_coordinate_grid([0.1e-3 1 1], -0.7e-3, 0.7e-3, 0, 0, 5e-3, 5e-3);
%! x = kavro.grid_axes(grid);
%! assert(x(8), 0);
%! p = kavro.solve('fnm_cw', kavro.disc(1e-3), grid, kavro.set_medium(), 'f0', 1e6);
%! middle = kavro.set_coordinate_grid([0 0 5e-3]);
%! assert(p(8), kavro.solve('fnm_cw', kavro.disc(1e-3), middle, kavro.set_medium(), 'f0', 1e6));

%!test  % arrival times: one row for each element, begin and end
%! [e, ~, m] = scene();
%! at = kavro.set_coordinate_grid([0 0 10e-3]);
%! w = kavro.solve('impulse_begin_and_end_times', e, at, m);
%! c = m.soundspeed;
%! assert(size(w), [3 2]);
%! assert(w(2, :), [10e-3, hypot(10e-3, 2e-3)] / c + 2e-7, 1e-15);
%! assert(w(1, 2), hypot(10e-3, 7e-3) / c, 1e-15);

%!test  % a handle hears of the progress up to 1, may call the module itself, and may fail
%! [e, ~, m, t, x] = scene();
%! g = kavro.set_coordinate_grid([5e-4 3e-3 1e-3], -4e-3, 4e-3, 0, 3e-3, 2e-3, 14e-3);  % many tiles
%! run = @(f) kavro.solve('fnm_tsd', e, g, m, 'time', t, 'excitation', x, 'threads', 1, ...
%!                        'progress', f);
%! p = run(@(f) setenv('KAVRO_TEST_FRACTION', num2str(f)));
%! assert(getenv('KAVRO_TEST_FRACTION'), '1');
%! function_of_progress = @(f) kavro.solve('impulse_begin_and_end_times', e, g, m);
%! assert(run(function_of_progress), p);
%! caught = [];
%! try, run(@(f) error('test:enough', 'enough at %g', f > 0.5)); catch caught, end
%! assert({caught.message, caught.identifier}, {'enough at 0', 'test:enough'});
%! assert(run(false), p);  % the module lives on
%! printed = evalc('p = run(true);');
%! assert(! isempty(strfind(printed, 'kavro.solve: 100 % done')));

%!error <^solve: fnm_tsd_sse, shape 'rectangle', element 4: This function is not implemented for this transducer shape\.$>
%! [e, g, m, t, x] = scene();
%! e(4) = setfield(setfield(setfield(e(1), 'shape', 'rect'), 'width', 1e-3), 'height', 1e-3);
%! kavro.solve('fnm_tsd_sse', e, g, m, 'time', t, 'excitation', x);

%!test  % a hexagon is its six triangles; shapes are mixed as one likes
%! [~, g, m, t, x] = scene();
%! run = @(e) kavro.solve('fnm_tsd', e, g, m, 'time', t, 'excitation', x, 'tolerance', 1e-6);
%! corners = 3e-3 * [cos((0:6)' * pi / 3), sin((0:6)' * pi / 3)];
%! hexagon = kavro.polygon(corners(1:6, :), 'euler', [0.1 0.2 0]);
%! parts = arrayfun(@(k) kavro.polygon([1e-3 0; corners(k:k + 1, :)], 'euler', [0.1 0.2 0]), 1:6);
%! p = run(hexagon);
%! assert(max(abs(run(parts)(:) - p(:))) < 1e-5 * max(abs(p(:))));
%! disc = kavro.disc(2e-3, 'center', [5e-3 0 0]);
%! assert(run([hexagon, disc]), p + run(disc));

%!error <^solve: Transducer field 'corners' is at fault: a polygon must have at least 3 corners, not 2 \(element 2\)\.$>
%! [~, g, m] = scene();
%! pair = [kavro.disc(1e-3), kavro.polygon([0 0; 1 0; 0 1])];
%! pair(2).corners(3, :) = [];
%! kavro.solve('fnm_cw', pair, g, m, 'f0', 1e6);

%!test  % the table of methods, as a structure and in print
%! table = kavro.methods();
%! assert(size(table), [1 23]);
%! one = kavro.methods('fnm_tsd_sse');
%! assert(one.shapes, {'disc'});
%! assert(one.options, {'time', 'excitation', 'tolerance', 'ndiv', 'measure', ...
%!                       'per_element', 'threads', 'exact', 'progress'});
%! assert([one.ndiv one.ndiv_multiple], [32 4]);
%! lines = strsplit(evalc('kavro.methods();'), "\n");
%! assert(numel(lines), 25);
%! assert(regexp(lines{1}, '^ +disc  ring  rectangle  spherical shell  spherical ring  polygon$'), 1);
%! assert(! isempty(strfind(evalc('kavro.methods(''fnm_tsd'');'), 'options  time, excitation')));
%! fail('kavro.methods(''fnm'')', '''name'' must be one of ''farfield_cw''');
