function times = fit_time_samples(elements, grid, medium, excitation, deltat)
% FIT_TIME_SAMPLES  The time axis that holds all that the points of a grid receive.
%
%   times = kavro.fit_time_samples(elements, grid, medium, excitation, deltat)
%
%   From the first arrival at any point to the end of the last one, on multiples of the step.
%   Peaks of a field on an axis that begins too late or ends too early would show silence where
%   there is sound. Losses make a pulse begin softly before its front and spread behind it: in a
%   medium with attenuation the axis is longer by what carries more than a thousandth of the peak.
%
%   Arguments
%     elements    structure array of elements; silent ones (amplitude 0) do not count, unless
%                 all are
%     grid        structure made by kavro.set_coordinate_grid
%     medium      structure made by kavro.set_medium
%     excitation  structure made by kavro.set_excitation_function, one or one for each element
%     deltat      time step in s, positive
%
%   Result
%     times       structure as kavro.set_time_samples makes it
%
%   Example
%     elements = kavro.linear_array(16, 0.6e-3, 0.25e-3);
%     medium = kavro.set_medium();
%     grid = kavro.set_coordinate_grid(0.5e-3, -5e-3, 5e-3, 0, 0, 5e-3, 30e-3);
%     pulse = kavro.set_excitation_function('hanning pulse', 2e6, 1.5e-6);
%     times = kavro.fit_time_samples(elements, grid, medium, pulse, 25e-9);
%
%   See also kavro.set_time_samples, kavro.time_axis, kavro.solve

me = 'fit_time_samples';
kavro.internal.check_count(me, nargin, 5, 'elements, grid, medium, excitation, deltat');
kavro.internal.check_elements(me, elements);
kavro.internal.check_grid(me, grid);
deltat = kavro.internal.real_number(me, 'deltat', deltat, 'positive', 's');
ok = isstruct(excitation) && ~isempty(excitation) ...
     && (isfield(excitation, 'pulse_width') || isfield(excitation, 'w'));
kavro.internal.check(ok, me, 'excitation', excitation, ...
                     'a structure made by set_excitation_function');
heard = elements([elements.amplitude] ~= 0);
if isempty(heard)
    heard = elements;
end
arrivals = kavro.solve('impulse_begin_and_end_times', heard, grid, medium);
if isfield(excitation, 'w')
    duration = max([excitation.w]);
else
    duration = max([excitation.pulse_width]);
end
reach = [0 0];
if medium.attenuationdBcmMHz > 0
    farthest = max(arrivals(:, 2) - [heard.time_delay]') * medium.soundspeed;
    reach = kavro.internal.command('pulse_reach', excitation, medium, max(farthest, 0));
end
first = floor((min(arrivals(:, 1)) - reach(1)) / deltat);
last = ceil((max(arrivals(:, 2)) + duration + reach(2)) / deltat);
times = kavro.set_time_samples(deltat, first * deltat, last * deltat);
end
