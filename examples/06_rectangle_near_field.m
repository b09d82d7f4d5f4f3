% The near field of a rectangle by two methods, and what they differ by.
%
% A rectangle of a few wavelengths radiates at one frequency. The script computes the plane through
% its long axis by the fast nearfield method, with n abscissas along an edge, and by the Rayleigh
% integral, with n x n samples of the face, draws the magnitude by both, and the error of each on a
% logarithmic scale. It prints what each of them costs and how far it is from the truth.
%
%   octave-cli examples/06_rectangle_near_field.m  from a shell
%   run_example(6)                                 from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% A rectangle in water at 1 MHz, 8 x 5 wavelengths, driven at 50 mm/s.
f0 = 1e6;
medium = kavro.set_medium('water');
wavelength = medium.soundspeed / f0;
width = 8 * wavelength;
height = 5 * wavelength;
rectangle = kavro.set_amplitudes(kavro.rectangular_piston(width, height), 0.05);
plane_wave = 0.05 * medium.density * medium.soundspeed;

% The plane y = 0, from a tenth of a wavelength before the face on.
plane = kavro.set_coordinate_grid([0.15e-3 0 0.15e-3], -12e-3, 12e-3, 0, 0, 0.15e-3, 40e-3);
ndiv = 16;
methods = {'fnm_cw', 'rayleigh_cw'};
names = {'Fast nearfield method', 'Rayleigh integral'};
fields = cell(1, 2);
seconds = zeros(1, 2);
for i = 1:2
    started = tic();
    fields{i} = kavro.solve(methods{i}, rectangle, plane, medium, 'f0', f0, 'ndiv', ndiv);
    seconds(i) = toc(started);
end

% The truth: the first method with so many abscissas that more change nothing.
truth = kavro.solve('fnm_cw', rectangle, plane, medium, 'f0', f0, 'ndiv', 128);
check = kavro.solve('fnm_cw', rectangle, plane, medium, 'f0', f0, 'ndiv', 160);
peak = max(abs(truth(:)));
fprintf('rectangle of %.1f x %.1f mm at %.1f MHz, %d points; plane wave %.1f kPa\n', ...
        1e3 * width, 1e3 * height, 1e-6 * f0, numel(truth), 1e-3 * plane_wave);
fprintf('largest pressure %.1f kPa, known to %.0e of it\n', 1e-3 * peak, ...
        max(abs(check(:) - truth(:))) / peak);
errors = cell(1, 2);
for i = 1:2
    errors{i} = abs(fields{i} - truth) / peak;
    fprintf('  %-11s n = %d: %.3f s, largest error %.0e, median %.0e of the peak\n', ...
            methods{i}, ndiv, seconds(i), max(errors{i}(:)), median(errors{i}(:)));
end
[x, ~, z] = kavro.grid_axes(plane);
far = z > 2 * wavelength;
fprintf('beyond two wavelengths: %.0e and %.0e\n', ...
        max(max(errors{1}(:, 1, far))), max(max(errors{2}(:, 1, far))));

% The picture: pressure above, error below.
fig = figure('visible', 'off', 'position', [100 100 1000 1000]);
for i = 1:2
    subplot(2, 2, i);
    kavro.show_field(abs(fields{i}), plane, 'reference', 1.8 * plane_wave, 'title', ...
                     sprintf('%s, |p|', names{i}));
    ax = subplot(2, 2, 2 + i);
    shown = reshape(log10(max(errors{i}, 1e-16)), numel(x), numel(z));
    imagesc(1e3 * x, 1e3 * z, shown.');
    axis(ax, 'image');
    caxis([-12 0]);
    colormap(ax, kavro.internal.sequential_colors(256));
    kavro.internal.add_color_bar(ax, 'log_{10} of the error over the peak');
    set(ax, 'fontsize', 11, 'ydir', 'reverse');
    xlabel('x (mm)');
    ylabel('z (mm)');
    title(sprintf('Its error, n = %d', ndiv), 'fontweight', 'normal');
end
file = '06_rectangle_near_field.png';
save_picture(fig, fullfile(out, file), 110);

fprintf('picture in %s: %s\n', out, file);
