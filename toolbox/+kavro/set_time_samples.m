function times = set_time_samples(deltat, tmin, tmax)
% SET_TIME_SAMPLES  Describe the instants at which the pressure is computed.
%
%   times = kavro.set_time_samples(deltat, tmin, tmax)
%   times = kavro.set_time_samples(instants)
%
%   The first form is a regular time axis: samples from tmin in steps of deltat, which do not
%   pass tmax; one sample when tmin and tmax are equal.
%
%   The second form is an explicit list. kavro.transient_pressure prints one line for each sample
%   of it, kavro.solve none. The nonlinear methods need the first form.
%
%   Arguments
%     deltat    time step in s, a positive number (0 is allowed when tmin equals tmax)
%     tmin      first sample in s
%     tmax      upper limit of the samples in s, not below tmin
%     instants  vector of times in s, in any order
%
%   Result
%     times     structure with the fields deltat, tmin and tmax, or with the one field
%               time_samples (1 x ntimes)
%
%   Time 0 is when an element of time_delay 0 starts to move.
%
%   Example: 50 us at 20 MHz
%     times = kavro.set_time_samples(50e-9, 0, 50e-6);
%
%   See also kavro.time_axis, kavro.set_coordinate_grid, kavro.transient_pressure, kavro.solve

me = 'set_time_samples';
if nargin == 1
    instants = deltat;
    ok = kavro.internal.is_numbers(instants) && isvector(instants);
    kavro.internal.check(ok, me, 'instants', instants, 'a vector of real numbers (s)');
    times = struct('time_samples', double(instants(:).'));
    return
end
if nargin ~= 3
    error('kavro:argument', ['%s: it takes 1 argument (instants) or 3 (deltat, tmin, tmax), ', ...
          'but it got %d.'], me, nargin);
end
tmin = kavro.internal.real_number(me, 'tmin', tmin, 'any', 's');
tmax = kavro.internal.real_number(me, 'tmax', tmax, 'any', 's');
kavro.internal.check(tmax >= tmin, me, 'tmax', tmax, sprintf('at least tmin, which is %.6g', tmin));
rules = {'positive', 'not negative'};
deltat = kavro.internal.real_number(me, 'deltat', deltat, rules{1 + (tmin == tmax)}, 's');
times = struct('deltat', deltat, 'tmin', tmin, 'tmax', tmax);
end
