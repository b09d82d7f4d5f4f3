% What somebody meets who has not read everything.

%!test  % an axis that fits a lossy field leaves nothing out of the field
%! medium = kavro.set_medium('liver');
%! e = kavro.linear_array(16, 0.3e-3, [0.27e-3 5e-3]);
%! e = kavro.set_delays(e, kavro.focus_delays(e, [0 0 60e-3], medium));
%! pulse = kavro.set_excitation_function('hanning pulse', 7e6, 0.4e-6);
%! for z = [10e-3 60e-3 150e-3]
%!   grid = kavro.set_coordinate_grid([0 0 z; 10e-3 0 z]);
%!   times = kavro.fit_time_samples(e, grid, medium, pulse, 20e-9);
%!   wide = kavro.set_time_samples(20e-9, times.tmin - 200 * 20e-9, times.tmax + 400 * 20e-9);
%!   p = kavro.pressure(e, grid, medium, 'time', wide, 'excitation', pulse);
%!   t = kavro.time_axis(wide);
%!   outside = max(abs(p(:, t < times.tmin - 1e-9 | t > times.tmax + 1e-9)), [], 2);
%!   assert(all(outside < 1e-3 * max(abs(p), [], 2)));
%!   assert(numel(kavro.time_axis(times)) < 600 + 2 * 5e-6 / 20e-9);
%! end

%!function complaint = complaint_of(f)
%! complaint = '';
%! try
%!   f();
%! catch thrown
%!   complaint = thrown.message;
%! end
%!endfunction

%!test  % complaints of the one call for most questions
%! e = kavro.disc(1e-3);
%! grid = kavro.set_coordinate_grid([0 0 1e-2]);
%! medium = kavro.set_medium();
%! begins = @(f, text) assert(strncmp(complaint_of(f), text, numel(text)), complaint_of(f));
%! begins(@() kavro.pressure(), 'pressure: it takes at least 3 arguments');
%! begins(@() kavro.pressure(e, grid, medium, 'frequency', 1e6), ...
%!        'pressure: There is no option ''frequency''. The pressure takes the options ''f0'', ');
%! begins(@() kavro.pressure(e, grid, medium, 1e6), ...
%!        'pressure: What should be the name of an option is one number.');
%! pair = [e e];
%! begins(@() kavro.kzk_parameters(pair, medium, 1e6), ...
%!        'kzk_parameters: ''element'' must be one disc, spherical shell or spherical ring');
%! begins(@() kavro.plane_wave_events(e, [-15 15], medium), ...
%!        'plane_wave_events: ''angles'' must be a vector of angles from -pi to pi (rad)');
%! assert(! isempty(regexp(complaint_of(@() kavro.set_medium('water', 37)), 'but it is 37\.$')));

%!test  % an array's elements are checked each by itself, however they were made
%! e = kavro.linear_array(3, 1e-3, 0.4e-3);
%! e(2).center = e(2).center';
%! louder = kavro.set_amplitudes(e, 2);
%! assert(louder(2).amplitude, 2);
%! for bad = {{'center', [1 2]}, {'euler', [0 NaN 0]}, {'center', 'abc'}, {'channel', -1}}
%!   x = e;
%!   x(3).(bad{1}{1}) = bad{1}{2};
%!   start = sprintf('set_amplitudes: ''elements(3).%s'' must be ', bad{1}{1});
%!   assert(strncmp(complaint_of(@() kavro.set_amplitudes(x, 2)), start, numel(start)));
%! end

%!function said = said_of(e, grid, times)
%! pulse = kavro.set_excitation_function('hanning pulse', 5e6, 0.6e-6);
%! said = evalc(['kavro.pressure(e, grid, kavro.set_medium(), ''time'', times, ', ...
%!               '''excitation'', pulse);']);
%!endfunction

%!test  % an axis that meets no wave is told of, and no other silence
%! e = kavro.disc(5e-3);
%! medium = kavro.set_medium();
%! first = 20e-3 / medium.soundspeed;
%! last = hypot(20e-3, 5e-3) / medium.soundspeed + 0.6e-6;
%! either_side = kavro.set_coordinate_grid([0 0 20e-3; 0 0 -20e-3]);
%! behind = kavro.set_coordinate_grid([0 0 -20e-3]);
%! in_microseconds = kavro.set_time_samples(25, 0, 10);
%! said = said_of(e, either_side, in_microseconds);
%! text = sprintf(['from 0 s to 0 s, but the first wave arrives at %.4g s and the last one is ', ...
%!                 'over at %.4g s.'], first, last);
%! assert(! isempty(strfind(said, text)), said);
%! for silent = {said_of(e, behind, in_microseconds), ...
%!               said_of(kavro.set_amplitudes(e, 0), either_side, in_microseconds)}
%!   assert(isempty(strfind(silent{1}, 'zero everywhere')));
%! end

%!test  % makers refuse numbers of elements that a host would not survive
%! begins = @(f, text) assert(strncmp(complaint_of(f), text, numel(text)), complaint_of(f));
%! from_1 = 'must be a whole number from 1 to 4000000, but it is 1e+09.';
%! begins(@() kavro.linear_array(1e9, 0.3e-3, 0.1e-3), ['linear_array: ''count'' ' from_1]);
%! begins(@() kavro.convex_array(1e9, 1e-9, 1e-10, 1e3), ['convex_array: ''count'' ' from_1]);
%! begins(@() kavro.annular_array(1e9, 1, 0), ['annular_array: ''count'' ' from_1]);
%! begins(@() kavro.ring_array(1e9, 0.3e-3, 0.1e-3), 'ring_array: ''count'' must be a whole number');
%! begins(@() kavro.planar_array([1e5 41], 1e-3, 1e-4), ...
%!        'planar_array: ''count'' must be of no more than 4000000 elements together, but it is');
%! begins(@() kavro.random_array(1e8, 1, 1e-9), ...
%!        'random_array: The number of elements must be at most 4000000, but it is 100000000.');
%! lens = {'elevation_focus', 1, 'wavelength', 1e-300};
%! begins(@() kavro.rectangular_piston(1, 1, lens{:}), ...
%!        'rectangular_piston: ''wavelength'' must be so long that 4000000 strips suffice');

%!test  % amplitudes where arrays are made, one for all or one for each
%! of = @(elements) [elements.amplitude];
%! assert(of(kavro.linear_array(3, 1e-3, 4e-4, 'amplitude', [1 2 3])), [1 2 3]);
%! assert(of(kavro.planar_array([2 1], 1e-3, 4e-4, 'amplitude', 5)), [5 5]);
%! lens = {'elevation_focus', 2e-2, 'wavelength', 1e-2, 'amplitude', [1 2]};
%! assert(unique(of(kavro.convex_array(2, 1e-3, [9e-4 5e-3], 0.1, lens{:}))), [1 2]);
%! assert(of(kavro.ring_array(2, 1e-3, 4e-4, 'Amplitude', [1 0])), [1 0]);
%! assert(of(kavro.annular_array(2, 5e-3, 0, 'amplitude', [1 2])), [1 2]);
%! assert(of(kavro.annular_array([0 1; 1 2], 'amplitude', [1 2])), [1 2]);
%! assert(of(kavro.random_array(2, 5e-3, 1e-3, 'amplitude', [1 2], 'seed', 3)), [1 2]);
%! assert(! isempty(strfind(complaint_of(@() kavro.linear_array(3, 1e-3, 4e-4, 'amplitude', [1 2])), ...
%!                          'linear_array: ''amplitude'' must be one real number, or a vector of 3')));
