% What the module computes, inside the real host. Structures are made by hand: the makers have
% tests of their own.

%!function [e, g, m, t, x] = scene()
%! % a disc at the origin, points on and off its axis, water, 8 us, a Hanning pulse
%! e = struct('shape', 'circ', 'radius', 5e-3, 'center', [0 0 0], 'euler', [0 0 0]);
%! g = struct('coordinates', [0 0 2e-3; 0 0 6e-3; 3e-3 1e-3 4e-3]);
%! m = struct('soundspeed', 1500, 'density', 1000, 'attenuationdBcmMHz', 0, ...
%!            'powerlawexponent', 1, 'specificheat', 0, 'specificheatofblood', 0, ...
%!            'thermalconductivity', 0, 'bloodperfusion', 0, 'nonlinearityparameter', 0);
%! t = struct('tmin', 0, 'tmax', 8e-6, 'deltat', 20e-9);
%! x = struct('type', 2, 'f0', 1e6, 'pulse_width', 3e-6, 'B', 0);
%!endfunction

%!function p = on_axis(v, z, a, t)
%! % rho c (v(t - z/c) - v(t - sqrt(z^2 + a^2)/c)), the closed form on the axis of a disc
%! p = 1.5e6 * (v(t - z / 1500) - v(t - sqrt(z .^ 2 + a ^ 2) / 1500));
%!endfunction

%!test  % the closed form on the axis: pulses, and a sampled waveform
%! [e, g, m, t, x] = scene();
%! z = (1:8)' * 1e-3;
%! g.coordinates = [0 * z, 0 * z, z];
%! time = (0:400) * 20e-9;
%! inside = @(t) t > 0 & t < 3e-6;
%! tone = @(t) inside(t) .* sin(2e6 * pi * t);
%! hanning = @(t) tone(t) .* (1 - cos(2 * pi * t / 3e-6)) / 2;
%! cubed = @(t) inside(t) .* t .^ 3 .* exp(-1e6 * t) .* sin(2e6 * pi * t);
%! sampled = struct('signal', hanning((0:150) * 20e-9), 'ts', 20e-9, 'w', 3e-6, ...
%!                  'clip_threshold', 0, 'decomposition', 'exact');
%! cases = {setfield(x, 'type', 1), tone; x, hanning; ...
%!          setfield(setfield(setfield(x, 'type', 3), 'B', 1e6), 'decomposition', 'exact'), ...
%!          cubed; sampled, hanning};
%! for i = 1:rows(cases)
%!   p = kavro.transient_pressure(e, g, m, t, 128, cases{i, 1});
%!   expected = on_axis(cases{i, 2}, z, e.radius, time);
%!   assert(size(p), size(expected));
%!   assert(p, expected, 2e-4 * max(abs(expected(:))));
%! end

%!test  % the reference decompositions differ where they are known to, and nowhere else
%! [e, g, m, t, x] = scene();
%! at = @(x) kavro.transient_pressure(e, g, m, t, 32, x);
%! p = at(x);
%! assert(at(setfield(x, 'decomposition', 'exact')), p);  % this pulse departs from nothing
%! assert(at(setfield(x, 'decomposition', 'reference')), p);
%! x.type = 3;
%! x.B = 1e6;
%! p = at(x);
%! q = at(setfield(x, 'decomposition', 'exact'));
%! assert(max(abs(p(:) - q(:))) > 0.1 * max(abs(p(:))));

%!test  % the field of an array is the sum of its elements', each with its weight and its waveform
%! [e, g, m, t, x] = scene();
%! e = repmat(e, 1, 3);
%! e(2).center = [1e-3; 2e-3; 0];
%! e(3).euler = [0.3 -0.2 0.1];
%! amplitudes = {1, -0.5, 2};
%! delays = {0, 4e-7, 1e-7};
%! [e.amplitude] = amplitudes{:};
%! [e.time_delay] = delays{:};
%! x = repmat(x, 3, 1);
%! x(2).f0 = 2e6;
%! x(3).type = 1;
%! total = 0;
%! for i = 1:3
%!   total = total + kavro.transient_pressure(e(i), g, m, t, 32, x(i));
%! end
%! p = kavro.transient_pressure(e, g, m, t, 32, x);
%! assert(p, total, 1e-12 * max(abs(p(:))));
%! one = kavro.transient_pressure(e, g, m, t, 32, x(1));  % one waveform for all
%! assert(one, kavro.transient_pressure(e, g, m, t, 32, repmat(x(1), 1, 3)));

