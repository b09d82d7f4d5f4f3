% Tests of the toolbox's elements, arrays and focusing.

%!function c = centers(e)
%! c = vertcat(e.center);
%!endfunction

%!function d = facing(e)
%! % Row 3 of the product of the elementary turns: about y by a, about x by b.
%! angles = vertcat(e.euler);
%! [a, b] = deal(angles(:, 1), angles(:, 2));
%! d = [sin(a), -cos(a) .* sin(b), cos(a) .* cos(b)];
%!endfunction

%!test  % elements have the fields that the module reads, and join with any other
%! holds = @(e, varargin) assert(cellfun(@(f) e.(f), varargin(1:2:end), 'UniformOutput', false), ...
%!                               varargin(2:2:end));
%! a = kavro.disc(2e-3);
%! holds(a, 'shape', 'disc', 'radius', 2e-3, 'center', [0 0 0], 'euler', [0 0 0], ...
%!       'amplitude', 1, 'time_delay', 0);
%! b = kavro.disc(single(1e-3), 'Center', [1; 2; 3], 'euler', [0.1 0.2 0.3], ...
%!                'amplitude', -2, 'time_delay', 1e-6);
%! holds(b, 'center', [1 2 3], 'euler', [0.1 0.2 0.3], 'amplitude', -2, 'time_delay', 1e-6);
%! assert(class(b.radius), 'double');
%! c = kavro.rectangular_piston(2e-3, 3e-3, 'center', [1 2 3], 'time_delay', 1e-6);
%! holds(c, 'shape', 'rectangle', 'width', 2e-3, 'height', 3e-3, 'radius', 0, 'center', [1 2 3], ...
%!       'time_delay', 1e-6);
%! d = kavro.ring(1e-3, 2e-3, 'center', [1 2 3]);
%! holds(d, 'shape', 'ring', 'inner_radius', 1e-3, 'outer_radius', 2e-3, 'center', [1 2 3]);
%! e = kavro.spherical_shell(10e-3, 30e-3, 'amplitude', 2);
%! holds(e, 'shape', 'spherical shell', 'radius', 10e-3, 'rad_curvature', 30e-3, 'amplitude', 2);
%! f = kavro.spherical_ring(0, 10e-3, 30e-3, 'time_delay', 1e-6, 'euler', [0.1 0 0]);
%! holds(f, 'shape', 'spherical ring', 'inner_radius', 0, 'outer_radius', 10e-3, ...
%!       'geometric_focus', 30e-3, 'time_delay', 1e-6, 'euler', [0.1 0 0]);
%! g = kavro.polygon(int8([0 0; 2 0; 0 1]), 'center', [1 2 3], 'amplitude', 2);
%! holds(g, 'shape', 'polygon', 'corners', [0 0; 2 0; 0 1], 'center', [1 2 3], 'amplitude', 2);
%! assert(size([a, b, c, d, e, f, g, kavro.linear_array(3, 1e-3, 0.4e-3)]), [1 10]);

%!test  % layouts: pitch, centring and numbering; rectangles may touch
%! assert(centers(kavro.linear_array(4, 2, 1)), [-3 0 0; -1 0 0; 1 0 0; 3 0 0]);
%! assert(centers(kavro.linear_array(1, 2, 1)), [0 0 0]);
%! e = kavro.linear_array(3, 2, [2 5]);
%! assert({e.shape}, {'rectangle', 'rectangle', 'rectangle'});
%! assert([e.width; e.height], [2 2 2; 5 5 5]);
%! assert(centers(e), [-2 0 0; 0 0 0; 2 0 0]);
%! e = kavro.planar_array([2 2], [2 6], [2; 5]);
%! assert(centers(e), [-1 -3 0; 1 -3 0; -1 3 0; 1 3 0]);
%! assert([e(4).width, e(4).height], [2 5]);
%! e = kavro.planar_array([3 2], [2 5], 1);
%! assert(centers(e), [-2 -2.5 0; 0 -2.5 0; 2 -2.5 0; -2 2.5 0; 0 2.5 0; 2 2.5 0]);
%! assert(centers(kavro.planar_array([2; 2], 4, 1)), [-2 -2 0; 2 -2 0; -2 2 0; 2 2 0]);
%! c = centers(kavro.ring_array(8, 3, 1));
%! assert(sqrt(sum(diff(c([1:8 1], :)) .^ 2, 2)), 3 * ones(8, 1), 1e-12);
%! assert(c(1, 2:3) == 0 & c(1, 1) > 0 & c(2, 2) > 0);
%! c = centers(kavro.ring_array(4, [], 0.5, 'ring_radius', 2));
%! assert(c, [2 0 0; 0 2 0; -2 0 0; 0 -2 0], 1e-12);

