% Tests of the toolbox's makers of grids, time axes, waveforms and media.

%!test  % regular grids: the fields the module reads, and the module's own count of samples
%! g = kavro.set_coordinate_grid(0.1, 0, 1, -1, -1, 0, 0.25);
%! assert(g.delta, [0.1 0.1 0.1]);
%! assert([g.xmin g.xmax g.ymin g.ymax g.zmin g.zmax], [0 1 -1 -1 0 0.25]);
%! [x, y, z] = kavro.grid_axes(g);
%! assert({x, y, z}, {(0:10) * 0.1, -1, [0 0.1 0.2]});
%! g = kavro.set_coordinate_grid(single([1; 0; 2]), 0, 3, 5, 5, 0, 4);
%! assert({class(g.delta), g.delta}, {'double', [1 0 2]});

%!test  % lists of points keep their order, and come back as columns; time axes
%! points = [1 2 3; 4 5 6];
%! g = kavro.set_coordinate_grid(int32(points));
%! [x, y, z] = kavro.grid_axes(g);
%! assert({class(g.coordinates), [x y z]}, {'double', points});
%! t = kavro.time_axis(kavro.set_time_samples(1e-8, 0, 1e-6));
%! assert([numel(t), t(end)], [101, 100 * 1e-8]);
%! assert(kavro.time_axis(kavro.set_time_samples(0, 2, 2)), 2);
%! assert(kavro.time_axis(kavro.set_time_samples([3; 1; 2])), [3 1 2]);

%!test  % faults of grids and times name the function, the argument, what was expected and came
%! says(@() kavro.set_coordinate_grid(1, 0, 1, 0, 1, 3, 2), 'set_coordinate_grid', '''zmax''', ...
%!      'at least zmin, which is 3', 'it is 2');
%! says(@() kavro.set_coordinate_grid([1 0 1], 0, 0, 0, 1, 0, 0), '''delta''', 'positive for y');
%! says(@() kavro.set_coordinate_grid(-1, 0, 0, 0, 0, 0, 0), '''delta''', '[-1 -1 -1]');
%! says(@() kavro.set_coordinate_grid([1 1], 0, 1, 0, 1, 0, 1), '''delta''', '1 x 2 double');
%! says(@() kavro.set_coordinate_grid(1, NaN, 1, 0, 1, 0, 1), '''xmin''', 'it is NaN');
%! says(@() kavro.set_coordinate_grid(1, 0, 1, 0, 1, 0), 'it got 6');
%! says(@() kavro.set_coordinate_grid(ones(3, 2)), '''points''', 'n x 3', '3 x 2 double');
%! says(@() kavro.set_time_samples('ab', 0, 1), '''deltat''', 'positive', '''ab''');
%! says(@() kavro.set_time_samples(0, 0, 1), '''deltat''', 'it is 0');
%! says(@() kavro.set_time_samples(1, 2, 1), '''tmax''', 'tmin, which is 2');
%! says(@() kavro.set_time_samples(1, 1i, 2), '''tmin''', 'complex');
%! says(@() kavro.set_time_samples({}), '''instants''', 'empty 0 x 0 cell');
%! says(@() kavro.grid_axes(struct('xmin', 0)), '''grid''', 'set_coordinate_grid');
%! says(@() kavro.time_axis(3), '''times''', 'set_time_samples');

%!test  % analytic waveforms carry the module's type numbers and share one list of fields
%! a = kavro.set_excitation_function('tone burst', 1e6, 2e-6);
%! b = kavro.set_excitation_function('Hanning PULSE', 2e6, 3e-6);
%! c = kavro.set_excitation_function('t cubed pulse', 3e6, 4e-6, 5e6, ...
%!                                   'decomposition', 'Reference');
%! e = [a b c];
%! assert([e.type; e.f0; e.pulse_width; e.B], ...
%!        [1 2 3; 1e6 2e6 3e6; 2e-6 3e-6 4e-6; 0 0 5e6]);
%! assert({e.decomposition}, {'exact', 'exact', 'reference'});

%!test  % a sampled waveform ends with its last sample unless told otherwise
%! e = kavro.set_excitation_function('sampled', single([0; 1; -1; 0]), 0.5);
%! assert(e, struct('signal', [0 1 -1 0], 'ts', 0.5, 'w', 1.5, 'clip_threshold', 0, ...
%!                  'decomposition', 'exact'));
%! e = kavro.set_excitation_function('sampled', 1:4, 0.5, 1, -40, 'decomposition', 'reference');
%! assert({e.w, e.clip_threshold, e.decomposition}, {1, -40, 'reference'});

