% A therapeutic array: from 256 random elements on a bowl to temperature and dose after ten seconds.
%
% The array is steered off its axis and computed as a continuous wave in tissue with losses. What the
% wave loses heats the tissue for ten seconds, conduction and blood carry the heat away, and the dose
% tells what is left of the tissue. It draws everything.
%
%   octave-cli examples/12_therapy.m              from a shell
%   run_example(12)                               from the folder of the examples, any host
%
% The picture goes to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% A bowl of 120 mm diameter that focuses at 120 mm, in liver all along: a path through water would
% cost it less.
f0 = 1e6;
liver = kavro.set_medium('liver', 'bloodperfusion', 15);
array = kavro.random_array(256, 60e-3, 2.5e-3, 'rad_curvature', 120e-3, 'minimum_gap', 0.2e-3, ...
                           'hole_radius', 15e-3, 'seed', 1);
array = kavro.set_amplitudes(array, 0.14);
target = [4e-3 0 118e-3];
array = kavro.focus(array, target, liver, 'f0', f0);

% ---- the wave in a plane through the focus, and in a box around it
plane = kavro.set_coordinate_grid([0.5e-3 0 1e-3], -12e-3, 12e-3, 0, 0, 95e-3, 140e-3);
p = kavro.pressure(array, plane, liver, 'f0', f0, 'tolerance', 1e-3);
box = kavro.set_coordinate_grid([0.5e-3 0.5e-3 1e-3], -3e-3, 11e-3, -7e-3, 7e-3, 104e-3, 132e-3);
Q = kavro.heat_rate(kavro.pressure(array, box, liver, 'f0', f0, 'tolerance', 1e-3), liver, f0);
fprintf('256 elements, %.0f MHz: %.2f MPa in the focus, %.0f W/cm^3 of heat\n', 1e-6 * f0, ...
        1e-6 * max(abs(p(:))), 1e-6 * max(Q(:)));

% ---- ten seconds on, ten seconds off
t = 0:0.5:20;
T = kavro.bioheat(Q, box, liver, t, 'switching', [0 1; 10 0]);
hottest = squeeze(max(max(max(T, [], 1), [], 2), [], 3));
dose = kavro.thermal_dose(T, t);
[x, y, z] = kavro.grid_axes(box);
voxel = (x(2) - x(1)) * (y(2) - y(1)) * (z(2) - z(1));
fprintf('%.1f degrees after ten seconds, %.1f after twenty\n', hottest(t == 10), hottest(end));
fprintf('%.0f mm^3 beyond 240 equivalent minutes\n', 1e9 * voxel * nnz(dose > 240));

% ---- picture
file = '12_therapy.png';
fig = figure('visible', 'off', 'position', [100 100 1000 900]);
centers = reshape([array.center], 3, []);
subplot(2, 2, 1);
plot(1e3 * centers(1, :), 1e3 * centers(2, :), 'o', 'markersize', 4);
axis equal;
xlabel('x (mm)');
ylabel('y (mm)');
title('256 elements, seen along the axis', 'fontweight', 'normal');
subplot(2, 2, 2);
kavro.show_field(abs(p), plane, 'title', 'Continuous wave, steered by 4 mm');
subplot(2, 2, 3);
[~, middle] = min(abs(y));
section = @(values) squeeze(values(:, middle, :)).';
imagesc(1e3 * x, 1e3 * z, section(T(:, :, :, t == 10)));
hold on;
contour(1e3 * x, 1e3 * z, section(double(dose > 240)), [0.5 0.5], 'w', 'linewidth', 2);
hold off;
axis equal tight;
caxis([37, max(hottest)]);
colorbar();
xlabel('x (mm)');
ylabel('z (mm)');
title('Degrees after ten seconds; 240 minutes', 'fontweight', 'normal');
subplot(2, 2, 4);
plot(t, hottest, 'r', 'linewidth', 1.5);
xlabel('t (s)');
ylabel('hottest point (degrees)');
grid on;
save_picture(fig, fullfile(out, file));
fprintf('picture in %s: %s\n', out, file);
