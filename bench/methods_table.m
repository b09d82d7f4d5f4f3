% Cost and accuracy of every method that discs offer, on one scene, as the table of
% docs/methods.md. Run by scripts/bench --methods.
%
% The scene: a disc of 5 mm radius in water at 1 MHz (3.4 wavelengths), 61 x 60 points of the x-z
% plane in front of it, 1 to 60 mm from its face; over time 50 us at 20 MHz, driven by a Hanning
% pulse of three cycles, by frequencies in tissue of 0.5 dB/(cm MHz^1.1). Methods that keep a
% tolerance are asked for one part in a thousand; the others compute with growing ndiv until the field
% is within one part in a thousand of its largest magnitude from that of fnm_cw or fnm_tsd with 512
% abscissas (by frequencies: with a tolerance of 1e-6). The cost is that of the call, the fastest of
% some, in CPU time.

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

% The field by a method, or by kavro.pressure where it has no name, with ndiv or a tolerance.
function [p, report] = field_of(method, scene, accuracy)
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
of = {scene.disc, scene.plane, scene.medium, options{:}, accuracy{:}};
if isempty(method.name)
  [p, report] = kavro.pressure(of{:});
else
  [p, report] = kavro.solve(method.name, of{:});
end
end

% The fastest of some calls.
function [p, report, seconds] = timed_field(method, scene, accuracy)
seconds = Inf;
started = tic();
do
  start = cputime();
  [p, report] = field_of(method, scene, accuracy);
  seconds = min(seconds, cputime() - start);
until toc(started) > 1
end

addpath(fullfile(fileparts(mfilename('fullpath')), '..', 'toolbox'));
scene = make_scene();
table = kavro.methods();
named = @(name) table(strcmp(name, {table.name}));
off = @(p, truth) max(abs(p(:) - truth(:))) / max(abs(truth(:)));
fine = {'ndiv', 512};
true_wave = field_of(named('fnm_cw'), scene, fine);
true_pulse = field_of(named('fnm_tsd'), scene, fine);
true_sampled = field_of(named('fnm_tsd'), setfield(scene, 'pulse', scene.sampled), fine);
tissue = setfield(scene, 'medium', kavro.set_medium('water', 'attenuationdBcmMHz', 0.5, ...
                                                    'powerlawexponent', 1.1));
true_lossy = field_of(named('fnm_spectral'), tissue, {'tolerance', 1e-6});
by_choice = @(name) setfield(named(name), 'name', '');
table = [by_choice('fnm_cw'), by_choice('fnm_tsd'), table];
printf('| Method | abscissas | deviation | time (ms) | us per point |\n|---|---|---|---|---|\n');
for method = table
  known = any(strcmp('disc', method.shapes)) && any(strcmp('ndiv', method.options));
  if ! known || ! isempty(strfind(method.name, 'apodized'))
    continue
  end
  place = scene;
  if any(strcmp('f0', method.options))
    truth = true_wave;
  elseif strcmp(method.name, 'fnm_spectral')
    truth = true_lossy;
    place = tissue;
  elseif strcmp(method.name, 'fnm_fdtsd')
    truth = true_sampled;
  else
    truth = true_pulse;
  end
  if any(strcmp('tolerance', method.options))
    [p, report, seconds] = timed_field(method, place, {'tolerance', 1e-3});
    asked = sprintf('%.1f', report.abscissas(2));
  else
    for ndiv = [8 12 16 24 32 48 64 96 128 192 256]
      [p, report, seconds] = timed_field(method, scene, {'ndiv', ndiv});
      if off(p, truth) < 1e-3 || seconds > 5  % more would not be worth the wait
        break
      end
    end
    asked = sprintf('%d', ndiv);
  end
  name = sprintf('`%s`', method.name);
  if isempty(method.name)
    name = sprintf('`kavro.pressure`: `%s`', report.method);
  end
  printf('| %s | %s | %.0e | %.1f | %.2f |\n', name, asked, off(p, truth), 1e3 * seconds, ...
         1e6 * seconds / numel(true_wave));
  fflush(stdout);
end
