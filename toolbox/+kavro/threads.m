function previous = threads(count)
% THREADS  Set how many threads the module computes with.
%
%   kavro.threads(count)
%   kavro.threads('default')
%   count = kavro.threads()
%   previous = kavro.threads(count)
%
%   The default is OpenMP's: the environment variable OMP_NUM_THREADS as the host found it when it
%   started, or one thread per processor. A change of that variable within a session has no
%   effect; this function has, from the next call of the module on. It sets the environment
%   variable KAVRO_THREADS (empty is the default), which the module reads at each call. Results do
%   not depend on the number of threads, to the last bit. A call uses at most four for each
%   processor, and warns where more are asked for.
%
%   Argument
%     count     whole number of threads, at least 1, or 'default'; without it nothing changes
%
%   Result
%     previous  the setting before the call: a number, or 'default'
%
%   Example
%     previous = kavro.threads(1);
%     kavro.threads(previous);
%
%   See also kavro.solve, kavro.transient_pressure, kavro.progress

setting = str2double(getenv('KAVRO_THREADS'));
if setting >= 1
    state = floor(setting);
else
    state = 'default';
end
if nargin > 0
    is_default = kavro.internal.is_text(count) && strcmp(count, 'default');
    ok = is_default || (kavro.internal.is_number(count) && count >= 1 && count == floor(count));
    kavro.internal.check(ok, 'threads', 'count', count, ...
                         'a whole number of at least 1, or ''default''');
    if is_default
        setenv('KAVRO_THREADS', '');
    else
        setenv('KAVRO_THREADS', sprintf('%d', count));
    end
end
if nargin == 0 || nargout > 0
    previous = state;
end
end
