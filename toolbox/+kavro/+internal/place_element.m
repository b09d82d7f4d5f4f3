function [element, options] = place_element(caller, shape, sizes, args, further)
% PLACE_ELEMENT  One element of a shape, placed and weighted by options.
%   element = PLACE_ELEMENT(caller, shape, sizes, args) takes the module's shape name, a
%   structure of the shape's sizes (m) and the cell array of the maker's name/value options
%   'center', 'euler', 'amplitude' and 'time_delay'. Defaults of further options may follow, and
%   all are returned.
if nargin < 5
    further = struct();
end
defaults = further;
[defaults.center, defaults.euler] = deal([0 0 0]);
[defaults.amplitude, defaults.time_delay] = deal(1, 0);
options = kavro.internal.parse_options(caller, defaults, args);
center = kavro.internal.three_numbers(caller, 'center', options.center, 'm');
euler = kavro.internal.three_numbers(caller, 'euler', options.euler, 'rad');
element = kavro.internal.make_elements(shape, sizes, center, euler);
element.amplitude = kavro.internal.real_number(caller, 'amplitude', options.amplitude, 'any', '');
element.time_delay = kavro.internal.real_number(caller, 'time_delay', options.time_delay, ...
                                                'any', 's');
end
