% A focused, steered array in water.
%
% 64 discs in a row send a short pulse that is steered and focused to a point in the x-z plane.
% The script computes the pressure over time on that plane, draws the array, the travelling
% pulse and the map of peak pressure as PNG files, and prints what the beam looks like.
%
%   octave-cli examples/01_focused_array.m        from a shell
%   run_example(1)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% The array: 64 discs of 0.25 mm radius, 0.6 mm apart, driven at 50 mm/s.
medium = kavro.set_medium('water');
focus = [8e-3 0 35e-3];
elements = kavro.linear_array(64, 0.6e-3, 0.25e-3);
elements = kavro.set_amplitudes(elements, 0.05);
elements = kavro.set_delays(elements, kavro.focus_delays(elements, focus, medium));

% The pulse: three cycles of 2 MHz under a Hanning window.
f0 = 2e6;
pulse_width = 1.5e-6;
excitation = kavro.set_excitation_function('hanning pulse', f0, pulse_width);

% The plane, and the time that the pulse needs to leave it. The plane begins 5 mm in front of
% the array: right at its face every disc makes a small loud spot of its own.
plane = kavro.set_coordinate_grid([0.2e-3 0 0.25e-3], -20e-3, 20e-3, 0, 0, 5e-3, 55e-3);
times = kavro.set_time_samples(50e-9, 0, 54e-6);
[x, ~, z] = kavro.grid_axes(plane);
t = kavro.time_axis(times);
points = numel(x) * numel(z);

fprintf('%d discs, %d x %d points, %d time samples, %.1f MHz pulse of %.1f us\n', ...
        numel(elements), numel(x), numel(z), numel(t), 1e-6 * f0, 1e6 * pulse_width);
was_on = kavro.progress(true);
started = tic();
p = kavro.pressure(elements, plane, medium, 'time', times, 'excitation', excitation);
seconds = toc(started);
kavro.progress(was_on);
fprintf('computed in %.2f s (%.2f us for a point and an element)\n', ...
        seconds, 1e6 * seconds / (points * numel(elements)));

% What the beam looks like.
peak = max(abs(p), [], 4);
peak = reshape(peak, numel(x), numel(z));
[highest, at] = max(peak(:));
[ix, iz] = ind2sub(size(peak), at);
[~, focal_row] = min(abs(z - focus(3)));
[width, left, right] = kavro.beam_width(x, peak(:, focal_row), -6);
fprintf('intended focus       x = %5.2f mm, z = %5.2f mm\n', 1e3 * focus([1 3]));
fprintf('highest peak         x = %5.2f mm, z = %5.2f mm, %.0f kPa\n', ...
        1e3 * x(ix), 1e3 * z(iz), 1e-3 * highest);
fprintf('-6 dB width at z = %.2f mm: %.2f mm, from x = %.2f to %.2f mm\n', ...
        1e3 * z(focal_row), 1e3 * width, 1e3 * left, 1e3 * right);

% The pictures.
files = {'01_array.png', '01_snapshots.png', '01_peak_pressure.png'};

fig = figure('visible', 'off', 'position', [100 100 900 320]);
kavro.show_array(elements, 'title', 'Linear array of 64 discs');
save_picture(fig, fullfile(out, files{1}));

centers = reshape([elements.center], 3, []);
away = sqrt(sum((centers - repmat(focus(:), 1, numel(elements))) .^ 2, 1));
in_focus = max(away) / medium.soundspeed + pulse_width / 2;
instants = in_focus + [-16e-6, -8e-6, 0, 8e-6];
fig = figure('visible', 'off', 'position', [100 100 1000 900]);
for i = 1:numel(instants)
    [~, j] = min(abs(t - instants(i)));
    subplot(2, 2, i);
    kavro.show_field(p, plane, 'instant', instants(i), 'time', times, ...
                     'reference', max(max(abs(p(:, :, :, j)))));
end
save_picture(fig, fullfile(out, files{2}));

fig = figure('visible', 'off', 'position', [100 100 720 720]);
kavro.show_field(p, plane, 'scale', 'dB', 'dynamic_range', 40, 'title', ...
                 sprintf('Peak pressure, 0 dB = %.0f kPa', 1e-3 * highest));
hold on;
plot(1e3 * focus(1), 1e3 * focus(3), 'w+', 'markersize', 12, 'linewidth', 1.5);
hold off;
save_picture(fig, fullfile(out, files{3}));

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
