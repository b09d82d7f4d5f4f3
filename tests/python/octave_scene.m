% What the Python package is compared with: elements of every maker and fields of several methods, as
% the toolbox makes and computes them. Writes all numbers, one list after another, as doubles.
%
%   octave-cli octave_scene.m TOOLBOX FILE

1;

function put(file, numbers)
  if ! isreal(numbers)
    numbers = [real(numbers(:)), imag(numbers(:))].';
  end
  fwrite(file, numbers(:), 'double');
end

function put_elements(file, elements)
  for e = elements
    put(file, [e.center, e.euler, e.amplitude, e.time_delay, e.phase, e.channel - 1, e.radius, e.inner_radius, ...
               e.outer_radius, e.width, e.height, e.rad_curvature, e.geometric_focus]);
    put(file, e.corners.');
  end
end

arguments = argv();
addpath(arguments{1});
file = fopen(arguments{2}, 'w');
water = kavro.set_medium();
point = [6e-3 1e-3 25e-3];
focused = @(e) kavro.set_delays(e, kavro.focus_delays(e, point, water));

hexagon = 3e-3 * [cos((0:5)' * pi / 3), sin((0:5)' * pi / 3)];
flat = [kavro.ring_array(12, 5e-3, 2e-3), kavro.ring_array(7, [], 1e-3, 'ring_radius', 4e-3)];
put_elements(file, kavro.linear_array(5, 1e-3, 0.4e-3));
put_elements(file, focused(kavro.convex_array(5, 1e-3, [0.8e-3 4e-3], 30e-3)));
put_elements(file, kavro.planar_array([3 2], [1e-3 2e-3], [0.9e-3 1.5e-3]));
put_elements(file, focused(kavro.bowl_array(flat, 50e-3)));
put_elements(file, focused(kavro.annular_array(5, 20e-3, 0.3e-3, 'rad_curvature', 60e-3)));
put_elements(file, kavro.annular_array(4, 20e-3, 0.3e-3, 'inner_radius', 2e-3, 'equal', 'width'));
mixed = [kavro.disc(2e-3, 'center', [1e-3 2e-3 0], 'euler', [0.1 0.2 0.3], 'amplitude', 2), ...
         kavro.rectangular_piston(2e-3, 3e-3), kavro.polygon(hexagon, 'time_delay', 1e-7), ...
         kavro.ring(1e-3, 2e-3), kavro.spherical_shell(5e-3, 20e-3), ...
         kavro.spherical_ring(2e-3, 5e-3, 20e-3, 'center', [0 0 -1e-3])];
mixed = focused(mixed);
put_elements(file, mixed);
discs = focused(kavro.linear_array(5, 1e-3, 0.4e-3));
discs = kavro.set_amplitudes(discs, [1 2 -1 0.5 1]);
put_elements(file, discs);

lens = {'elevation_focus', 20e-3, 'wavelength', 2e-3};
face = [0.8e-3 4e-3];
convex = kavro.convex_array(5, 1e-3, face, 30e-3, lens{:});
put_elements(file, focused(convex));
put_elements(file, kavro.planar_array([2 3], [1e-3 4e-3], face, lens{:}));
put_elements(file, kavro.rectangular_piston(2e-3, 3e-3, lens{:}, 'euler', [0.1 0.2 0.3], ...
                                            'center', [1e-3 2e-3 3e-3], 'amplitude', 2));
wired = kavro.set_channels(mixed, [7 0 3 7 0 3]);
points = [0 0 20e-3; 3e-3 1e-3 30e-3; -1e-3 0 -20e-3; 0 0 -1e-3];
put_events = @(e) put(file, [e.delays, e.apodization, e.origin, e.direction, e.distance]);
put_events(kavro.plane_wave_events(convex, [-0.2 0 0.3], water, 'elevation', [0 0.1 -0.1], ...
                                   'aperture', [1 3 4], 'origin', [1e-3 2e-3 3e-3]));
put_events(kavro.focused_events(convex, points, water, 'f_number', 4, 'count', 3));
put_events(kavro.focused_events(wired, points, water, 'aperture', logical([1 0 1 1])));
put_events(kavro.synthetic_aperture_events(wired, 'aperture', [4 2]));
[response, delay] = kavro.transducer_response(5e6, 0.7, 'two_way', true);
put(file, [response.signal, response.ts, response.delay, delay]);

for name = {'water', 'lossy water', 'blood', 'fat', 'liver', 'muscle'}
  m = kavro.set_medium(name{1});
  put(file, cellfun(@(f) m.(f), fieldnames(m)));
end
m = kavro.set_medium('water', 'temperature', 37);
put(file, [m.soundspeed, m.density]);

grid = kavro.set_coordinate_grid([1e-3 2e-3 3e-3], -4e-3, 4e-3, -2e-3, 3e-3, 5e-3, 30e-3);
times = kavro.set_time_samples(50e-9, 0, 30e-6);
pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
n = 0:60;
sampled = kavro.set_excitation_function('sampled', n .* (60 - n) .* (30 - n) / 1e4, 50e-9);
run = @(method, e, varargin) put(file, kavro.solve(method, e, grid, water, varargin{:}));
run('fnm_tsd', mixed, 'time', times, 'excitation', pulse);
run('fnm_tsd', mixed, 'time', times, 'excitation', sampled, 'exact', false);
run('fnm_transient', mixed, 'time', times, 'excitation', pulse, 'ndiv', 20);
run('fnm_fdtsd', discs, 'time', times, 'excitation', sampled);
run('fnm_tsd_sse', discs, 'time', times, 'excitation', repmat(pulse, 1, 5));
run('fnm_cw_apodized', kavro.set_phases(discs, 0.2), 'f0', 1e6, 'apodization', 'cosine');
run('impulse_begin_and_end_times', mixed);
cloud = kavro.set_scatterers([0 0 15e-3; 2e-3 1e-3 20e-3], [1e-4 -2e-4], 'exponent', 2, ...
                             'reference_frequency', 1e6);
wired = kavro.set_channels(mixed, [2 0 1 2 0 1]);
heard = kavro.set_time_samples(50e-9, 15e-6, 40e-6);
put(file, kavro.pulse_echo(wired, cloud, water, 'time', heard, 'excitation', pulse, 'receivers', ...
                           discs, 'response', sampled, 'delays', [0 1e-7 NaN 2e-7; 0 0 0 0]));
put(file, kavro.pulse_echo(wired, cloud, water, 'f0', [1e6 2e6]));
put(file, kavro.transient_pressure(discs, grid, water, times, 12, pulse));
list = kavro.set_coordinate_grid([1e-3 2e-3 10e-3; 0 0 20e-3; -3e-3 0 7e-3]);
put(file, kavro.solve('fnm_cw', kavro.set_phases(mixed, 0.1), list, kavro.set_medium('liver'), 'f0', 1e6));
plane = kavro.set_coordinate_grid([1e-3 0 5e-3], 0, 5e-3, 0, 0, 5e-3, 30e-3);
march = struct('extent', 4, 'points_per_radius', 20, 'growth', 0.02, 'harmonics', 2);
lossy = kavro.set_medium('lossy water', 'referencefrequency', 2e6);
pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
put(file, kavro.solve('fnm_spectral', discs, list, lossy, 'time', times, 'excitation', pulse));
put(file, kavro.solve('kzk_cw', kavro.disc(4e-3), plane, water, 'f0', 1e6, 'kzk', march));
times = kavro.fit_time_samples(discs, grid, water, sampled, 70e-9);
put(file, [times.deltat, times.tmin, times.tmax]);
times = kavro.fit_time_samples(discs, grid, water, pulse, 70e-9);
scene = {'fnm_tsd', discs, grid, water, 'time', times, 'excitation', pulse};
p = kavro.solve(scene{:});
[~, ~, z] = kavro.grid_axes(grid);
depth = repmat(reshape(z, 1, 1, []), size(p, 1), size(p, 2));
indices = kavro.field_indices(p, water, 'f0', 1e6, 'time', times, 'prf', 1e3, 'derating', 0.3, ...
                              'depth', depth);
put(file, indices.mechanical_index);
put(file, indices.pulse_intensity_integral);
put(file, indices.pulse_average);
put(file, indices.temporal_average);
put(file, [indices.mi, indices.isppa, indices.ispta, indices.pulse_duration, indices.peak_point]);
measures = kavro.solve(scene{:}, 'measure', {'energy', 'peak_negative'});
indices = kavro.field_indices(measures, water, 'f0', 1e6, 'pulse_duration', 2e-6);
put(file, indices.pulse_average);
fclose(file);
