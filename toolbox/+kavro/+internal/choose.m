function choice = choose(caller, name, value, choices)
% CHOOSE  Match a text against a list of choices, without regard to case, or stop.
hit = [];
value = kavro.internal.to_char(value);
if kavro.internal.is_text(value)
    hit = find(strcmpi(strtrim(value), choices), 1);
end
kavro.internal.check(~isempty(hit), caller, name, value, ...
                     ['one of ', kavro.internal.quoted_list(choices)]);
choice = choices{hit};
end
