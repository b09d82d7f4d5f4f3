function element = place_element(caller, shape, sizes, args)
% PLACE_ELEMENT  One element of a shape, placed and driven as the options in args say.
defaults = struct('center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'time_delay', 0);
options = kavro.internal.parse_options(caller, defaults, args);
center = kavro.internal.three_numbers(caller, 'center', options.center, 'm');
euler = kavro.internal.three_numbers(caller, 'euler', options.euler, 'rad');
element = kavro.internal.make_elements(shape, sizes, center, euler);
element.amplitude = kavro.internal.real_number(caller, 'amplitude', options.amplitude, 'any', '');
element.time_delay = kavro.internal.real_number(caller, 'time_delay', options.time_delay, ...
                                                'any', 's');
end
