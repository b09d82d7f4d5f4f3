% An ultrasound image of a phantom: three wires and a cyst in a hundred thousand grains of tissue.
%
% A probe of 64 rectangles sends seven plane waves. The script computes what its channels receive
% and sums it up to an image, each pixel along its own delays (delay_and_sum.m, which belongs to
% this example: KAVRO makes echoes, images are made of them by others). It prints where the wires
% are found, and draws the received signals and the image.
%
%   octave-cli examples/11_ultrasound_image.m     from a shell
%   run_example(11)                               from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT. KAVRO_DEMO_GRAINS may say how many grains there are.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();
grains = str2double(getenv('KAVRO_DEMO_GRAINS'));
if isnan(grains)
    grains = 100000;
end

% The probe, driven at 50 mm/s, and its waves.
medium = kavro.set_medium('water', 'soundspeed', 1540, 'density', 1020);
c = medium.soundspeed;
f0 = 5e6;
probe = kavro.set_amplitudes(kavro.linear_array(64, 0.3e-3, [0.27e-3 3e-3]), 0.05);
positions = reshape([probe.center], 3, []).';
events = kavro.plane_wave_events(probe, (-15:5:15) * pi / 180, medium);
pulse = kavro.set_excitation_function('hanning pulse', f0, 2 / f0);
response = kavro.transducer_response(f0, 0.7, 'two_way', true);

% The phantom: wires in front of the probe's middle, grains without order, none of them in the cyst.
wires = [-5e-3 0 15e-3; 0 0 22e-3; 5e-3 0 29e-3];
cyst = [-3.5e-3 0 27e-3];
rand('twister', 1);
randn('twister', 1);
places = [20e-3 * (rand(grains, 1) - 0.5), 2e-3 * (rand(grains, 1) - 0.5), ...
          10e-3 + 25e-3 * rand(grains, 1)];
places = places(hypot(places(:, 1) - cyst(1), places(:, 3) - cyst(3)) > 3e-3, :);
strengths = 3e-7 * sqrt(1e5 / grains) * randn(size(places, 1), 1);
scatterers = kavro.set_scatterers([wires; places], [3e-5 * ones(3, 1); strengths], ...
                                  'exponent', 2, 'reference_frequency', f0);

times = kavro.set_time_samples(25e-9, 10e-6, 52e-6);
started = tic();
[rf, report] = kavro.pulse_echo(probe, scatterers, medium, 'time', times, 'excitation', pulse, ...
                                'response', response, 'events', events);
fprintf('%d scatterers, %d events, %d channels: %.1f s, %d frequencies\n', report.scatterers, ...
        size(rf, 3), size(rf, 2), toc(started), report.frequencies(1));

% The image, and where the wires are in it.
x = -10e-3:0.2e-3:10e-3;
z = 10e-3:0.125e-3:35e-3;
started = tic();
image = abs(delay_and_sum(rf, report, f0, events, positions, c, x, z));
fprintf('%d x %d pixels in %.1f s\n', numel(x), numel(z), toc(started));
near = -0.3e-3:0.015e-3:0.3e-3;
for i = 1:3
    spot = abs(delay_and_sum(rf, report, f0, events, positions, c, wires(i, 1) + near, ...
                             wires(i, 3) + near));
    [~, at] = max(spot(:));
    [ix, iz] = ind2sub(size(spot), at);
    fprintf('wire at x = %5.2f mm, z = %5.2f mm: found %+.2f, %+.2f wavelengths from there\n', ...
            1e3 * wires(i, [1 3]), near([ix iz]) * f0 / c);
end

% The pictures.
files = {'11_signals.png', '11_image.png'};
fig = figure('visible', 'off', 'position', [100 100 720 560]);
t = kavro.time_axis(times);
middle = (size(rf, 3) + 1) / 2;
largest = max(max(abs(rf(:, :, middle))));
imagesc(1:size(rf, 2), 1e6 * t, rf(:, :, middle), largest / 10 * [-1 1]);
colormap(gray(256));
xlabel('Channel');
ylabel('Time ({\mu}s)');
title(sprintf('Received pressure, straight wave, largest %.2g Pa', largest), 'fontweight', 'normal');
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 620 700]);
imagesc(1e3 * x, 1e3 * z, 20 * log10(image.' / max(image(:)) + 1e-6), [-50 0]);
axis('equal', 'tight');
colormap(gray(256));
colorbar();
xlabel('x (mm)');
ylabel('z (mm)');
title('Three wires and a cyst, dB', 'fontweight', 'normal');
save_picture(fig, fullfile(out, files{2}));
fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
