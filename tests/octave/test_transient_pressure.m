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
%! decaying = struct('type', 3, 'f0', 1e6, 'pulse_width', 3e-6, 'B', 1e6, 'decomposition', 'exact');
%! cases = {setfield(x, 'type', 1), tone; x, hanning; decaying, cubed; sampled, hanning};
%! for i = 1:rows(cases)
%!   p = kavro.transient_pressure(e, g, m, t, 128, cases{i, 1});
%!   expected = on_axis(cases{i, 2}, z, e.radius, time);
%!   assert(size(p), size(expected));
%!   assert(p, expected, 2e-4 * max(abs(expected(:))));
%! end

%!test  % shapes of the result
%! [e, g, m, t, x] = scene();
%! box = struct('xmin', -2e-3, 'xmax', 2e-3, 'ymin', 0, 'ymax', 3e-3, 'zmin', 1e-3, ...
%!              'zmax', 5e-3, 'delta', [2e-3; 1e-3; 1e-3]);
%! p = kavro.transient_pressure(e, box, m, t, 16, x);
%! assert({class(p), size(p)}, {'double', [3 4 5 401]});
%! [X, Y, Z] = ndgrid(-2e-3:2e-3:2e-3, 0:1e-3:3e-3, 1e-3:1e-3:5e-3);
%! q = kavro.transient_pressure(e, struct('coordinates', [X(:), Y(:), Z(:)]), m, t, 16, x);
%! assert(max(abs(q(:))) > 1e5);
%! assert(q, reshape(p, 60, 401), 1e-6 * max(abs(q(:))));
%! t.tmax = 0;
%! assert(size(kavro.transient_pressure(e, box, m, t, 16, x)), [3 4 5]);
%! g.coordinates = zeros(0, 3);
%! assert(size(kavro.transient_pressure(e, g, m, t, 16, x)), [0 1]);
%! assert(kavro.transient_pressure(e([]), box, m, t, 16, x), zeros(3, 4, 5));

%!test  % ranges, special matrices and whole numbers are stored in other ways
%! [e, g, m, t, x] = scene();
%! g.coordinates = full(eye(3)([2 3 1], :));
%! e.radius = 2;
%! p = kavro.transient_pressure(e, g, m, t, 8, x);
%! assert(max(abs(p(:))) > 0);
%! e.center = (0:2) * 0;
%! e.radius = int8([2 7]);  % of a scalar the first value counts
%! g.coordinates = eye(3)([2 3 1], :);
%! m.soundspeed = single(1500);
%! assert(kavro.transient_pressure(e, g, m, t, uint64(8), x), p);

%!test  % the modules are what the names call, and their help is that of the files beside them
%! calls = {'kavro.transient_pressure', 'transient_pressure(elements, grid, medium, times, ndiv'; ...
%!          'kavro.solve', 'solve(method, elements, grid, medium'};
%! for call = calls'
%!   [folder, name, extension] = fileparts(which(call{1}));
%!   assert(extension, '.mex');
%!   assert(strfind(get_help_text(call{1}), ['kavro.', call{2}]) > 0);
%!   assert(exist(fullfile(folder, [name, '.m']), 'file') > 0);
%! end