%!test  % on a convex arc every element lies on the circle and faces away from its centre
%! R = 40e-3;
%! e = kavro.convex_array(15, 2e-3, [1.8e-3 9e-3], R);
%! c = centers(e);
%! outward = c - [0 0 -R];
%! assert(sqrt(sum(outward .^ 2, 2)), R * ones(15, 1), 1e-15);
%! assert(facing(e), outward / R, 1e-12);
%! angles = atan2(outward(:, 1), outward(:, 3));
%! assert(diff(angles), 2e-3 / R * ones(14, 1), 1e-12);
%! assert(c(8, :), [0 0 0], 1e-18);
%! assert(c(1, 1) < 0 && all(c(:, 2) == 0));
%! flat = kavro.convex_array(2, 2e-3, [1e-3 1e-3], 1e6);
%! assert(flat(1).center(3), -0.5e-12, 1e-20);

%!test  % a rectangle's width lies along its own x axis, also when it is tilted and turned
%! corners = @(varargin) kavro.internal.element_outline('me', kavro.rectangular_piston(2, 4, varargin{:}));
%! limits = @(corners) [max(corners); min(corners)];
%! assert(corners(), [-1 -2 0; 1 -2 0; 1 2 0; -1 2 0]);
%! assert(limits(corners('euler', [0 0 pi / 2], 'center', [0 0 7])), [2 1 7; -2 -1 7], 1e-15);
%! assert(limits(corners('euler', [pi / 2 0 0])), [0 2 1; 0 -2 -1], 1e-15);

%!test  % an array of rectangles focuses: the wave of the whole array is largest there
%! medium = kavro.set_medium('water');
%! e = kavro.convex_array(32, 0.7e-3, [0.6e-3 4e-3], 40e-3);
%! delays = kavro.focus_delays(e, [0 0 30e-3], medium);
%! f0 = 1e6;
%! e = kavro.set_phases(e, -2 * pi * f0 * delays);
%! along = kavro.set_coordinate_grid(0.5e-3, -10e-3, 10e-3, 0, 0, 30e-3, 30e-3);
%! p = abs(kavro.solve('fnm_cw', e, along, medium, 'f0', f0, 'ndiv', 16));
%! assert(find(p == max(p)), 21);

%!test  % on a bowl every element lies on the sphere and faces its centre
%! R = 40e-3;
%! flat = [kavro.planar_array([5 4], 4e-3, 1e-3), kavro.ring_array(20, 5e-3, 2e-3)];
%! bowl = kavro.bowl_array(flat, R);
%! c = centers(bowl);
%! assert(c(:, 1:2), centers(flat)(:, 1:2));
%! inward = [0 0 R] - c;
%! assert(sqrt(sum(inward .^ 2, 2)), R * ones(40, 1), 1e-15);
%! assert(facing(bowl), inward / R, 1e-12);
%! assert(kavro.focus_delays(bowl, [0 0 R], kavro.set_medium()), zeros(1, 40), 1e-18);
%! shallow = kavro.bowl_array(kavro.disc(1e-3, 'center', [1e-3 0 0]), 1e3);
%! assert(shallow.center(3), 0.5e-9, 1e-20);

