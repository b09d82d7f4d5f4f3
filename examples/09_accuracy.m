% How accurate, and what it costs: a probe's field at tolerances from 1e-1 to 1e-8.
%
% A user asks for an accuracy, not for a number of abscissas: every point takes as many as it
% needs. The script computes a focused probe's continuous wave and its pulse at three tolerances,
% compares both with a field of many abscissas, and draws error and cost against the tolerance.
%
%   octave-cli examples/09_accuracy.m             from a shell
%   run_example(9)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% 64 rectangles of 0.27 x 5 mm, focused at 25 mm, at 5 MHz.
f0 = 5e6;
medium = kavro.set_medium('water');
probe = kavro.set_amplitudes(kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]), 0.05);
probe = kavro.set_delays(probe, kavro.focus_delays(probe, [0 0 25e-3], medium));
plane = kavro.set_coordinate_grid([0.2e-3 0 0.4e-3], -12e-3, 12e-3, 0, 0, 0.4e-3, 45e-3);

% ---- a continuous wave
wave = @(varargin) kavro.pressure(probe, plane, medium, 'f0', f0, varargin{:});
best = wave('ndiv', 160);
largest = max(abs(best(:)));
shown = [1e-2 1e-4 1e-6];
fields = cell(1, 3);
tolerances = 10 .^ (-1:-1:-8);
errors = zeros(size(tolerances));
mean_abscissas = zeros(size(tolerances));
fprintf('continuous wave, %d points:\n', numel(best));
for i = 1:numel(tolerances)
    [p, report] = wave('tolerance', tolerances(i));
    errors(i) = max(abs(p(:) - best(:))) / largest;
    mean_abscissas(i) = report.abscissas(2);
    fprintf('  tolerance %.0e: error %.1e of the peak, %4.1f abscissas an edge piece, %d to %d\n', ...
            tolerances(i), errors(i), report.abscissas([2 1 3]));
    at = find(abs(log10(tolerances(i) ./ shown)) < 0.5);
    if ~isempty(at)
        fields{at} = p;
    end
end

% ---- a pulse: its peaks alone, without the field over time
pulse = kavro.set_excitation_function('hanning pulse', f0, 0.6e-6);
times = kavro.fit_time_samples(probe, plane, medium, pulse, 20e-9);
peak = @(varargin) kavro.pressure(probe, plane, medium, 'time', times, 'excitation', pulse, ...
                                  'measure', 'peak', varargin{:});
best_peak = peak('ndiv', 100);
fprintf('pulse:\n');
for tolerance = [1e-2 1e-3 1e-4]
    [p, report] = peak('tolerance', tolerance);
    fprintf('  tolerance %.0e: error %.1e of the peak, %4.1f abscissas, by %s\n', tolerance, ...
            max(abs(p(:) - best_peak(:))) / max(best_peak(:)), report.abscissas(2), report.method);
end

% ---- the pictures
files = {'09_fields.png', '09_accuracy.png'};
fig = figure('visible', 'off', 'position', [100 100 1100 700]);
for i = 1:3
    subplot(2, 3, i);
    kavro.show_field(abs(fields{i}), plane, 'title', sprintf('Tolerance %.0e', shown(i)));
    subplot(2, 3, 3 + i);
    kavro.show_field(abs(fields{i} - best), plane, 'scale', 'dB', 'reference', largest, ...
                     'dynamic_range', 200, 'title', 'Error, 0 dB = largest pressure');
end
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 900 400]);
subplot(1, 2, 1);
loglog(tolerances, errors, 'o-', 'linewidth', 1.5, tolerances, tolerances, '--', 'color', [0.5 0.5 0.5]);
xlabel('Tolerance');
ylabel('Largest error, of the peak');
title('What is reached', 'fontweight', 'normal');
grid('on');
subplot(1, 2, 2);
semilogx(tolerances, mean_abscissas, 'o-', 'linewidth', 1.5);
xlabel('Tolerance');
ylabel('Abscissas of an edge piece, mean');
title('What it takes', 'fontweight', 'normal');
grid('on');
save_picture(fig, fullfile(out, files{2}));
fprintf('pictures: %s\n', strjoin(fullfile(out, files), ', '));
