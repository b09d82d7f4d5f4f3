function was_on = progress(on)
% PROGRESS  Switch the module's progress reports on or off.
%
%   kavro.progress(true)
%   kavro.progress(false)
%   on = kavro.progress()
%   was_on = kavro.progress(on)
%
%   When they are on, a long computation prints how much of it is done. They are
%   off unless asked for. The switch is the environment variable KAVRO_PROGRESS ('1' is on,
%   empty is off), which the module reads at each call; it can be set before the host starts.
%
%   Argument
%     on      true or false; without it nothing changes
%
%   Result
%     was_on  true or false, the state before the call
%
%   Example
%     was_on = kavro.progress(true);
%     kavro.progress(was_on);
%
%   See also kavro.solve, kavro.transient_pressure

setting = getenv('KAVRO_PROGRESS');
state = ~isempty(setting) && ~strcmp(setting, '0');
if nargin > 0
    ok = isscalar(on) && (islogical(on) || (kavro.internal.is_number(on) && any(on == [0 1])));
    kavro.internal.check(ok, 'progress', 'on', on, 'true or false');
    if on
        setenv('KAVRO_PROGRESS', '1');
    else
        setenv('KAVRO_PROGRESS', '');
    end
end
if nargin == 0 || nargout > 0
    was_on = state;
end
end
