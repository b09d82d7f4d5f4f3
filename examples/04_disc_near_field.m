% The continuous wave of a disc: its axis, and the near field in a plane.
%
% A disc of five wavelengths' radius radiates at one frequency. On its axis the pressure has a
% closed form, with which the computed one is compared; in the plane through the axis the script
% draws the magnitude, once for a face that moves as a piston and once for one whose velocity
% falls towards the rim. It prints how far the results on the axis are from the closed form.
%
%   octave-cli examples/04_disc_near_field.m      from a shell
%   run_example(4)                                from the folder of the examples, any host
%
% Pictures go to demo_output beside the folder of the examples, or to the folder named by the
% environment variable KAVRO_DEMO_OUT.

here = fileparts(mfilename('fullpath'));
addpath(here, fullfile(fileparts(here), 'toolbox'));
out = picture_folder();

% A disc in water at 1 MHz, driven at 50 mm/s.
f0 = 1e6;
medium = kavro.set_medium('water');
wavelength = medium.soundspeed / f0;
k = 2 * pi / wavelength;
radius = 5 * wavelength;
disc = kavro.set_amplitudes(kavro.disc(radius), 0.05);
plane_wave = 0.05 * medium.density * medium.soundspeed;

% Its axis: a plane wave from the face and its echo from the rim.
axis_points = kavro.set_coordinate_grid([0 0 0.1e-3], 0, 0, 0, 0, 0, 80e-3);
[~, ~, z] = kavro.grid_axes(axis_points);
z = z(:);
closed = 2 * plane_wave * abs(sin(k / 2 * (hypot(z, radius) - z)));
ndiv = 64;
p = kavro.solve('fnm_cw', disc, axis_points, medium, 'f0', f0, 'ndiv', ndiv);
by_surface = kavro.solve('rayleigh_cw', disc, axis_points, medium, 'f0', f0, 'ndiv', ndiv);
on_axis = abs(p(:));
surface_on_axis = abs(by_surface(:));
error_of = @(values) max(abs(values - closed)) / max(closed);
fprintf('disc of %.2f mm radius, %.1f wavelengths, at %.1f MHz; plane wave %.1f kPa\n', ...
        1e3 * radius, radius / wavelength, 1e-6 * f0, 1e-3 * plane_wave);
fprintf('on the axis, largest error of the closed form''s peak:\n');
fprintf('  fnm_cw       %4d abscissas      %.0e\n', ndiv, error_of(on_axis));
fprintf('  rayleigh_cw  %4d samples        %.0e\n', ndiv ^ 2, error_of(surface_on_axis));
last = radius ^ 2 / wavelength - wavelength / 4;
[highest, at] = max(on_axis .* (z > last / 2));
fprintf('last maximum at z = %.2f mm (closed form %.2f mm), %.1f kPa\n', ...
        1e3 * z(at), 1e3 * last, 1e-3 * highest);

% The plane through the axis.
plane = kavro.set_coordinate_grid([0.25e-3 0 0.25e-3], -15e-3, 15e-3, 0, 0, 0.25e-3, 60e-3);
started = tic();
piston = kavro.solve('fnm_cw', disc, plane, medium, 'f0', f0, 'ndiv', ndiv);
seconds = toc(started);
tapered = kavro.solve('fnm_cw_apodized', disc, plane, medium, 'f0', f0, 'ndiv', 48, ...
                      'apodization', 'quadratic');
fprintf('near field of %d points computed in %.2f s\n', numel(piston), seconds);
fprintf('highest pressure: piston %.1f kPa, quadratic profile %.1f kPa\n', ...
        1e-3 * max(abs(piston(:))), 1e-3 * max(abs(tapered(:))));

% The pictures.
files = {'04_axis.png', '04_near_field.png'};

fig = figure('visible', 'off', 'position', [100 100 800 420]);
some = 1:6:numel(z);
plot(1e3 * z, 1e-3 * closed, 'k-', 1e3 * z(some), 1e-3 * on_axis(some), 'bo', ...
     'markersize', 4);
axis([0 80 0 180]);
xlabel('z (mm)');
ylabel('|p| (kPa)');
legend({'closed form', sprintf('fast nearfield method, %d abscissas', ndiv)});
title(sprintf('On the axis of a disc, a = %.0f wavelengths', radius / wavelength), ...
      'fontweight', 'normal');
set(gca, 'fontsize', 11);
save_picture(fig, fullfile(out, files{1}));

fig = figure('visible', 'off', 'position', [100 100 1000 620]);
shown = {piston, tapered};
titles = {'Piston', 'Quadratic profile'};
for i = 1:2
    subplot(1, 2, i);
    kavro.show_field(abs(shown{i}), plane, 'reference', 2 * plane_wave, 'title', ...
                     sprintf('%s, |p|', titles{i}));
end
save_picture(fig, fullfile(out, files{2}));

fprintf('pictures in %s: %s\n', out, strjoin(files, ', '));
