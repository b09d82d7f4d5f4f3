% The same array, driven by a measured waveform.
%
% A waveform that was sampled (here: made up to look like a vibrometer's record of a face that
% rings, with noise, an offset and the steps of a digitizer) drives the array of the first
% example. The script prepares the record, shows which of its Fourier terms are kept, computes
% the field and compares the pressure at the focus with the waveform.
%
%   octave-cli examples/02_sampled_waveform.m     from a shell
%   run_example(2)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% The record: 128 samples at 40 MHz. A fast rise, a ringing decay, a second mode; then an
% offset, noise of 1 % and an 8-bit digitizer. The noise is the same at every run.
ts = 25e-9;
n = 0:127;
tr = n * ts;
s = max(tr - 0.2e-6, 0);
record = (1 - exp(-(s / 0.25e-6) .^ 2)) .* exp(-s / 0.45e-6) ...
         .* (sin(2 * pi * 1.9e6 * s) + 0.25 * sin(2 * pi * 3.1e6 * s + 0.6));
noise = sin(12.9898 * (n + 1)) * 43758.5453;
noise = 2 * (noise - floor(noise)) - 1;
record = record / max(abs(record)) + 0.01 * noise + 0.02;
record = round(127 * record / 1.1) / 127 * 1.1;

% Prepared for the solver: no offset, nothing above what the transducer can do (6 to 10 MHz),
% both ends led to zero, velocity in m/s. The ends matter: the waveform is zero outside its
% width, and a face that starts or stops with a jump radiates a click.
signal = record - mean(record(1:8));
f = min(n, numel(n) - n) / (numel(n) * ts);
pass = 0.5 * (1 + cos(pi * min(max((f - 6e6) / 4e6, 0), 1)));
signal = real(ifft(fft(signal) .* pass));
rise = 0.5 * (1 - cos(pi * (0:7) / 8));
fall = 0.5 * (1 + cos(pi * (1:24) / 24));
signal(1:8) = signal(1:8) .* rise;
signal(end - 23:end) = signal(end - 23:end) .* fall;
to_velocity = 0.05 / max(abs(signal));
signal = to_velocity * signal;

% Small Fourier terms are left out, which saves time; these are below 1/500 of the largest.
threshold = 0.002;
w = (numel(signal) - 1) * ts;
excitation = kavro.set_excitation_function('sampled', signal, ts, w, threshold);
spectrum = fft(signal);
level = 20 * log10(abs(spectrum) / max(abs(spectrum)) + 1e-9);
kept = level > 20 * log10(threshold);
smooth = real(ifft(spectrum .* kept));
half = 1:numel(n) / 2 + 1;
fprintf('record of %d samples, %d of %d Fourier terms kept\n', ...
        numel(n), sum(kept(half)), numel(half));

% The array, the surroundings of its focus and the time in which the pulse passes them.
medium = kavro.set_medium('water');
focus = [8e-3 0 35e-3];
elements = kavro.linear_array(64, 0.6e-3, 0.25e-3);
elements = kavro.set_delays(elements, kavro.focus_delays(elements, focus, medium));
plane = kavro.set_coordinate_grid(0.2e-3, 1e-3, 15e-3, 0, 0, 26e-3, 44e-3);
times = kavro.set_time_samples(50e-9, 15e-6, 45e-6);
[x, ~, z] = kavro.grid_axes(plane);
t = kavro.time_axis(times);
points = numel(x) * numel(z);

fprintf('%d discs, %d x %d points, %d time samples\n', ...
        numel(elements), numel(x), numel(z), numel(t));
was_on = kavro.progress(true);
started = tic();
p = kavro.transient_pressure(elements, plane, medium, times, 16, excitation);
seconds = toc(started);
kavro.progress(was_on);
fprintf('computed in %.2f s (%.2f us for a point and an element)\n', ...
        seconds, 1e6 * seconds / (points * numel(elements)));

% The pressure at the focus, on a finer time axis. The waves of all elements arrive there
% together, each as the rate of change of the face's velocity; discs that were small against the
% wavelength would radiate so in all directions, real ones somewhat less to the side.
centers = reshape([elements.center], 3, []);
away = sqrt(sum((centers - repmat(focus(:), 1, numel(elements))) .^ 2, 1));
arrival = max(away) / medium.soundspeed;
near = kavro.set_time_samples(5e-9, arrival - 0.5e-6, arrival + w + 0.5e-6);
tn = kavro.time_axis(near);
at_focus = kavro.transient_pressure(elements, kavro.set_coordinate_grid(focus), medium, ...
                                    near, 16, excitation);
area = pi * elements(1).radius ^ 2;
rate = interp1(tr(1:end - 1) + ts / 2, diff(smooth) / ts, tn - arrival, 'linear', 0);
expected = medium.density * area / (2 * pi) * sum(1 ./ away) * rate;
fprintf('pressure at the focus: %.1f kPa; small sources in phase would give %.1f kPa\n', ...
        1e-3 * max(abs(at_focus)), 1e-3 * max(abs(expected)));

% The pictures.
files = {'02_waveform.png', '02_focus.png', '02_field.png'};
blue = [0.00 0.35 0.65];
red = [0.70 0.10 0.15];
grey = [0.55 0.55 0.55];

fig = figure('visible', 'off', 'position', [100 100 1000 400]);
subplot(1, 2, 1);
plot(1e6 * tr, 1e3 * to_velocity * record, '.', 'color', grey, 'markersize', 6);
hold on;
plot(1e6 * tr, 1e3 * smooth, 'linewidth', 2.5, 'color', blue);
hold off;
xlim([0, 1e6 * w]);
xlabel('Time (\mus)');
ylabel('Velocity (mm/s)');
title('Drive waveform', 'fontweight', 'normal');
legend('record', 'prepared, kept terms');
set(gca, 'fontsize', 11);
subplot(1, 2, 2);
f = 1e-6 * f(half);
level = max(level(half), -80);
kept = kept(half);
plot(f(~kept), level(~kept), 'o', 'color', grey, 'markersize', 4);
hold on;
plot(f(kept), level(kept), 'o', 'color', blue, 'markersize', 4);
hold off;
xlabel('Frequency (MHz)');
ylabel('Magnitude (dB)');
xlim([0 12]);
ylim([-80 5]);
title('Its Fourier terms', 'fontweight', 'normal');
legend('left out', 'kept');
set(gca, 'fontsize', 11);
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 800 420]);
plot(1e6 * tn, 1e-3 * expected, 'linewidth', 5, 'color', [0.75 0.75 0.75]);
hold on;
plot(1e6 * tn, 1e-3 * at_focus, 'linewidth', 2.5, 'color', red);
hold off;
xlim(1e6 * tn([1 end]));
xlabel('Time (\mus)');
ylabel('Pressure (kPa)');
title('Pressure at the focus', 'fontweight', 'normal');
legend('small sources in phase', 'computed');
set(gca, 'fontsize', 11);
save_picture(fig, fullfile(out, files{2}));

fig = figure('visible', 'off', 'position', [100 100 1150 560]);
subplot(1, 2, 1);
kavro.show_field(p, plane, 'instant', arrival - 2e-6, 'time', times);
subplot(1, 2, 2);
kavro.show_field(p, plane, 'scale', 'dB');
save_picture(fig, fullfile(out, files{3}));

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
