% Errors of fnm_spectral against surface integrals that were computed elsewhere, the table of
% docs/theory_spectral.md: the largest, as a share of the peak at the point, of four arrays of one to
% three elements of different shapes for each exponent (tests/data/lossy.csv). Run by scripts/bench
% --spectral-errors.

tolerances = [1e-2 1e-3 1e-4 1e-6 1e-8];
exponents = [1 1.1 1.5 2];
errors = zeros(numel(tolerances), numel(exponents));
unreached = zeros(size(errors));
warning('off', 'all');
makers = struct('disc', @kavro.disc, 'rectangle', @kavro.rectangular_piston, 'ring', @kavro.ring, ...
                'shell', @kavro.spherical_shell, 'shellring', @kavro.spherical_ring);
kinds = struct('hanning', 'hanning pulse', 'burst', 'tone burst', 'tcubed', 't cubed pulse');
numbers = @(text) sscanf(strrep(text, ';', ' '), '%g')';
here = fileparts(mfilename('fullpath'));
for line = strsplit(fileread(fullfile(here, '..', 'tests', 'data', 'lossy.csv')), "\n")
  cells = strsplit(line{1}, ',', 'CollapseDelimiters', false);
  if numel(cells) < 17 || ! strcmp(cells{2}, 'transient') || str2double(cells{6}) == 0
    continue
  end
  v = cellfun(@str2double, cells(4:8));
  medium = kavro.set_medium('liver', 'soundspeed', v(1), 'density', v(2), ...
                            'attenuationdBcmMHz', v(3), 'powerlawexponent', v(4), ...
                            'referencefrequency', v(5));
  array = [];
  for text = strsplit(cells{3}, '|')
    [kind, rest] = strtok(text{1});
    v = numbers(rest);
    sizes = num2cell(v(1:end-8));
    element = makers.(kind)(sizes{:}, 'center', v(end-7:end-5), 'euler', v(end-4:end-2), ...
                            'amplitude', v(end-1), 'time_delay', v(end));
    array = [array, element];
  end
  [kind, rest] = strtok(cells{9});
  v = num2cell(numbers(rest));
  pulse = kavro.set_excitation_function(kinds.(kind), v{:});
  point = kavro.set_coordinate_grid(cellfun(@str2double, cells(10:12)));
  times = struct('time_samples', numbers(cells{13}));
  expected = numbers(cells{14});
  column = find(abs(exponents - medium.powerlawexponent) < 1e-9);
  for i = 1:numel(tolerances)
    [p, report] = kavro.solve('fnm_spectral', array, point, medium, 'time', times, ...
                              'excitation', pulse, 'tolerance', tolerances(i));
    error = max(abs(p - expected)) / str2double(cells{16});
    errors(i, column) = max(errors(i, column), error);
    unreached(i, column) = unreached(i, column) + report.unreached;
  end
end
printf('| Tolerance |%s\n', sprintf(' y = %g |', exponents));
for i = 1:numel(tolerances)
  printf('| %.0e |%s\n', tolerances(i), sprintf(' %.0e |', errors(i, :)));
end
printf('points where a tolerance was not reached:\n');
disp(unreached);