%!test  % faults of waveforms
%! make = @kavro.set_excitation_function;
%! says(@() make('gauss', 1), '''kind''', '''tone burst'', ''hanning pulse''', '''sampled''', ...
%!      'it is ''gauss''');
%! says(@() make('tone burst', 1e6), '''pulse_width''', 'tone burst');
%! says(@() make('hanning pulse', 1e6, 1e-6, 3), 'takes 2 values (f0, pulse_width)', 'got 3');
%! says(@() make('t cubed pulse', 1e6, 1e-6), '''B''');
%! says(@() make('t cubed pulse', 1e6, 1e-6, -1), '''B''', 'zero or positive', 'it is -1');
%! says(@() make('tone burst', 0, 1), '''f0''', 'it is 0');
%! says(@() make('sampled', ones(2), 1), '''signal''', '2 x 2 double');
%! says(@() make('sampled', [1 NaN], 1), '''signal''', 'not finite');
%! says(@() make('sampled', [1 2], 0), '''ts''');
%! says(@() make('sampled', [1 2], 1, 1, 1), '''clip_threshold''', 'below 1');
%! says(@() make('tone burst', 1, 1, 'decompositions', 'exact'), 'decompositions');
%! says(@() make('tone burst', 1, 1, 'decomposition', 'fast'), '''reference''', '''fast''');
%! says(@() make('tone burst', 1, 1, 'decomposition'), '''decomposition'' has no value');

%!test  % water by default, close to the textbook's figures, over the range of temperatures
%! water = kavro.set_medium();
%! assert(water, kavro.set_medium('Water', 'temperature', 20));
%! assert([water.soundspeed water.density water.attenuationdBcmMHz], [1482.3 998.2 0], 0.1);
%! at = @(T) kavro.set_medium('temperature', T);
%! assert([at(0).soundspeed, at(37).soundspeed, at(74).soundspeed], [1402.4 1523.7 1555.1], 0.2);
%! assert([at(4).density, at(37).density, at(95).density], [999.97 993.33 961.9], 0.1);

%!test  % every named medium has the nine fields the module asks for; overrides win
%! fields = {'attenuationdBcmMHz', 'bloodperfusion', 'density', 'nonlinearityparameter', ...
%!           'powerlawexponent', 'soundspeed', 'specificheat', 'specificheatofblood', ...
%!           'thermalconductivity'};
%! for name = {'water', 'lossy water', 'blood', 'fat', 'liver', 'muscle'}
%!   m = kavro.set_medium(name{1});
%!   assert(sort(fieldnames(m))', fields);
%!   assert(m.soundspeed > 1400 && m.soundspeed < 1600 && m.density > 900 && m.density < 1100);
%! end
%! m = kavro.set_medium('liver', 'SoundSpeed', int16(1600), 'attenuationdBcmMHz', 0);
%! assert([m.soundspeed m.attenuationdBcmMHz m.density], [1600 0 1050]);
%! assert(class(m.soundspeed), 'double');
%! m = kavro.set_medium('temperature', 37, 'soundspeed', 1500);
%! assert([m.soundspeed m.density], [1500 993.33], 0.01);
%! m = kavro.set_medium('lossy water', 'temperature', 37, 'referencefrequency', 2e6);
%! assert([m.attenuationdBcmMHz m.referencefrequency m.density], [0.0022 2e6 993.33], 0.01);

%!test  % faults of media
%! says(@() kavro.set_medium('watr'), '''name''', '''liver''', '''watr''');
%! says(@() kavro.set_medium('sound', 3), '''soundspeed''', '''sound''');
%! says(@() kavro.set_medium('soundspeed', -3), '''soundspeed''', 'positive', '-3');
%! says(@() kavro.set_medium('referencefrequency', 0), '''referencefrequency''', 'positive');
%! says(@() kavro.set_medium('density', 'x'), '''density''', '''x''');
%! says(@() kavro.set_medium('temperature', 120), '''temperature''', '0 to 95', '120');
%! says(@() kavro.set_medium('fat', 'temperature', 20), '''temperature''');

%!test  % progress: the variable that the module reads, and the state before
%! before = getenv('KAVRO_PROGRESS');
%! restore = onCleanup(@() setenv('KAVRO_PROGRESS', before));
%! kavro.progress(false);
%! assert({kavro.progress(true), getenv('KAVRO_PROGRESS'), kavro.progress()}, {false, '1', true});
%! assert({kavro.progress(0), getenv('KAVRO_PROGRESS')}, {true, ''});
%! says(@() kavro.progress('on'), '''on''', 'true or false');

%!test  % beam width against the closed form of a Gaussian, and profiles that end too early
%! x = linspace(-5, 5, 2001);
%! [width, left, right] = kavro.beam_width(x, -3 * exp(-(x - 1) .^ 2), -6);
%! assert(width, 2 * sqrt(log(10 ^ (6 / 20))), 1e-4);
%! assert((left + right) / 2, 1, 1e-4);
%! [width, left, right] = kavro.beam_width(x', exp(-(x' + 4.9) .^ 2));
%! assert([isnan(width), isnan(left), isnan(right)], [true true false]);
%! says(@() kavro.beam_width([1 1 2], 1:3), '''positions''', 'increasing');
%! says(@() kavro.beam_width(1:3, 1:2), '''values''', 'vector of 3');
%! says(@() kavro.beam_width(1:3, 1:3, 6), '''level''', 'negative');

%!test  % indices of a Gaussian pulse in closed form; the derated ones; from measures
%! times = kavro.set_time_samples(1e-8, -5e-6, 5e-6);
%! t = kavro.time_axis(times);
%! s = 0.5e-6;
%! p = [0.5; -2; 1] * 1e6 * exp(-t .^ 2 / (2 * s ^ 2));
%! medium = kavro.set_medium();
%! z = medium.density * medium.soundspeed;
%! found = kavro.field_indices(p, medium, 'f0', 4e6, 'time', times, 'prf', 1e3);
%! assert(found.mechanical_index, [0; 1; 0], 1e-12);
%! assert(found.pulse_duration, 2.5 * erfinv(0.8) * s, 1e-4 * s);
%! assert(found.ispta, 1e3 * 4e12 * sqrt(pi) * s / z, -1e-9);
%! assert(found.isppa, found.ispta / 1e3 / found.pulse_duration, -1e-12);
%! assert([found.peak_point, size(found.pulse_average)], [2 3 1]);
%! measures = struct('peak_negative', min(p, [], 2), 'energy', sum(p .^ 2, 2) * 1e-8);
%! again = kavro.field_indices(measures, medium, 'f0', 4e6, 'pulse_duration', 1e-6, ...
%!                             'derating', 0.3, 'depth', [0; 0.05; 0]);
%! assert(again.mi, 10 ^ (-0.3), 1e-12);  % 0.3 * 4 * 5 = 6 dB
%! assert(again.pulse_intensity_integral(2), found.pulse_intensity_integral(2) * 10 ^ -0.6, -1e-9);
%! f = @kavro.field_indices;
%! says(@() f(p, medium, 'time', times), '''f0''', 'positive');
%! says(@() f(p, medium, 'f0', 1e6), '''time''', 'set_time_samples');
%! says(@() f(p(:, 2:end), medium, 'f0', 1e6, 'time', times), '''p''', '1001 instants');
%! says(@() f(struct('peak', 1), medium, 'f0', 1e6), '''measures''', '''energy''');
%! says(@() f(measures, medium, 'f0', 1e6), '''pulse_duration''', 'positive');
%! says(@() f(p, medium, 'f0', 1e6, 'time', times, 'derating', 1, 'depth', [1 2]), '''depth''', ...
%!      '3 points');

%!test  % a fitted axis holds all that arrives, on multiples of its step, and not much more
%! e = kavro.set_delays(kavro.linear_array(2, 4e-3, 1e-3), [1e-6 0]);
%! e(3) = e(1); e(3).amplitude = 0; e(3).time_delay = 1;
%! grid = kavro.set_coordinate_grid([0 0 15e-3; 0 0 30e-3]);
%! pulse = kavro.set_excitation_function('hanning pulse', 1e6, 2e-6);
%! times = kavro.fit_time_samples(e, grid, kavro.set_medium(), pulse, 50e-9);
%! medium = kavro.set_medium();
%! c = medium.soundspeed;
%! first = hypot(15e-3, 1e-3) / c;
%! last = hypot(30e-3, 3e-3) / c + 1e-6 + 2e-6;
%! assert([times.tmin, times.tmax], [floor(first / 50e-9), ceil(last / 50e-9)] * 50e-9, 1e-15);
%! says(@() kavro.fit_time_samples(e, grid, kavro.set_medium(), pulse, 0), '''deltat''');
%! says(@() kavro.fit_time_samples(e, grid, kavro.set_medium(), 5, 1e-8), '''excitation''');
