% Cost and accuracy of every method that discs offer, on one scene, as the table of
% docs/methods.md. Run by scripts/bench --methods.
%
% The scene: a disc of 5 mm radius in water at 1 MHz (3.4 wavelengths), 61 x 60 points of the x-z
% plane in front of it, 1 to 60 mm from its face; over time 50 us at 20 MHz, driven by a Hanning
% pulse of three cycles. Each method computes it with growing ndiv until the field is within one
% part in a thousand of its largest magnitude from that of fnm_cw or fnm_tsd with 512 abscissas;
% the cost is that of the call with this ndiv, the fastest of some.

1;  % a script that holds functions

function scene = make_scene()
scene.medium = kavro.set_medium('water');
scene.f0 = 1e6;
scene.disc = kavro.disc(5e-3);
scene.plane = kavro.set_coordinate_grid([0.5e-3 0 1e-3], -15e-3, 15e-3, 0, 0, 1e-3, 60e-3);
scene.times = kavro.set_time_samples(50e-9, 0, 50e-6);
scene.pulse = kavro.set_excitation_function('hanning pulse', scene.f0, 3e-6);
t = (0:60) * 50e-9;
signal = sin(2 * pi * scene.f0 * t) .* (1 - cos(2 * pi * t / 3e-6)) / 2;
scene.sampled = kavro.set_excitation_function('sampled', signal, 50e-9);
end

function p = field_of(method, scene, ndiv)
options = {};
if any(strcmp('f0', method.options))
  options = [options, {'f0', scene.f0}];
end
if any(strcmp('time', method.options))
  options = [options, {'time', scene.times}];
end
if any(strcmp('excitation', method.options))
  pulse = scene.pulse;
  if strcmp(method.name, 'fnm_fdtsd')
    pulse = scene.sampled;
  end
  options = [options, {'excitation', pulse}];
end
if ndiv > 0
  options = [options, {'ndiv', ndiv}];
end
p = kavro.solve(method.name, scene.disc, scene.plane, scene.medium, options{:});
end

% The first order whose field is near enough to the reference, how near, and the cost of the call.
function [ndiv, off, seconds] = sufficient_order(method, scene, reference)
for ndiv = [8 12 16 24 32 48 64 96 128 192 256]
  started = tic();
  p = field_of(method, scene, ndiv);
  seconds = toc(started);
  off = max(abs(p(:) - reference(:))) / max(abs(reference(:)));
  if off < 1e-3 || seconds > 5  % more would not be worth the wait
    break
  end
end
for repetition = 1:min(10, floor(1 / seconds))
  started = tic();
  field_of(method, scene, ndiv);
  seconds = min(seconds, toc(started));
end
end

addpath(fullfile(fileparts(mfilename('fullpath')), '..', 'toolbox'));
scene = make_scene();
table = kavro.methods();
named = @(name) table(strcmp(name, {table.name}));
tsd_sampled = setfield(scene, 'pulse', scene.sampled);
printf('| Method | `ndiv` for 10⁻³ | deviation | time (ms) | us per point |\n|---|---|---|---|---|\n');
points = 61 * 60;
for method = table
  known = any(strcmp('disc', method.shapes)) && any(strcmp('ndiv', method.options));
  if ! known || ! isempty(strfind(method.name, 'apodized'))
    continue
  end
  if any(strcmp('f0', method.options))
    reference = field_of(named('fnm_cw'), scene, 512);
  elseif strcmp(method.name, 'fnm_fdtsd')
    reference = field_of(named('fnm_tsd'), tsd_sampled, 512);
  else
    reference = field_of(named('fnm_tsd'), scene, 512);
  end
  [ndiv, off, seconds] = sufficient_order(method, scene, reference);
  sign = '';
  if off >= 1e-3
    sign = '> ';
  end
  printf('| `%s` | %s%d | %.0e | %.1f | %.2f |\n', method.name, sign, ndiv, off, ...
         1e3 * seconds, 1e6 * seconds / points);
  fflush(stdout);
end
