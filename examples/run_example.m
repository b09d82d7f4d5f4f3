function run_example(number)
% RUN_EXAMPLE  Run one of the numbered examples.
%
%   run_example(number)
%
%   MATLAB does not run a script whose name begins with a digit; this function reads and runs
%   it, in MATLAB and in Octave.
%
%   Argument
%     number  the number that the example's file name begins with
%
%   Example
%     run_example(1)

if nargin ~= 1 || ~isnumeric(number) || ~isscalar(number)
    error('kavro:argument', 'run_example: ''number'' must be the number of an example.');
end
here = fileparts(mfilename('fullpath'));
found = dir(fullfile(here, sprintf('%02d_*.m', number)));
if isempty(found)
    error('kavro:argument', 'run_example: there is no example %g in %s.', number, here);
end
% The script asks for its folder by mfilename, which answers with this file: the same folder.
eval(fileread(fullfile(here, found(1).name)));
end
