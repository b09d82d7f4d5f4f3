function check(ok, caller, name, value, expected)
% CHECK  Stop with a uniform message when an argument is not what it must be.
%   CHECK(ok, caller, name, value, expected) does nothing when ok is true, and otherwise
%   raises 'kavro:argument', naming the function, the argument, what it must be and what it is.
if ~ok
    error('kavro:argument', '%s: ''%s'' must be %s, but it is %s.', ...
          caller, name, expected, kavro.internal.describe(value));
end
end
