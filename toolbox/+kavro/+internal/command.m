function varargout = command(name, varargin)
% COMMAND  The results of the module's command of this name.
%   Errors begin with the command's name, as those of the toolbox do, and not with the module's.
try
    [varargout{1:max(nargout, 1)}] = kavro.internal.call(name, varargin{:});
catch thrown
    identifier = thrown.identifier;
    if isempty(identifier)
        identifier = 'kavro:argument';
    end
    message = regexprep(thrown.message, '^call: ', '');
    if isempty(regexp(message, '^\w+: ', 'once'))
        message = [name ': ' message];
    end
    error(identifier, '%s', message);
end
end
