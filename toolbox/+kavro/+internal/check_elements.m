function check_elements(caller, elements)
% CHECK_ELEMENTS  Stop unless the argument 'elements' is an array of elements.
needed = {'shape', 'center', 'euler', 'amplitude', 'time_delay'};
ok = isstruct(elements) && ~isempty(elements) && all(isfield(elements, needed));
kavro.internal.check(ok, caller, 'elements', elements, ...
    ['a structure array of elements with the fields ', kavro.internal.quoted_list(needed)]);
if are_well(elements)
    return
end
for i = 1:numel(elements)
    name = sprintf('elements(%d).', i);
    kavro.internal.three_numbers(caller, [name, 'center'], elements(i).center, 'm');
    kavro.internal.three_numbers(caller, [name, 'euler'], elements(i).euler, 'rad');
    if isfield(elements, 'channel')
        kavro.internal.whole_number(caller, [name, 'channel'], elements(i).channel, [0 Inf]);
    end
end
end

% All at once, because arrays have thousands: whether no element has anything to complain about.
function yes = are_well(elements)
places = [{elements.center}, {elements.euler}];
yes = all(cellfun(@isnumeric, places)) && all(cellfun(@isreal, places)) ...
      && all(cellfun(@isrow, places)) && all(cellfun(@numel, places) == 3) ...
      && all(isfinite([places{:}]));
if yes && isfield(elements, 'channel')
    channels = {elements.channel};
    yes = all(cellfun(@isnumeric, channels)) && all(cellfun(@isreal, channels)) ...
          && all(cellfun(@numel, channels) == 1);
    if yes
        channels = [channels{:}];
        yes = all(isfinite(channels) & channels == round(channels) & channels >= 0);
    end
end
end
