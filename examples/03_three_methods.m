% The field of one array by three methods.
%
% 32 discs in a row send a continuous wave of 1.5 MHz, steered and focused by their phases. The
% script computes the field on a plane by the fast nearfield method in double and in single
% precision and by the Rayleigh integral over the faces, draws the three, and prints what each
% costs and how far it is from a fine computation.
%
%   octave-cli examples/03_three_methods.m        from a shell
%   run_example(3)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% The array: 32 discs of 0.4 mm radius, 0.9 mm apart. A continuous wave knows no delays: the
% phases of the elements take their place.
f0 = 1.5e6;
medium = kavro.set_medium('water');
focus = [5e-3 0 30e-3];
elements = kavro.linear_array(32, 0.9e-3, 0.4e-3);
elements = kavro.set_amplitudes(elements, 0.05);
delays = kavro.focus_delays(elements, focus, medium);
elements = kavro.set_phases(elements, -2 * pi * f0 * delays);

% 5 mm and more in front of the array: right at its face every disc makes a small loud spot.
plane = kavro.set_coordinate_grid([0.25e-3 0 0.25e-3], -15e-3, 15e-3, 0, 0, 5e-3, 45e-3);
[x, ~, z] = kavro.grid_axes(plane);
fprintf('%d discs, %d x %d points, %.1f MHz\n', numel(elements), numel(x), numel(z), 1e-6 * f0);

% The yardstick, with more points than any of the three needs. Doubling ndiv and looking whether
% the field changes is the way to choose it for a scene of one's own.
fine = kavro.solve('fnm_cw', elements, plane, medium, 'f0', f0, 'ndiv', 128);
largest = max(abs(fine(:)));

% Each method with an order that suffices for these small discs: 16 points along half a rim,
% 24 x 24 points on half a face.
methods = {'fnm_cw', 'fnm_cw_sse', 'rayleigh_cw'};
ndiv = [16 16 24];
fields = cell(1, 3);
for i = 1:3
    started = tic();
    fields{i} = kavro.solve(methods{i}, elements, plane, medium, 'f0', f0, 'ndiv', ndiv(i));
    seconds = toc(started);
    off = max(abs(fields{i}(:) - fine(:))) / largest;
    fprintf('%-12s ndiv %3d: %7.3f s, largest deviation %.1e of the largest pressure\n', ...
            methods{i}, ndiv(i), seconds, off);
end

% The pictures: the three fields, which look alike, and what tells them apart.
files = {'03_fields.png', '03_deviations.png'};
names = strrep(methods, '_', ' ');
fig = figure('visible', 'off', 'position', [100 100 1500 560]);
for i = 1:3
    subplot(1, 3, i);
    kavro.show_field(abs(fields{i}), plane, 'scale', 'dB', 'reference', largest, ...
                     'title', sprintf('%s, 0 dB = %.0f kPa', names{i}, 1e-3 * largest));
end
save_picture(fig, fullfile(out, files{1}), 100);

fig = figure('visible', 'off', 'position', [100 100 900 480]);
colors = [0.00 0.35 0.65; 0.70 0.10 0.15; 0.25 0.25 0.25];
[~, column] = min(abs(x - focus(1)));
for i = 1:3
    off = reshape(abs(fields{i} - fine), numel(x), numel(z)) / largest;
    semilogy(1e3 * z, max(off(column, :), 1e-17), 'linewidth', 2, 'color', colors(i, :));
    hold on;
end
hold off;
xlabel('z (mm)');
ylabel('Deviation / largest pressure');
title(sprintf('Deviation from a fine computation along x = %.1f mm', 1e3 * x(column)), ...
      'fontweight', 'normal');
legend(names, 'location', 'east');
save_picture(fig, fullfile(out, files{2}), 100);

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
