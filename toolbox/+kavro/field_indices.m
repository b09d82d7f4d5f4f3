function indices = field_indices(field, medium, varargin)
% FIELD_INDICES  Mechanical index and intensities of a pulse's field.
%
%   indices = kavro.field_indices(p, medium, 'f0', f0, 'time', times)
%   indices = kavro.field_indices(measures, medium, 'f0', f0, 'pulse_duration', duration)
%   indices = kavro.field_indices(..., option, value, ...)
%
%   Definitions (those of IEC 62359 and IEC 62127-1), at every point, for a plane wave's
%   relation of pressure and intensity:
%
%     pulse intensity integral    integral of p^2 dt / (density soundspeed)
%     pulse duration              1.25 times the time in which that integral grows from a tenth
%                                 to nine tenths of its value
%     pulse-average intensity     their quotient, IPA
%     temporal-average intensity  pulse intensity integral times the repetition frequency, ITA
%     mechanical index            the largest rarefaction in MPa over the root of f0 in MHz
%
%   Spatial peaks (ISPPA, ISPTA, MI) are the values where the pulse intensity integral is
%   largest. With 'derating', pressures are reduced first, by
%   10^(-derating * (f0 in MHz) * (depth in cm) / 20); regulators ask for 0.3 dB/(cm MHz).
%
%   Arguments
%     p                real pressure in Pa, of which the last dimension is time
%     measures         structure of a field's measures with the fields peak_negative (Pa) and
%                      energy (Pa^2 s), instead of p
%     medium           structure made by kavro.set_medium
%
%   Options
%     'f0'             centre frequency in Hz
%     'time'           time axis made by kavro.set_time_samples; needed with p
%     'pulse_duration' duration in s; needed with measures, instead of that of p
%     'prf'            pulse repetition frequency in Hz, for temporal averages
%     'derating'       dB/(cm MHz), default 0
%     'depth'          depth of each point in m, or one for all; needed for derating
%
%   Result
%     indices          structure with the maps mechanical_index, pulse_intensity_integral
%                      (J/m^2), pulse_average (W/m^2) and, with 'prf', temporal_average
%                      (W/m^2), of the sizes of the points; and the numbers mi, isppa (W/m^2),
%                      ispta (W/m^2), pulse_duration (s) and the index peak_point of the spatial
%                      peak. 1 W/cm^2 is 1e4 W/m^2
%
%   Example
%     grid = kavro.set_coordinate_grid(0.5e-3, 0, 0, 0, 0, 5e-3, 60e-3);
%     times = kavro.set_time_samples(20e-9, 0, 45e-6);
%     pulse = kavro.set_excitation_function('hanning pulse', 2e6, 1.5e-6);
%     disc = kavro.disc(6e-3, 'amplitude', 0.2);
%     p = kavro.solve('fnm_tsd', disc, grid, kavro.set_medium(), 'time', times, ...
%                     'excitation', pulse);
%     indices = kavro.field_indices(p, kavro.set_medium(), 'f0', 2e6, 'time', times);
%     fprintf('MI %.2f, ISPPA %.1f W/cm^2\n', indices.mi, 1e-4 * indices.isppa);
%
%   See also kavro.solve, kavro.beam_width, kavro.show_field

me = 'field_indices';
kavro.internal.check_count(me, nargin, [2 Inf], 'a field, a medium and options');
options = struct('f0', [], 'time', [], 'pulse_duration', [], 'prf', [], 'derating', 0, ...
                 'depth', []);
options = kavro.internal.parse_options(me, options, varargin);
megahertz = 1e-6 * kavro.internal.real_number(me, 'f0', options.f0, 'positive', 'Hz');
ok = isstruct(medium) && isscalar(medium) && all(isfield(medium, {'density', 'soundspeed'}));
kavro.internal.check(ok, me, 'medium', medium, 'a structure made by set_medium');
if isstruct(field)
    [rarefaction, energy] = given_measures(me, field);
    durations = [];
else
    [rarefaction, energy, durations] = measured(me, field, options.time);
end
if ~isempty(options.pulse_duration) || isempty(durations)
    duration = kavro.internal.real_number(me, 'pulse_duration', options.pulse_duration, ...
                                          'positive', 's');
    durations = duration * ones(size(energy));
end
reduced = derating_factor(me, options, megahertz, size(energy));

indices.mechanical_index = 1e-6 * reduced .* rarefaction / sqrt(megahertz);
indices.pulse_intensity_integral = reduced .^ 2 .* energy / (medium.density * medium.soundspeed);
indices.pulse_average = zeros(size(energy));
sounds = durations > 0;
indices.pulse_average(sounds) = indices.pulse_intensity_integral(sounds) ./ durations(sounds);
[largest, peak] = max(indices.pulse_intensity_integral(:));
indices.mi = indices.mechanical_index(peak);
indices.isppa = indices.pulse_average(peak);
indices.pulse_duration = durations(peak);
indices.peak_point = peak;
if ~isempty(options.prf)
    prf = kavro.internal.real_number(me, 'prf', options.prf, 'positive', 'Hz');
    indices.temporal_average = prf * indices.pulse_intensity_integral;
    indices.ispta = prf * largest;
end
end

function [rarefaction, energy] = given_measures(me, measures)
ok = isscalar(measures) && all(isfield(measures, {'peak_negative', 'energy'})) ...
     && isequal(size(measures.peak_negative), size(measures.energy));
kavro.internal.check(ok, me, 'measures', measures, ...
                     'a structure with the fields ''peak_negative'' and ''energy'' of one size');
rarefaction = max(0, -double(measures.peak_negative));
energy = double(measures.energy);
end

function [rarefaction, energy, durations] = measured(me, p, times)
kavro.internal.check(~isempty(times), me, 'time', times, ...
                     'a structure made by set_time_samples when a field over time is given');
t = kavro.time_axis(times);
dims = size(p);
ok = isnumeric(p) && isreal(p) && numel(t) > 1 && dims(end) == numel(t);
kavro.internal.check(ok, me, 'p', p, ...
    sprintf('real, its last dimension the %d instants of ''time''', numel(t)));
kavro.internal.check(all(diff(t) > 0), me, 'time', times, 'an axis of increasing instants');
p = reshape(double(p), [], numel(t));
step = diff(t);
weights = 0.5 * ([step, 0] + [0, step]);
grown = cumsum(p .^ 2 .* weights, 2);
durations = zeros(size(p, 1), 1);
for i = find(grown(:, end) > 0).'
    [share, k] = unique(grown(i, :) / grown(i, end), 'first');
    durations(i) = 1.25 * diff(interp1(share, t(k), [0.1, 0.9]));
end
as_points = @(values) reshape(values, [dims(1:end - 1), 1]);
rarefaction = as_points(max(0, -min(p, [], 2)));
energy = as_points(grown(:, end));
durations = as_points(durations);
end

function factor = derating_factor(me, options, megahertz, dims)
derating = kavro.internal.real_number(me, 'derating', options.derating, 'not negative', ...
                                      'dB/(cm MHz)');
factor = 1;
if derating == 0
    return
end
depth = options.depth;
ok = kavro.internal.is_numbers(depth) && any(numel(depth) == [1 prod(dims)]);
kavro.internal.check(ok, me, 'depth', depth, ...
                     sprintf('one depth (m), or one for each of the %d points', prod(dims)));
if ~isscalar(depth)
    depth = reshape(depth, dims);
end
factor = 10 .^ (-derating * megahertz * 100 * max(double(depth), 0) / 20);
end
