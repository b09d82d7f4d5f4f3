function elements = add_lens(caller, elements, options, at_y)
% ADD_LENS  Bend rectangles along y as a cylindrical lens does.
%   elements = ADD_LENS(caller, elements, options, at_y) takes a maker's rectangles and its options
%   'elevation_focus' and 'wavelength' (m; empty: no lens), and returns the flat strips that each of
%   them becomes, of one channel. at_y (n x 1, m) says where along y the rectangles lie under the
%   lens, which all rows have in common; 0 if it is left out.
F = options.elevation_focus;
if isempty(F)
    kavro.internal.check(isempty(options.wavelength), caller, 'wavelength', options.wavelength, ...
                         'given together with ''elevation_focus''');
    return
end
if nargin < 4
    at_y = zeros(numel(elements), 1);
end
kavro.internal.check(strcmp(elements(1).shape, 'rectangle'), caller, 'elevation_focus', F, ...
                     'given for rectangles only');
F = kavro.internal.real_number(caller, 'elevation_focus', F, 'positive', 'm');
reach = max(abs(at_y)) + elements(1).height / 2;
kavro.internal.check(F >= reach, caller, 'elevation_focus', F, ...
                     sprintf('at least half the height, %.6g m', reach));
wavelength = kavro.internal.real_number(caller, 'wavelength', options.wavelength, 'positive', 'm');

low = asin((at_y - elements(1).height / 2) / F);
angles = asin((at_y + elements(1).height / 2) / F) - low;
% Flat strips send grating orders of the amplitude h^2 / (2 pi F wavelength), 1e-3 here, which die
% away at once where h is below the wavelength. An odd number has a strip in the middle, where the
% channel stands.
highest = max(0.8 * wavelength, sqrt(2e-3 * pi * F * wavelength));
n = 1 + 2 * ceil(max(F * max(angles) / highest - 1, 0) / 2);
most = kavro.internal.most_elements();
kavro.internal.check(n * numel(elements) <= most, caller, 'wavelength', wavelength, ...
                     sprintf('so long that %d strips suffice', most));
parts = cell(1, numel(elements));
for i = 1:numel(elements)
    parts{i} = strips(elements(i), at_y(i), F, low(i) + ((1:n) - 0.5) * angles(i) / n, ...
                      F * angles(i) / n);
    [parts{i}.channel] = deal(i);
end
elements = [parts{:}];
end

function parts = strips(element, at_y, F, tilts, height)
% As high as their pieces of the cylinder are long, and on the mean as far from the focal line.
R = F - height ^ 2 / (24 * F);
axes_of_element = kavro.internal.rotation_matrix(element.euler);
parts = repmat(element, 1, numel(tilts));
for k = 1:numel(tilts)
    on_lens = [0, R * sin(tilts(k)) - at_y, F - R * cos(tilts(k))];
    parts(k).center = element.center + on_lens * axes_of_element;
    parts(k).euler = kavro.internal.euler_of( ...
        kavro.internal.rotation_matrix([0 tilts(k) 0]) * axes_of_element);
    parts(k).height = height;
end
end
