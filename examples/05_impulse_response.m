% The impulse response of a disc, and the pressure made from it.
%
% The response of a disc's face to an impulse of velocity is known in closed form. The script
% draws it at points over the face, over the rim and beside the disc, convolves it with the
% waveform's slope, and compares the result with the pressure that the fast nearfield method
% computes.
%
%   octave-cli examples/05_impulse_response.m     from a shell
%   run_example(5)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% A disc of 5 mm radius in water, and four points 10 mm over its plane.
medium = kavro.set_medium('water');
radius = 5e-3;
amplitude = 0.05;
disc = kavro.set_amplitudes(kavro.disc(radius), amplitude);
distance = radius * [0; 0.5; 1; 1.6];
places = {'on the axis', 'over the face', 'over the rim', 'beside the disc'};
points = kavro.set_coordinate_grid([distance, 0 * distance, 10e-3 + 0 * distance]);

% The response jumps where a wave arrives, so the convolution wants fine steps.
dt = 0.5e-9;
times = kavro.set_time_samples(dt, 6e-6, 16e-6);
t = kavro.time_axis(times);
h = kavro.solve('impulse_response', disc, points, medium, 'time', times);

% p = density * (slope of v) convolved with h, for three cycles of 1 MHz under a Hanning window.
f0 = 1e6;
w = 3 / f0;
s = 0:dt:w;
slope = pi / w * sin(2 * pi * s / w) .* sin(2 * pi * f0 * s) ...
        + pi * f0 * (1 - cos(2 * pi * s / w)) .* cos(2 * pi * f0 * s);
by_response = zeros(size(h));
for i = 1:numel(distance)
    sum_of_products = conv(h(i, :), slope) * dt;
    by_response(i, :) = medium.density * sum_of_products(1:numel(t));
end
pulse = kavro.set_excitation_function('hanning pulse', f0, w);
p = kavro.solve('fnm_transient', disc, points, medium, 'time', times, 'excitation', pulse, ...
                'ndiv', 64);
fprintf('disc of %.1f mm radius, four points %.0f mm over its plane\n', 1e3 * radius, 10);
for i = 1:numel(distance)
    fprintf('%-16s response up to %5.1f m/s, peak pressure %5.1f kPa, convolution off by %.0e\n', ...
            places{i}, max(h(i, :)) / amplitude, 1e-3 * max(abs(p(i, :))), ...
            max(abs(p(i, :) - by_response(i, :))) / max(abs(p(i, :))));
end

% The picture: responses above, pressures below.
file = '05_impulse_response.png';
fig = figure('visible', 'off', 'position', [100 100 900 720]);
subplot(2, 1, 1);
plot(1e6 * t, h / amplitude / medium.soundspeed);
ylabel('h / c');
legend(places, 'location', 'northeast');
title('Impulse response of a disc, 10 mm over its plane', 'fontweight', 'normal');
axis([6 14 0 1.15]);
set(gca, 'fontsize', 11);
subplot(2, 1, 2);
every = 1:20:numel(t);
plot(1e6 * t(every), 1e-3 * p(:, every));
xlabel('t (us)');
ylabel('p (kPa)');
title('Its convolution with the slope of three cycles of 1 MHz', 'fontweight', 'normal');
xlim([6 14]);
set(gca, 'fontsize', 11);
save_picture(fig, fullfile(out, file));

fprintf('picture in %s: %s\n', out, file);
