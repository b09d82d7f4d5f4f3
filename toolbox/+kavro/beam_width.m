function [width, left, right] = beam_width(positions, values, level)
% BEAM_WIDTH  Width of the main lobe of a profile at a level below its peak.
%
%   width = kavro.beam_width(positions, values)
%   [width, left, right] = kavro.beam_width(positions, values, level)
%
%   From the largest magnitude the profile is followed to both sides until it falls to the
%   level; between two samples the crossing is interpolated linearly in magnitude.
%
%   Arguments
%     positions    vector of n increasing positions (m)
%     values       vector of n real or complex amplitudes, such as peak pressures (Pa)
%     level        level below the peak in dB, negative; default -6
%
%   Result
%     width        right - left (m); NaN when the profile ends before it has fallen that far
%     left, right  where the profile crosses the level (m), NaN on a side where it does not
%
%   Example
%     x = linspace(-5e-3, 5e-3, 201);
%     width = kavro.beam_width(x, exp(-(x / 1e-3) .^ 2));
%     fprintf('%.2f mm\n', 1e3 * width);
%
%   See also kavro.grid_axes, kavro.show_field

me = 'beam_width';
kavro.internal.check_count(me, nargin, [2 3], 'positions, values, level');
if nargin < 3
    level = -6;
end
ok = kavro.internal.is_numbers(positions) && isvector(positions) ...
     && all(diff(positions(:)) > 0);
kavro.internal.check(ok, me, 'positions', positions, 'a vector of increasing real numbers');
ok = isnumeric(values) && isvector(values) && numel(values) == numel(positions);
kavro.internal.check(ok, me, 'values', values, ...
                     sprintf('a vector of %d numbers, one for each position', numel(positions)));
ok = kavro.internal.is_number(level) && level < 0;
kavro.internal.check(ok, me, 'level', level, 'a negative real number (dB)');
positions = double(positions(:));
values = abs(double(values(:)));
[peak, top] = max(values);
threshold = peak * 10 ^ (double(level) / 20);
right = crossing(positions(top:end), values(top:end), threshold);
left = crossing(positions(top:-1:1), values(top:-1:1), threshold);
width = right - left;
end

function at = crossing(positions, values, threshold)
% Where values, which start above the threshold, first fall to it.
at = NaN;
i = find(values <= threshold, 1);
if ~isempty(i) && i > 1
    share = (values(i - 1) - threshold) / (values(i - 1) - values(i));
    at = positions(i - 1) + share * (positions(i) - positions(i - 1));
end
end
