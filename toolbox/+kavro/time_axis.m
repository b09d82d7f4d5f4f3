function t = time_axis(times)
% TIME_AXIS  The instants that belong to a description of time samples.
%
%   t = kavro.time_axis(times)
%
%   Argument
%     times  structure made by kavro.set_time_samples
%
%   Result
%     t      1 x ntimes row of instants in s; t(j) belongs to p(:, :, :, j), or to p(:, j) for
%            a list of points
%
%   Example
%     t = kavro.time_axis(kavro.set_time_samples(50e-9, 0, 50e-6));
%     fprintf('%d samples, the last at %g us\n', numel(t), 1e6 * t(end));
%
%   See also kavro.set_time_samples, kavro.grid_axes, kavro.show_field

me = 'time_axis';
kavro.internal.check_count(me, nargin, 1, 'times');
ok = isstruct(times) && isscalar(times) ...
     && (isfield(times, 'time_samples') || all(isfield(times, {'deltat', 'tmin', 'tmax'})));
kavro.internal.check(ok, me, 'times', times, 'a structure made by set_time_samples');
if isfield(times, 'time_samples')
    t = times.time_samples(:).';
else
    t = kavro.internal.axis_values(times.tmin, times.tmax, times.deltat);
end
end