%!test  % the solver takes them: a ring without a hole is the disc, a bowl gathers at its focus
%! medium = kavro.set_medium();
%! medium.attenuationdBcmMHz = 0;
%! times = kavro.set_time_samples(50e-9, 0, 30e-6);
%! pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%! grid = kavro.set_coordinate_grid([0 0 30e-3; 3e-3 0 20e-3]);
%! on = @(e) kavro.solve('fnm_tsd', e, grid, medium, 'time', times, 'excitation', pulse, ...
%!                      'ndiv', 32);
%! assert(on(kavro.ring(0, 10e-3)), on(kavro.disc(10e-3)));
%! shell = on(kavro.spherical_shell(10e-3, 30e-3));
%! assert(on(kavro.spherical_ring(0, 10e-3, 30e-3)), shell);
%! halves = on([kavro.spherical_ring(0, 5e-3, 30e-3), kavro.spherical_ring(5e-3, 10e-3, 30e-3)]);
%! assert(halves, shell, 1e-8 * max(abs(shell(:))));
%! f0 = 1e6;
%! p = kavro.solve('fnm_cw', kavro.spherical_shell(10e-3, 30e-3), grid, medium, 'f0', f0);
%! k = 2 * pi * f0 / medium.soundspeed;
%! depth = 30e-3 - sqrt(30e-3 ^ 2 - 10e-3 ^ 2);
%! assert(abs(p(1)), medium.density * medium.soundspeed * k * depth, 1e-6 * abs(p(1)));

%!test  % annular arrays: equal areas or widths, gaps, holes, bowls
%! e = kavro.annular_array(5, 10e-3, 0.4e-3);
%! [in, out] = deal([e.inner_radius], [e.outer_radius]);
%! assert({in(1), out(5), e(1).shape}, {0, 10e-3, 'ring'});
%! assert(in(2:5) - out(1:4), 0.4e-3 * ones(1, 4), 1e-12);
%! areas = out .^ 2 - in .^ 2;
%! assert(areas, mean(areas) * ones(1, 5), 1e-12);
%! e = kavro.annular_array(3, 10e-3, 1e-3, 'inner_radius', 2e-3, 'equal', 'width', ...
%!                         'rad_curvature', 40e-3);
%! assert([[e.inner_radius]; [e.outer_radius]], [2 5 8; 4 7 10] * 1e-3, 1e-15);
%! assert({e(2).shape, e(2).geometric_focus}, {'spherical ring', 40e-3});
%! e = kavro.annular_array([0 2; 3 4], 'rad_curvature', 9);
%! assert([[e.inner_radius]; [e.outer_radius]], [0 3; 2 4]);

%!test  % rings focus from the circle that halves their area, polygons from the centre of it
%! medium = kavro.set_medium();
%! e = kavro.annular_array(4, 10e-3, 0, 'rad_curvature', 40e-3);
%! assert(kavro.focus_delays(e, [0 0 40e-3], medium), zeros(1, 4), 1e-18);
%! e = [kavro.ring(3e-3, 5e-3, 'center', [0 0 1e-3]), kavro.disc(1e-3)];
%! delays = kavro.focus_delays(e, [0 0 30e-3], medium);
%! far = hypot(29e-3, sqrt(17e-6));
%! assert(delays, ([30e-3 30e-3] - [far 30e-3]) / medium.soundspeed, 1e-18);
%! e = [kavro.polygon([0 3; 6 0; 0 0] * 1e-3, 'center', [0 0 1e-3], 'euler', [0 0 pi / 2]), ...
%!      kavro.disc(1e-3, 'center', [-1e-3 2e-3 1e-3]), kavro.disc(1e-3)];
%! delays = kavro.focus_delays(e, [2e-3 1e-3 20e-3], medium);
%! assert(delays(1), delays(2), 1e-18);

