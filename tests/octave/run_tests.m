% Runs the tests of this folder in Octave, for ctest and by hand:
%
%   octave-cli --no-init-file --norc run_tests.m TOOLBOX [NAME ...]
%
% TOOLBOX is the folder that holds +kavro with the compiled module. A NAME limits the run to the
% test files of that name (without .m). The exit status is 0 if there were tests and all passed.

1;  % a script file, although it begins with a function

% For the tests: f must fail with the toolbox's own error, whose text holds each of the others.
function says(f, varargin)
  text = 'no error';
  try
    f();
  catch e
    text = e.message;
    assert(e.identifier, 'kavro:argument');
  end
  for i = 1:numel(varargin)
    assert(~isempty(strfind(text, varargin{i})), '%s: lacks "%s"', text, varargin{i});
  end
end

function files = chosen_files(folder, names)
  if isempty(names)
    files = glob(fullfile(folder, 'test_*.m'));
  else
    files = cellfun(@(name) fullfile(folder, [name, '.m']), names(:), 'UniformOutput', false);
  end
end

function [passed, failed] = run_file(file)
  fprintf('%s\n', file);
  % A log makes every test of the file run, and names those that fail.
  [passed, total] = test(file, 'quiet', stdout);
  failed = total - passed;
  if total == 0
    failed = 1;  % also where the file does not exist
  end
end

function all_passed = run_all(folder, arguments)
  if isempty(arguments)
    error('run_tests: the folder of the toolbox must be given.');
  end
  toolbox = arguments{1};
  if isempty(dir(fullfile(toolbox, '+kavro', 'transient_pressure.mex*')))
    error('run_tests: there is no module in %s.', fullfile(toolbox, '+kavro'));
  end
  addpath(toolbox);
  counts = [0 0];
  files = chosen_files(folder, arguments(2:end));
  for i = 1:numel(files)
    [passed, failed] = run_file(files{i});
    counts = counts + [passed failed];
  end
  fprintf('%d passed, %d failed\n', counts);
  all_passed = counts(1) > 0 && counts(2) == 0;
end

exit(~run_all(fileparts(mfilename('fullpath')), argv()));
