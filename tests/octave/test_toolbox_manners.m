% Tests of what a user reads: every function of the toolbox explains itself, its examples run,
% and nothing is written that only one of the two hosts understands.

%!function folder = toolbox_folder()
%! folder = fileparts(fileparts(make_absolute_filename(file_in_loadpath('+kavro/disc.m'))));
%!endfunction

%!function names = public_functions()
%! files = dir(fullfile(toolbox_folder(), '+kavro', '*.m'));
%! names = cellfun(@(n) n(1:end - 2), {files.name}, 'UniformOutput', false);
%! assert(numel(names) >= 18);
%!endfunction

%!function examples = examples_of(name)
%! lines = strsplit(get_help_text(["kavro.", name]), "\n", "collapsedelimiters", false);
%! blank = find(cellfun(@isempty, strtrim(lines)));
%! examples = {};
%! for first = find(! cellfun(@isempty, regexp(lines, '^\s*Example')))
%!   last = blank(find(blank > first, 1)) - 1;
%!   examples{end + 1} = strjoin(lines(first + 1:last), "\n");
%! end
%!endfunction

%!test  % help: a summary that begins with the name, calling forms, an example, see also
%! for name = public_functions()
%!   text = get_help_text(['kavro.', name{1}]);
%!   lines = strsplit(text, "\n");
%!   assert(strncmp(strtrim(lines{1}), [upper(name{1}), '  '], numel(name{1}) + 2), name{1});
%!   assert(! isempty(strfind(text, ['kavro.', name{1}, '('])), name{1});
%!   assert(! isempty(strtrim([examples_of(name{1}){:}])), name{1});
%!   also = regexp(text(strfind(text, 'See also'):end), 'kavro\.(\w+)', 'tokens');
%!   assert(! isempty(also), name{1});
%!   for other = [also{:}]
%!     assert(any(strcmp(other{1}, public_functions())), '%s: see also %s', name{1}, other{1});
%!   end
%! end

%!test  % the examples in the help run as they stand (some of them need the modules)
%! warning('off', 'Octave:gnuplot-graphics', 'local');
%! visible = get(0, 'defaultfigurevisible');
%! restore = onCleanup(@() set(0, 'defaultfigurevisible', visible));
%! set(0, 'defaultfigurevisible', 'off');
%! for name = public_functions()
%!   for example = examples_of(name{1})
%!     try
%!       evalc(example{1});
%!     catch e
%!       error('example of %s: %s', name{1}, e.message);
%!     end
%!     close('all');
%!   end
%! end

%!test  % only what both hosts understand: no double quotes, no endif, no +=, no printf
%! folder = toolbox_folder();
%! files = [glob(fullfile(folder, '+kavro', '*.m')); ...
%!          glob(fullfile(folder, '+kavro', '+internal', '*.m')); ...
%!          glob(fullfile(folder, '..', 'examples', '*.m'))];
%! assert(numel(files) > 40);
%! strange = {'"', '#', '!', '\<end(if|for|while|switch|function|_\w+)\>', '[-+*/|&^]=', ...
%!            '\+\+', '(?<![fs])printf\>', '\<(unwind_protect|until|do|puts|rows|columns)\>', '\)\('};
%! for file = files'
%!   code = regexprep(fileread(file{1}), '(?<![\w\)\]\}\.''])''(''''|[^''\n])*''', 'TEXT');
%!   code = regexprep(code, '%[^\n]*', '');
%!   for s = strange
%!     hit = regexp(code, s{1}, 'match', 'once');
%!     assert(isempty(hit), '%s holds "%s"', file{1}, hit);
%!   end
%! end
