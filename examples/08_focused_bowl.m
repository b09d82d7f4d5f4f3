% A focused bowl: continuous wave, its axis against the closed form, and a pulse through the focus.
%
% A spherical shell gathers its sound at the centre of its sphere. The script computes the
% continuous wave on a plane through the axis, compares the pressure along the axis with the
% closed form, sends a short pulse through the focus, and does both again for an annular array
% that moves the focus along the axis. It draws everything as PNG files.
%
%   octave-cli examples/08_focused_bowl.m         from a shell
%   run_example(8)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% A bowl of 40 mm diameter that focuses at 50 mm, driven at 50 mm/s, 1 MHz, in water.
a = 20e-3;
d = 50e-3;
velocity = 0.05;
f0 = 1e6;
bowl = kavro.spherical_shell(a, d, 'amplitude', velocity);
medium = kavro.set_medium('water');

% ---- continuous wave on a plane through the axis
plane = kavro.set_coordinate_grid([0.2e-3 0 0.25e-3], -24e-3, 24e-3, 0, 0, 0, 90e-3);
[x, ~, z] = kavro.grid_axes(plane);
p = kavro.solve('fnm_cw', bowl, plane, medium, 'f0', f0);
[highest, at] = max(abs(p(:)));
[ix, ~, iz] = ind2sub(size(p), at);
fprintf('bowl of %.0f mm diameter, focus at %.0f mm, %.0f MHz: %d points\n', ...
        2e3 * a, 1e3 * d, 1e-6 * f0, numel(p));
fprintf('highest pressure %.0f kPa at x = %.1f mm, z = %.2f mm\n', ...
        1e-3 * highest, 1e3 * x(ix), 1e3 * z(iz));

% ---- along the axis, against the closed form
%
%   p(z) = rho c v d/(d - z) * jk/(alpha + jk) * [ e(z) - e(R) ],  e(s) = exp(-(alpha + jk) s),
%
% with R the distance from the rim: two waves, one from the deepest point and one from the rim.
axis_points = kavro.set_coordinate_grid([0 0 0.1e-3], 0, 0, 0, 0, 0.05e-3, 90e-3);
[~, ~, along] = kavro.grid_axes(axis_points);
on_axis = kavro.solve('fnm_cw', bowl, axis_points, medium, 'f0', f0);
on_axis = on_axis(:).';
c = medium.soundspeed;
gamma = medium.attenuationdBcmMHz * 100 * f0 / 1e6 * log(10) / 20 + 2i * pi * f0 / c;
depth = d - sqrt(d ^ 2 - a ^ 2);
to_rim = hypot(a, along - depth);
closed_form = medium.density * c * velocity * (2i * pi * f0 / c) / gamma ...
              * d ./ (d - along) .* (exp(-gamma * along) - exp(-gamma * to_rim));
difference = max(abs(on_axis - closed_form)) / max(abs(closed_form));
fprintf('along the axis: %.1e of the peak away from the closed form\n', difference);

% ---- a pulse through the focus
pulse = kavro.set_excitation_function('hanning pulse', f0, 3 / f0);
times = kavro.set_time_samples(50e-9, 20e-6, 62e-6);
still = medium;
still.attenuationdBcmMHz = 0;      % over time nothing is attenuated
started = tic();
wave = kavro.solve('fnm_tsd', bowl, plane, still, 'time', times, 'excitation', pulse);
fprintf('pulse: %d samples at every point in %.1f s\n', ...
        numel(kavro.time_axis(times)), toc(started));

% ---- an annular array on the same bowl, focused elsewhere
rings = kavro.annular_array(8, a, 0.3e-3, 'rad_curvature', d);
targets = [40e-3 50e-3 65e-3];
profiles = zeros(numel(targets), numel(along));
for i = 1:numel(targets)
    delays = kavro.focus_delays(rings, [0 0 targets(i)], medium);
    steered = kavro.set_phases(kavro.set_amplitudes(rings, velocity), -2 * pi * f0 * delays);
    field = kavro.solve('fnm_cw', steered, axis_points, medium, 'f0', f0);
    profiles(i, :) = abs(field(:));
    [peak, at] = max(profiles(i, :));
    fprintf('8 rings focused at %.0f mm: %.0f kPa at %.1f mm\n', ...
            1e3 * targets(i), 1e-3 * peak, 1e3 * along(at));
end

% ---- pictures
files = {'08_bowl.png', '08_plane.png', '08_axis.png', '08_pulse.png'};

fig = figure('visible', 'off', 'position', [100 100 900 420]);
subplot(1, 2, 1);
kavro.show_array(bowl, 'title', 'Spherical shell');
subplot(1, 2, 2);
delays = kavro.focus_delays(rings, [0 0 targets(1)], medium);
kavro.show_array(kavro.set_delays(rings, delays), 'title', 'Annular array, focused at 40 mm');
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 620 900]);
kavro.show_field(abs(p), plane, 'scale', 'dB', 'dynamic_range', 40, 'title', ...
                 sprintf('Continuous wave, 0 dB = %.0f kPa', 1e-3 * highest));
hold on;
plot(0, 1e3 * d, 'w+', 'markersize', 12, 'linewidth', 1.5);
hold off;
save_picture(fig, fullfile(out, files{2}));

fig = figure('visible', 'off', 'position', [100 100 900 700]);
subplot(2, 1, 1);
plot(1e3 * along, 1e-3 * abs(closed_form), 'k-', 'linewidth', 2.5, ...
     1e3 * along(1:6:end), 1e-3 * abs(on_axis(1:6:end)), 'r.', 'markersize', 8);
legend('closed form', 'fast nearfield method');
ylabel('|p| on the axis (kPa)');
title(sprintf('Shell: %.0e of the peak apart', difference), 'fontweight', 'normal');
grid on;
subplot(2, 1, 2);
plot(1e3 * along, 1e-3 * profiles, 'linewidth', 1.5);
legend('focused at 40 mm', 'at 50 mm', 'at 65 mm');
xlabel('z (mm)');
ylabel('|p| on the axis (kPa)');
title('Annular array of 8 rings', 'fontweight', 'normal');
grid on;
save_picture(fig, fullfile(out, files{3}));

fig = figure('visible', 'off', 'position', [100 100 1000 820]);
instants = d / c + 1.5 / f0 + [-10e-6, 0, 6e-6, 14e-6];
t = kavro.time_axis(times);
for i = 1:numel(instants)
    [~, j] = min(abs(t - instants(i)));
    subplot(2, 2, i);
    kavro.show_field(wave, plane, 'instant', instants(i), 'time', times, ...
                     'reference', max(max(abs(wave(:, :, :, j)))));
end
save_picture(fig, fullfile(out, files{4}));

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