%!test  % focusing: all waves arrive together, the first element to fire fires at 0
%! medium = kavro.set_medium();
%! e = kavro.planar_array([6 5], 3e-3, 1e-3);
%! point = [8e-3 -5e-3 30e-3];
%! delays = kavro.focus_delays(e, point', medium);
%! assert([size(delays), min(delays)], [1 30 0]);
%! arrival = delays + sqrt(sum((centers(e) - point) .^ 2, 2))' / medium.soundspeed;
%! assert(arrival, max(arrival) * ones(1, 30), 1e-18);

%!test  % delays and amplitudes go in one by one, or one for all
%! e = kavro.set_amplitudes(kavro.set_delays(kavro.linear_array(3, 1, 0.5), [1; 2; 3]), 4);
%! assert([e.time_delay; e.amplitude], [1 2 3; 4 4 4]);
%! says(@() kavro.set_delays(e, [1 2]), 'set_delays', '''delays''', 'vector of 3', '1 x 2');
%! says(@() kavro.set_amplitudes(e, NaN), 'set_amplitudes', '''amplitudes''', 'NaN');

%!test  % faults of elements and arrays
%! says(@() kavro.disc(), 'disc', 'it got 0');
%! says(@() kavro.disc(0), '''radius''', 'positive', 'it is 0');
%! says(@() kavro.disc(1, 'centre', [0 0 0]), '''center''', '''centre''');
%! says(@() kavro.disc(1, 'center', [0 0]), '''center''', 'three', '[0 0]');
%! says(@() kavro.disc(1, 'euler', 'up'), '''euler''', '''up''');
%! says(@() kavro.linear_array(2.5, 2, 1), '''count''', 'whole number', '2.5');
%! says(@() kavro.linear_array(2, 1, 1), '''pitch''', 'diameter 2', 'it is 1');
%! says(@() kavro.planar_array(3, 2, 1), '''count''', '[nx ny]', 'it is 3');
%! says(@() kavro.planar_array([3 3], [2 1], 1), '''pitch''', 'diameter 2');
%! says(@() kavro.linear_array(2, 2, [1 2 3]), '''face''', '[width height]', '[1 2 3]');
%! says(@() kavro.linear_array(2, 1, [2 1]), '''pitch''', 'size [2]', 'rectangles', 'it is 1');
%! says(@() kavro.planar_array([2 2], 2, [1 3]), '''pitch''', 'size [1 3]');
%! says(@() kavro.rectangular_piston(1, 0), '''height''', 'positive', 'it is 0');
%! says(@() kavro.polygon([0 0; 1 0]), 'polygon', '''corners''', 'n at least 3', '2 x 2');
%! says(@() kavro.polygon([0 0; 1 0; 0.2 0.2; 0 1]), '''corners''', 'around a convex face');
%! says(@() kavro.convex_array(5, 1, [1 1], 1), '''rad_curvature''', 'half a circle', 'it is 1');
%! says(@() kavro.ring_array(6, [], 1), '''pitch''', 'empty');
%! says(@() kavro.ring_array(6, 3, 1, 'ring_radius', 3), '''pitch''', 'ring_radius');
%! says(@() kavro.ring_array(6, [], 1, 'ring_radius', 1), '''pitch''', 'diameter 2');
%! says(@() kavro.bowl_array(kavro.linear_array(3, 2, 1), 2), '''rad_curvature''', 'larger than 2');
%! tilted = kavro.disc(1, 'euler', [0.1 0 0]);
%! says(@() kavro.bowl_array([kavro.disc(1), tilted], 9), '''elements(2).euler''');
%! says(@() kavro.bowl_array(kavro.disc(1, 'center', [0 0 1]), 9), '''elements(1).center''');
%! says(@() kavro.ring(2, 1), 'ring', '''outer_radius''', 'larger than inner_radius');
%! says(@() kavro.ring(-1, 1), '''inner_radius''', 'zero or positive');
%! says(@() kavro.spherical_shell(2, 1), '''rad_curvature''', 'rim, 2 m', 'it is 1');
%! says(@() kavro.spherical_ring(1, 2, 1), '''rad_curvature''', 'rim, 2 m');
%! says(@() kavro.annular_array(3, 1, 0.6), '''radius''', 'gaps together, 1.2 m');
%! says(@() kavro.annular_array([0 2; 1 3]), '''rims''', 'do not overlap');
%! says(@() kavro.annular_array(3, 1, 0, 'rad_curvature', 0.5), '''rad_curvature''', 'rim, 1 m');
%! says(@() kavro.focus_delays(5, [0 0 1], kavro.set_medium()), '''elements''', 'it is 5');
%! says(@() kavro.focus_delays(tilted, [0 1], kavro.set_medium()), '''point''', '[0 1]');
%! says(@() kavro.focus_delays(tilted, [0 0 1], 1500), '''medium''', 'soundspeed', '1500');
