% A focused bowl in water at rising drive.
%
% A bowl of gain 35 sends a pulse of 3.3 MHz into water, at four amplitudes. The louder it is, the
% more the wave steepens on its way to the focus, up to a shock. The script marches the pulse to the focus, and a
% continuous wave with its harmonics through the whole beam, and draws the waveforms in the
% focus, the harmonics along the axis, and the beams of the fundamental and second harmonic.
%
%   octave-cli examples/07_nonlinear_beam.m       from a shell
%   run_example(7)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% The bowl, and water with its real losses at the frequency.
f0 = 3.3e6;
radius = 20e-3;
rad_curvature = 80e-3;
medium = kavro.set_medium('water', 'attenuationdBcmMHz', 0.0022e-6 * f0);
c = medium.soundspeed;
bowl = kavro.spherical_shell(radius, rad_curvature);
drives = [0.003 0.02 0.04 0.08];  % velocity of the face, m/s
face = medium.density * c * drives;
gain = pi * f0 * radius ^ 2 / (c * rad_curvature);
Kn = medium.nonlinearityparameter * 2 * pi * f0 * drives * rad_curvature / c ^ 2;
fprintf('bowl of %.0f mm radius, focus at %.0f mm, linear gain %.1f\n', ...
        1e3 * radius, 1e3 * rad_curvature, gain);

% The pulse in the focus: a plane of one point, looked at from two periods before the pulse's own
% arrival on. Parameters of the march are left to kavro.solve, which marches on a retarded time of its
% own, as fine as the waveform asks for.
pulse = kavro.set_excitation_function('hanning pulse', f0, 6 / f0);
focus = kavro.set_coordinate_grid([0 0 0], 0, 0, 0, 0, rad_curvature, rad_curvature);
times = kavro.set_time_samples(1 / (60 * f0), rad_curvature / c - 2 / f0, ...
                               rad_curvature / c + 8 / f0);
t = kavro.time_axis(times);
waves = zeros(numel(t), numel(drives));
for i = 1:numel(drives)
    started = tic();
    p = kavro.solve('kzk_transient', kavro.set_amplitudes(bowl, drives(i)), focus, medium, ...
                    'time', times, 'excitation', pulse);
    waves(:, i) = p(:);
    fprintf(['drive %4.0f kPa, Kn %.3f: focus from %5.2f to %5.2f MPa, ', ...
             '%.1f and %.1f times the drive, computed in %.1f s\n'], ...
            1e-3 * face(i), Kn(i), 1e-6 * min(p(:)), 1e-6 * max(p(:)), min(p(:)) / face(i), ...
            max(p(:)) / face(i), toc(started));
end

% The steady beam at each drive, on planes from 50 to 100 mm, with as many harmonics as the highest
% drive asks for.
plane = kavro.set_coordinate_grid([0.05e-3 0 0.5e-3], 0, 3e-3, 0, 0, 50e-3, 100e-3);
[x, ~, z] = kavro.grid_axes(plane);
x = x(:)';
[kzk, cost] = kavro.kzk_parameters(kavro.set_amplitudes(bowl, drives(end)), medium, f0, ...
                                   'grid', plane);
harmonics = kzk.harmonics;
fprintf('march: %d points in the radius, %d harmonics, %d steps\n', kzk.points_per_radius, ...
        harmonics, cost.steps);
beams = cell(1, numel(drives));
for i = 1:numel(drives)
    beams{i} = abs(kavro.solve('kzk_cw', kavro.set_amplitudes(bowl, drives(i)), plane, medium, ...
                               'kzk', kzk, 'f0', f0));
    axis_of_beam = reshape(beams{i}(1, :, :), numel(z), harmonics);
    [highest, at] = max(axis_of_beam(:, 1));
    fprintf(['drive %4.0f kPa: fundamental %4.2f MPa at z = %.1f mm, ', ...
             'second harmonic %4.1f %% of it\n'], ...
            1e-3 * face(i), 1e-6 * highest, 1e3 * z(at), 100 * axis_of_beam(at, 2) / highest);
end

% The pictures.
files = {'07_waveforms.png', '07_harmonics.png', '07_beams.png'};
labels = arrayfun(@(kPa) sprintf('%.0f kPa', kPa), 1e-3 * face, 'UniformOutput', false);

fig = figure('visible', 'off', 'position', [100 100 900 420]);
cycles = f0 * (t - rad_curvature / c);
plot(cycles, waves ./ repmat(face, numel(t), 1), 'linewidth', 1.5);
xlim([0.5 6]);
xlabel('f_0 (t - z/c)');
ylabel('p in the focus / p at the face');
legend(labels, 'location', 'northeast');
title('A pulse in the focus, by the pressure at the face', 'fontweight', 'normal');
grid on;
set(gca, 'fontsize', 11);
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 900 420]);
shown = [2 numel(drives)];
for i = 1:2
    subplot(1, 2, i);
    on_axis = reshape(beams{shown(i)}(1, :, 1:5), numel(z), 5);
    semilogy(1e3 * z, on_axis / face(shown(i)), 'linewidth', 1.5);
    axis([1e3 * z(1) 1e3 * z(end) 1e-2 40]);
    xlabel('z (mm)');
    ylabel('amplitude / p at the face');
    legend(arrayfun(@(n) sprintf('%.1f MHz', 1e-6 * n * f0), 1:5, 'UniformOutput', false), ...
           'location', 'southeast');
    title(sprintf('Harmonics on the axis, drive %s', labels{shown(i)}), 'fontweight', 'normal');
    grid on;
    set(gca, 'fontsize', 11);
end
save_picture(fig, fullfile(out, files{2}));

fig = figure('visible', 'off', 'position', [100 100 1000 640]);
for n = 1:2
    subplot(2, 1, n);
    beam = beams{end}(:, :, n);
    level = 20 * log10([flipud(beam(2:end, :)); beam] / max(beam(:)));
    imagesc(1e3 * z, 1e3 * [-fliplr(x(2:end)), x], max(level, -40));
    axis('xy');
    colorbar();
    if n == 2
        xlabel('z (mm)');
    end
    ylabel('x (mm)');
    title(sprintf('%.1f MHz at a drive of %s, 0 dB = %.2f MPa', 1e-6 * n * f0, labels{end}, ...
                  1e-6 * max(beam(:))), 'fontweight', 'normal');
    set(gca, 'fontsize', 11);
end
save_picture(fig, fullfile(out, files{3}));

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
