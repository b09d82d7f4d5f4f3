% Tests of kavro.pressure: the method and the precision that it takes by itself.

%!function [array, grid, medium] = scene()
%! medium = kavro.set_medium();
%! array = kavro.linear_array(8, 0.5e-3, [0.45e-3 4e-3]);
%! array = kavro.set_delays(array, kavro.focus_delays(array, [1e-3 0 15e-3], medium));
%! grid = kavro.set_coordinate_grid(1e-3, -3e-3, 3e-3, 0, 0, 2e-3, 30e-3);
%!endfunction

%!test  % a continuous wave: delays count as phases, the tolerance is kept
%! [array, grid, medium] = scene();
%! [p, report] = kavro.pressure(array, grid, medium, 'f0', 2e6);
%! turned = kavro.set_phases(array, -2 * pi * 2e6 * [array.time_delay]);
%! best = kavro.solve('fnm_cw', turned, grid, medium, 'f0', 2e6, 'ndiv', 200);
%! assert(p, best, 1e-4 * max(abs(best(:))));
%! assert({report.method, report.tolerance, report.unreached}, {'fnm_cw', 1e-4, 0});
%! assert(kavro.pressure(array, grid, medium, 'f0', 2e6, 'ndiv', 9), ...
%!        kavro.solve('fnm_cw', turned, grid, medium, 'f0', 2e6, 'ndiv', 9), ...
%!        1e-12 * max(abs(best(:))));

%!test  % over time: single precision as far as its rounding stays below the tolerance
%! [array, grid, medium] = scene();
%! pulse = kavro.set_excitation_function('hanning pulse', 2e6, 1.5e-6);
%! over_time = @(varargin) kavro.pressure(array, grid, medium, 'excitation', pulse, 'TIME', ...
%!     kavro.fit_time_samples(array, grid, medium, pulse, 25e-9), varargin{:});
%! best = over_time('tolerance', 1e-9);
%! for tolerance = [1e-2 1e-3 1e-6]
%!   [p, report] = over_time('tolerance', tolerance);
%!   precise = {'fnm_tsd_low_precision', 'fnm_tsd'};
%!   assert(report.method, precise{1 + (tolerance < 1e-5)});
%!   assert(p, best, numel(array) * tolerance * max(abs(best(:))));
%! end
%! assert(over_time('measure', 'peak'), max(abs(over_time()), [], 4));

%!test  % a long sampled waveform goes by frequencies, one with a jump does not
%! [array, grid, medium] = scene();
%! t = (0:799) * 25e-9;
%! chirp = sin(2 * pi * (1e6 * t + 1e11 * t .^ 2)) .* (1 - cos(2 * pi * t / 20e-6));
%! pulse = kavro.set_excitation_function('sampled', chirp, 25e-9);
%! times = kavro.fit_time_samples(array, grid, medium, pulse, 50e-9);
%! options = {'time', times, 'excitation', pulse};
%! best = kavro.solve('fnm_tsd', array, grid, medium, options{:}, 'ndiv', 40);
%! for tolerance = [1e-2 1e-3]
%!   [p, report] = kavro.pressure(array, grid, medium, options{:}, 'tolerance', tolerance);
%!   assert(report.method, 'fnm_spectral');
%!   assert(p, best, tolerance * max(abs(best(:))));
%! end
%! warning('off', 'all', 'local');
%! options{4} = kavro.set_excitation_function('sampled', chirp + 1, 25e-9);
%! point = kavro.set_coordinate_grid([0 0 15e-3]);
%! [~, report] = kavro.pressure(array(1), point, medium, options{:}, 'tolerance', 1e-2);
%! assert(! strcmp(report.method, 'fnm_spectral'));

%!test  % what is asked for must be clear
%! [array, grid, medium] = scene();
%! times = kavro.set_time_samples(1e-7, 0, 1e-5);
%! p = @(varargin) kavro.pressure(array, grid, medium, varargin{:});
%! cases = {{}, 'and ''excitation'' (a wave over time).'
%!          {'f0', 1e6, 'time', times}, 'not both'
%!          {'time', times}, 'needs the option ''excitation'''
%!          {'f0', 1e6, 'tolerance', 1e-3, 'ndiv', 4}, 'exclude each other'};
%! for i = 1:rows(cases)
%!   text = '';
%!   try
%!     p(cases{i, 1}{:});
%!   catch e
%!     text = e.message;
%!   end
%!   assert(! isempty(strfind(text, cases{i, 2})), text);
%! end