%!test  % shapes of the result, and a regular grid against a list of its points
%! [e, g, m, t, x] = scene();
%! box = struct('xmin', -2e-3, 'xmax', 2e-3, 'ymin', 0, 'ymax', 3e-3, 'zmin', 1e-3, ...
%!              'zmax', 5e-3, 'delta', [2e-3; 1e-3; 1e-3]);
%! p = kavro.transient_pressure(e, box, m, t, 16, x);
%! assert(class(p), 'double');
%! assert(size(p), [3 4 5 401]);
%! [X, Y, Z] = ndgrid(-2e-3:2e-3:2e-3, 0:1e-3:3e-3, 1e-3:1e-3:5e-3);
%! g.coordinates = [X(:), Y(:), Z(:)];
%! q = kavro.transient_pressure(e, g, m, t, 16, x);
%! assert(size(q), [60 401]);
%! assert(q, reshape(p, 60, 401), 1e-6 * max(abs(q(:))));
%! assert(max(abs(q(:))) > 1e5);
%! t.tmax = 0;
%! assert(size(kavro.transient_pressure(e, box, m, t, 16, x)), [3 4 5]);
%! g.coordinates = zeros(0, 3);
%! assert(size(kavro.transient_pressure(e, g, m, t, 16, x)), [0 1]);
%! assert(kavro.transient_pressure(e([]), box, m, t, 16, x), zeros(3, 4, 5));

%!test  % what is left out has its default, and ndiv counts in fours
%! [e, g, m, t, x] = scene();
%! p = kavro.transient_pressure(e, g, m, t, 8, x);
%! e.amplitude = 1;
%! e.time_delay = 0;
%! assert(kavro.transient_pressure(e, g, m, t, 8, x), p);
%! for ndiv = [5, 6.7, 8.9]
%!   assert(kavro.transient_pressure(e, g, m, t, ndiv, x), p);
%! end
%! assert(~isequal(kavro.transient_pressure(e, g, m, t, 9, x), p));
%! e.amplitude = 3;
%! assert(kavro.transient_pressure(e, g, m, t, 8, x), 3 * p, 1e-6 * max(abs(p(:))));

%!test  % every way to hold the same numbers gives the same field
%! [e, g, m, t, x] = scene();
%! e.radius = 2;
%! g.coordinates = [1 0 2; 0 3 1; 5 5 5];
%! m.soundspeed = 2;
%! t = struct('tmin', 0, 'tmax', 9, 'deltat', 1);
%! x.f0 = 0.25;
%! x.pulse_width = 4;
%! p = kavro.transient_pressure(e, g, m, t, 8, x);
%! assert(max(abs(p(:))) > 0);
%! for type = {'single', 'int8', 'uint8', 'int16', 'uint16', 'int32', 'uint32', 'int64', 'uint64'}
%!   as = @(value) feval(type{1}, value);
%!   e.radius = as([2 7]);  % of a scalar the first value counts
%!   e.center = as([0; 0; 0]);
%!   g.coordinates = as(g.coordinates);
%!   m.soundspeed = as(2);
%!   t.tmax = as(9);
%!   x.pulse_width = as(4);
%!   assert(kavro.transient_pressure(e, g, m, t, as(8), x), p);
%! end
%! e.center = (0:2) * 0;  % ranges and special matrices are stored in other ways
%! g.coordinates = eye(3)([2 3 1], :);
%! q = kavro.transient_pressure(e, g, m, t, 8, x);
%! g.coordinates = full(g.coordinates);
%! assert(kavro.transient_pressure(e, g, m, t, 8, x), q);

%!test  % an explicit list of times is printed, and gives the samples of the regular axis
%! [e, g, m, t, x] = scene();
%! p = kavro.transient_pressure(e, g, m, t, 16, x);
%! list = struct('time_samples', [4e-6; 2e-6]);
%! printed = evalc('q = kavro.transient_pressure(e, g, m, list, 16, x);');
%! assert(strsplit(printed, "\n"), ...
%!        {'0: 4.000000e-06, 4.000000e-06, 4.000000e-06 => 4.000000e-06', ...
%!         '1: 2.000000e-06, 4.000000e-06, 2.000000e-06 => 2.000000e-06', ''});
%! assert(q, p(:, [201 101]), 1e-3 * max(abs(p(:))));

%!test  % the module is what the name calls, and its help is that of the file beside it
%! [folder, ~, extension] = fileparts(which('kavro.transient_pressure'));
%! assert(extension, '.mex');
%! [text, format] = get_help_text('kavro.transient_pressure');
%! assert(any(strcmp(format, {'plain text', 'texinfo'})));
%! assert(strfind(text, 'kavro.transient_pressure(elements, grid, medium, times, ndiv') > 0);
%! assert(exist(fullfile(folder, 'transient_pressure.m'), 'file') > 0);
