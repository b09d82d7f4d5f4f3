% What tissue does to a pulse: one array in water and in liver.
%
% A focused probe sends the same short pulse into water and into liver. Losses that grow with
% frequency weaken the beam, draw its focus nearer and take the upper part of the pulse's
% spectrum; the dispersion that belongs to them slows the lower frequencies that are left. The script
% draws the peak pressures side by side, the waveforms at the focus, and the transfer function of
% the whole array there, at many frequencies in one call.
%
%   octave-cli examples/10_tissue.m               from a shell
%   run_example(10)                               from the folder of the examples, any host
%
% The picture goes to demo_output beside the folder of the examples, or to the folder named by
% the environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% 64 rectangles of 0.27 x 5 mm; two cycles and a half of 5 MHz. The array is focused at 40 mm for
% the speed of sound of each medium.
f0 = 5e6;
focus = [0 0 40e-3];
probe = kavro.set_amplitudes(kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]), 0.05);
pulse = kavro.set_excitation_function('hanning pulse', f0, 0.5e-6);
plane = kavro.set_coordinate_grid([0.4e-3 0 1e-3], -8e-3, 8e-3, 0, 0, 5e-3, 60e-3);
point = kavro.set_coordinate_grid(focus);
names = {'lossy water', 'liver'};
frequencies = 0.1e6:0.1e6:9e6;

for i = 1:2
    medium = kavro.set_medium(names{i}, 'referencefrequency', f0);
    array = kavro.set_delays(probe, kavro.focus_delays(probe, focus, medium));
    over_time = @(points, times, varargin) kavro.pressure(array, points, medium, 'time', times, ...
                                                          'excitation', pulse, varargin{:});

    % Peaks over the plane, without the field over time; a margin for what dispersion delays.
    times = kavro.fit_time_samples(array, plane, medium, pulse, 25e-9);
    started = tic();
    [peaks, report] = over_time(plane, times, 'measure', 'peak');
    fprintf('%-12s %d points by %s in %.1f s', names{i}, numel(peaks), report.method, toc(started));

    % The waveform at the focus, and the transfer function of the array there.
    arrival = max([array.time_delay]) + focus(3) / medium.soundspeed;
    near_focus = kavro.set_time_samples(5e-9, arrival - 0.3e-6, arrival + 1.2e-6);
    wave = over_time(point, near_focus, 'tolerance', 1e-5);
    H = kavro.pressure(array, point, medium, 'f0', frequencies);

    result(i) = struct('peaks', 1e-6 * squeeze(peaks), 'wave', 1e-6 * wave, ...
                       'transfer', abs(H) / 0.05 / medium.density / medium.soundspeed, ...
                       'time', 1e6 * (kavro.time_axis(near_focus) - arrival));
    [largest, at] = max(result(i).transfer);
    [x, ~, z] = kavro.grid_axes(plane);
    [~, deepest] = max(max(result(i).peaks));
    fprintf(', %.2f MPa at the focus, beam''s peak at %.0f mm, transfer largest at %.1f MHz\n', ...
            max(abs(result(i).wave)), 1e3 * z(deepest), 1e-6 * frequencies(at));
end

% ---- the picture
fig = figure('visible', 'off', 'position', [100 100 1000 800]);
for i = 1:2
    subplot(2, 2, i);
    kavro.show_field(result(i).peaks, plane, 'scale', 'dB', 'dynamic_range', 40, ...
                     'reference', max(result(1).peaks(:)), ...
                     'title', [upper(names{i}(1)) names{i}(2:end)]);
end
subplot(2, 2, 3);
plot(result(1).time, result(1).wave, 'b', result(2).time, result(2).wave, 'r');
xlabel('Time from the nominal arrival (\mus)');
ylabel('Pressure at the focus (MPa)');
legend(names);
subplot(2, 2, 4);
plot(1e-6 * frequencies, result(1).transfer, 'b', 1e-6 * frequencies, result(2).transfer, 'r');
xlabel('Frequency (MHz)');
ylabel('|p| at the focus / \rho c v');
legend(names, 'location', 'northwest');
file = fullfile(out, '10_tissue.png');
save_picture(fig, file);
fprintf('picture: %s\n', file);
