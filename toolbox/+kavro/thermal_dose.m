function dose = thermal_dose(T, times, varargin)
% THERMAL_DOSE  Minutes at 43 degrees Celsius that would do as much to tissue.
%
%   dose = kavro.thermal_dose(T, times)
%   dose = kavro.thermal_dose(T, times, 'threshold', lowest)
%
%   CEM43, the integral of R^(43 - T) over time, with R = 0.5 above 43 degrees and R = 0.25 below.
%   Between two instants the temperature goes along a straight line, over which the integral is
%   exact.
%
%   Arguments
%     T            temperatures in degrees Celsius, real, the last dimension over time, as
%                  kavro.bioheat gives
%     times        the instants in s, in order, or made by kavro.set_time_samples
%
%   Option
%     'threshold'  temperature below which nothing counts, 43 at most, in degrees Celsius. By
%                  default everything does, as in the source; some authors take 39
%
%   Result
%     dose         equivalent minutes, of the size of T without the times; 240 and more are taken
%                  to kill most tissues
%
%   Source
%     S. A. Sapareto, W. C. Dewey, Int. J. Radiat. Oncol. Biol. Phys. 10, 787 (1984).
%
%   Example
%     dose = kavro.thermal_dose([37 56 56 37], [0 5 10 15]);
%     fprintf('%.0f min\n', dose);
%
%   See also kavro.bioheat, kavro.heat_rate

me = 'thermal_dose';
kavro.internal.check_count(me, nargin, [2 Inf], 'T, times and options');
options = kavro.internal.parse_options(me, struct('threshold', -Inf), varargin);
lowest = options.threshold;
ok = isnumeric(lowest) && isreal(lowest) && isscalar(lowest) && lowest <= 43;
kavro.internal.check(ok, me, 'threshold', lowest, 'a real number, 43 at most (degrees Celsius)');
lowest = double(lowest);
if isstruct(times)
    times = kavro.time_axis(times);
end
ok = kavro.internal.is_numbers(times) && isvector(times) && all(diff(double(times(:))) >= 0);
kavro.internal.check(ok, me, 'times', times, 'a vector of instants (s), none before the last');
n = numel(times);
if isvector(T) && n > 1
    T = reshape(T, 1, []);
end
dims = size(T);
if n == 1
    dims(end + 1) = 1;
end
ok = isnumeric(T) && isreal(T) && dims(end) == n;
kavro.internal.check(ok, me, 'T', T, ...
    sprintf('real, its last dimension the %d instants of ''times''', n));
T = reshape(double(T), [], n);
dose = zeros(size(T, 1), 1);
for i = 2:n
    dose = dose + (times(i) - times(i - 1)) / 60 * mean_rate(T(:, i - 1), T(:, i), lowest);
end
dose = reshape(dose, [dims(1:end - 1), 1]);
end

function rate = mean_rate(from, to, lowest)
% Along straight lines between temperatures. Where they hardly differ, a difference of integrals
% would lose digits.
change = to - from;
level = abs(change) < 1e-5;
change(level) = 1;
rate = (summed(to, lowest) - summed(from, lowest)) ./ change;
middle = (from + to) / 2;
at_middle = 2 .^ ((middle - 43) .* (1 + (middle < 43))) .* (middle >= lowest);
rate(level) = at_middle(level);
end

function sums = summed(T, lowest)
% The integral of the rate over temperature, from the threshold on.
below = min(max(T, lowest), 43);
sums = (4 .^ (below - 43) - 4 ^ (lowest - 43)) / log(4) + (2 .^ (max(T, 43) - 43) - 1) / log(2);
end
