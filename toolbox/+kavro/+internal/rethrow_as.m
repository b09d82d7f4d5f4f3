function rethrow_as(caller, module, thrown)
% RETHROW_AS  Hand on an error, under the caller's name where a module raised it under its own.
%   RETHROW_AS(caller, module, thrown) leaves what a user's function raised as it is.
own = [module ': '];
if ~strncmp(thrown.message, own, numel(own))
    rethrow(thrown);
end
identifier = thrown.identifier;
if isempty(identifier)
    identifier = 'kavro:argument';
end
error(identifier, '%s: %s', caller, thrown.message(numel(own) + 1:end));
end
