function options = parse_options(caller, options, args)
% PARSE_OPTIONS  Read name/value pairs over a structure of defaults.
%   options = PARSE_OPTIONS(caller, defaults, args) returns the structure defaults with the
%   values that the cell array args gives by name, matched without regard to case. A name that
%   is not a field of defaults, or a name without a value, is an error that lists the known ones.
names = fieldnames(options);
for i = 1:2:numel(args)
    name = kavro.internal.to_char(args{i});
    hit = [];
    if kavro.internal.is_text(name)
        hit = find(strcmpi(name, names), 1);
    end
    if isempty(hit)
        error('kavro:argument', '%s: an option''s name must be one of %s, but it is %s.', ...
              caller, kavro.internal.quoted_list(names), kavro.internal.describe(name));
    end
    if i == numel(args)
        error('kavro:argument', '%s: option ''%s'' has no value.', caller, names{hit});
    end
    options.(names{hit}) = kavro.internal.to_char(args{i + 1});
end
end
