function check_elements(caller, elements)
% CHECK_ELEMENTS  Stop unless the argument 'elements' is an array of elements.
needed = {'shape', 'center', 'euler', 'amplitude', 'time_delay'};
ok = isstruct(elements) && ~isempty(elements) && all(isfield(elements, needed));
kavro.internal.check(ok, caller, 'elements', elements, ...
    ['a structure array of elements with the fields ', kavro.internal.quoted_list(needed)]);
for i = 1:numel(elements)
    name = sprintf('elements(%d).', i);
    kavro.internal.three_numbers(caller, [name, 'center'], elements(i).center, 'm');
    kavro.internal.three_numbers(caller, [name, 'euler'], elements(i).euler, 'rad');
    if isfield(elements, 'channel')
        kavro.internal.whole_number(caller, [name, 'channel'], elements(i).channel, [0 Inf]);
    end
end
end
