% Tests of the toolbox together with the compiled module: what the makers make, the module
% takes as it is, and the field that comes out is the one that the makers' help promises.

%!function [medium, times, pulse] = scene()
%! medium = kavro.set_medium();
%! times = kavro.set_time_samples(20e-9, 0, 40e-6);
%! pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%!endfunction

%!function v = hanning_rate(t, f0, w)
%! % time derivative of the Hanning pulse
%! v = pi / w * sin(2 * pi * t / w) .* sin(2 * pi * f0 * t) ...
%!     + pi * f0 * (1 - cos(2 * pi * t / w)) .* cos(2 * pi * f0 * t);
%! v(t <= 0 | t >= w) = 0;
%!endfunction

%!test  % a disc small against the wavelength is a point source in a rigid baffle
%! [medium, times, pulse] = scene();
%! radius = 0.1e-3;
%! e = kavro.disc(radius, 'center', [1e-3 0 0], 'amplitude', 0.2, 'time_delay', 2e-6);
%! points = kavro.set_coordinate_grid([1e-3 0 30e-3; 11e-3 5e-3 20e-3]);
%! lastwarn('');
%! p = kavro.transient_pressure(e, points, medium, times, 32, pulse);
%! assert(lastwarn(), '');  % water is lossless by default: nothing to warn of
%! t = kavro.time_axis(times);
%! for i = 1:2
%!   R = norm(points.coordinates(i, :) - e.center);
%!   rate = 0.2 * hanning_rate(t - 2e-6 - R / medium.soundspeed, 1e6, 3e-6);
%!   expected = medium.density * pi * radius ^ 2 / (2 * pi * R) * rate;
%!   assert(p(i, :), expected, 0.02 * max(abs(expected)));
%! end

%!test  % a turned disc radiates where its help says: the same field in its own frame
%! [medium, times, pulse] = scene();
%! a = 0.4;
%! b = -0.7;
%! out = [sin(a), -cos(a) * sin(b), cos(a) * cos(b)];
%! side = cross(out, [1 0 0]) / norm(cross(out, [1 0 0]));
%! center = [3e-3 -2e-3 1e-3];
%! at = [20e-3 0; 25e-3 4e-3];
%! straight = kavro.set_coordinate_grid([at(:, 2), 0 * at(:, 1), at(:, 1)]);
%! turned = kavro.set_coordinate_grid(at(:, 1) * out + at(:, 2) * side + center);
%! p = kavro.transient_pressure(kavro.disc(4e-3), straight, medium, times, 64, pulse);
%! q = kavro.transient_pressure(kavro.disc(4e-3, 'center', center, 'euler', [a b 0]), ...
%!                              turned, medium, times, 64, pulse);
%! assert(q, p, 1e-4 * max(abs(p(:))));

%!test  % any number of threads, the same bits; the setting before
%! [medium, times, pulse] = scene();
%! before = kavro.threads('default');
%! restore = onCleanup(@() kavro.threads(before));
%! assert({kavro.threads(3), kavro.threads()}, {'default', 3});
%! e = kavro.linear_array(8, 1e-3, 0.4e-3);
%! plane = kavro.set_coordinate_grid(0.5e-3, -10e-3, 10e-3, 0, 0, 1e-3, 30e-3);
%! work = @() kavro.transient_pressure(e, plane, medium, times, 16, pulse);
%! three = work();
%! kavro.threads(1);
%! assert(isequal(three, work()));
%! fail('kavro.threads(1.5)', 'whole number');
