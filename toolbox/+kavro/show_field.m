function ax = show_field(p, grid, varargin)
% SHOW_FIELD  Draw a pressure field: its peak over time, or a snapshot.
%
%   kavro.show_field(p, grid)
%   kavro.show_field(p, grid, option, value, ...)
%   ax = kavro.show_field(...)
%
%   Draws into the current axes, in millimetres. A regular grid that extends along two axes is
%   drawn as a map (z runs downwards, away from the array), one that extends along one axis as
%   a curve. A list of points is drawn likewise, as coloured dots or as a curve, when its
%   points differ in two coordinates or in one.
%
%   Arguments
%     p                real pressure in Pa, nx x ny x nz x ntimes for a regular grid or
%                      npoints x ntimes for a list of points, as the module returns it, or
%                      without the dimensions of size 1, as after squeeze. Of a continuous wave
%                      give abs(p), or real(p) for an instant
%     grid             structure made by kavro.set_coordinate_grid, the one p belongs to
%
%   Options
%     'show'           'peak' (default), the largest magnitude over all times, or 'snapshot'
%     'sample'         number of the time sample of a snapshot, 1 to ntimes
%     'instant'        time of a snapshot in s; the nearest sample is drawn. Needs 'time'.
%                      Giving 'sample' or 'instant' implies 'snapshot'
%     'time'           time axis made by kavro.set_time_samples, the one p belongs to
%     'scale'          'linear' (default) or 'dB'
%     'dynamic_range'  range shown below the reference in dB, positive; default 40
%     'reference'      pressure in Pa that stands for 0 dB, or for the end of a linear scale;
%                      default: the largest magnitude shown
%     'title'          text above the drawing; default: what is shown, and what 0 dB is
%     'color_bar'      true (default) or false
%
%   Result
%     ax               handle of the axes
%
%   Example: the x-z plane in front of a disc
%     grid = kavro.set_coordinate_grid(0.4e-3, -12e-3, 12e-3, 0, 0, 1e-3, 40e-3);
%     times = kavro.set_time_samples(50e-9, 0, 35e-6);
%     excitation = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%     p = kavro.transient_pressure(kavro.disc(5e-3), grid, kavro.set_medium(), times, 32, ...
%                                  excitation);
%     subplot(1, 2, 1), kavro.show_field(p, grid, 'scale', 'dB');
%     subplot(1, 2, 2), kavro.show_field(p, grid, 'instant', 15e-6, 'time', times);
%
%   See also kavro.transient_pressure, kavro.solve, kavro.show_array, kavro.grid_axes,
%   kavro.time_axis

me = 'show_field';
kavro.internal.check_count(me, nargin, [2 Inf], 'p, grid and options');
kavro.internal.check_grid(me, grid);
p = points_by_times(me, p, grid);
options = read_options(me, varargin, size(p, 2));
[field, caption] = pick_field(p, options);
[values, limits, map, label, zero] = scale_field(field, options);

extends = extended_axes(me, grid);

axis_handle = gca();
if numel(extends) == 1
    draw_line(axis_handle, grid, extends, values, limits, label);
else
    draw_map(axis_handle, grid, extends, values);
    kavro.internal.set_colors(axis_handle, limits, map);
    if options.color_bar
        kavro.internal.add_color_bar(axis_handle, label);
    end
end
caption = [caption, zero];
if ~isempty(options.title)
    caption = options.title;
end
title(axis_handle, caption, 'fontweight', 'normal');
set(axis_handle, 'fontsize', 11, 'box', 'on');
if nargout > 0
    ax = axis_handle;
end
end

function p = points_by_times(me, p, grid)
% One row for each point of the grid, one column for each time.
[x, y, z] = kavro.grid_axes(grid);
if isfield(grid, 'coordinates')
    dims = numel(x);
    expected = sprintf('a real %d x ntimes array, as the grid''s points ask', dims);
else
    dims = [numel(x), numel(y), numel(z)];
    expected = sprintf('a real %d x %d x %d x ntimes array, as the grid''s axes ask', dims);
end
kavro.internal.check(~isnumeric(p) || isreal(p), me, 'p', p, ...
                     'real: abs(p) of a continuous wave, or real(p) for an instant');
is = [size(p), 1, 1];
full = all(is(1:numel(dims)) == dims) && ndims(p) <= numel(dims) + 1;
extended = @(s) s(s > 1);
is = extended(is);
asked = extended(dims);
squeezed = any(numel(is) == numel(asked) + [0 1]) && all(is(1:numel(asked)) == asked);
ok = isnumeric(p) && isreal(p) && ~isempty(p) && (full || squeezed);
kavro.internal.check(ok, me, 'p', p, expected);
ok = any(isfinite(p(:))) && ~any(isinf(p(:)));
kavro.internal.check(ok, me, 'p', p, 'finite, NaN at single points aside');
p = reshape(p, prod(dims), []);
end

function options = read_options(me, args, ntimes)
options = struct('show', '', 'sample', [], 'instant', [], 'time', [], ...
                 'scale', 'linear', 'dynamic_range', 40, 'reference', [], 'title', '', ...
                 'color_bar', true);
options = kavro.internal.parse_options(me, options, args);
options.scale = kavro.internal.choose(me, 'scale', options.scale, {'linear', 'dB'});
options.dynamic_range = kavro.internal.real_number(me, 'dynamic_range', ...
                                                   options.dynamic_range, 'positive', 'dB');
if ~isempty(options.reference)
    options.reference = kavro.internal.real_number(me, 'reference', options.reference, ...
                                                   'positive', 'Pa');
end
ok = kavro.internal.is_text(options.title) || isempty(options.title);
kavro.internal.check(ok, me, 'title', options.title, 'one line of text');
ok = isscalar(options.color_bar) && (islogical(options.color_bar) ...
                                    || isnumeric(options.color_bar)) ...
     && any(options.color_bar == [0 1]);
kavro.internal.check(ok, me, 'color_bar', options.color_bar, 'true or false');
options = find_snapshot(me, options, ntimes);
end

function options = find_snapshot(me, options, ntimes)
% Settles options.sample, the sample of a snapshot, empty for the peak over time; and
% options.instant, its time, empty when it is not known.
instants = [];
if ~isempty(options.time)
    kavro.internal.check(isstruct(options.time), me, 'time', options.time, ...
                         'a structure made by set_time_samples');
    instants = kavro.time_axis(options.time);
    kavro.internal.check(numel(instants) == ntimes, me, 'time', options.time, ...
        sprintf('the %d instants of p (it has %d)', ntimes, numel(instants)));
end
check_show(me, options);
if ~isempty(options.instant)
    options.sample = nearest_sample(me, options, instants);
end
if ~isempty(options.sample)
    options.sample = kavro.internal.whole_number(me, 'sample', options.sample, [1 ntimes]);
    if ~isempty(instants)
        options.instant = instants(options.sample);
    end
end
end

function check_show(me, options)
given = ~isempty(options.sample) + ~isempty(options.instant);
kavro.internal.check(given < 2, me, 'instant', options.instant, ...
                     'left out when ''sample'' is given');
if ~isempty(options.show)
    show = kavro.internal.choose(me, 'show', options.show, {'peak', 'snapshot'});
    kavro.internal.check(given == strcmp(show, 'snapshot'), me, 'show', options.show, ...
        '''snapshot'' with ''sample'' or ''instant'' given, or ''peak'' without them');
end
end

function sample = nearest_sample(me, options, instants)
time = kavro.internal.real_number(me, 'instant', options.instant, 'any', 's');
kavro.internal.check(~isempty(instants), me, 'time', options.time, ...
    'a structure made by set_time_samples when ''instant'' is given');
[away, sample] = min(abs(instants - time));
step = (max(instants) - min(instants)) / max(numel(instants) - 1, 1);
inside = time >= min(instants) && time <= max(instants);
kavro.internal.check(inside || away <= step / 2, me, 'instant', options.instant, ...
    sprintf('a time from %.6g to %.6g s', min(instants), max(instants)));
end

function [field, caption] = pick_field(p, options)
if isempty(options.sample)
    field = double(max(max(p, [], 2), -min(p, [], 2)));
    captions = {'Peak pressure', 'Pressure magnitude'};
    caption = captions{1 + (size(p, 2) == 1)};  % without times, as of a continuous wave
else
    field = double(p(:, options.sample));
    caption = sprintf('Pressure at sample %d', options.sample);
    if ~isempty(options.instant)
        caption = sprintf('Pressure at %.4g \\mus', 1e6 * options.instant);
    end
end
end

function [values, limits, map, label, zero] = scale_field(field, options)
zero = '';
reference = options.reference;
if isempty(reference)
    reference = max(abs(field));
end
if reference == 0
    reference = 1;  % silence is drawn as silence
end
if strcmp(options.scale, 'dB')
    limits = [-options.dynamic_range, 0];
    values = max(20 * log10(abs(field) / reference), limits(1));
    map = kavro.internal.sequential_colors(256);
    [factor, unit] = kavro.internal.pressure_unit(reference);
    full = sprintf('%.3g %s', factor * reference, unit);
    label = sprintf('Pressure (dB re %s)', full);
    zero = sprintf(', 0 dB = %s', full);
else
    [factor, unit] = kavro.internal.pressure_unit(reference);
    values = factor * field;
    limits = factor * reference * [-1 1];
    map = kavro.internal.diverging_colors(255);
    if isempty(options.sample)
        limits(1) = 0;
        map = kavro.internal.sequential_colors(256);
    end
    label = sprintf('Pressure (%s)', unit);
end
end

function extends = extended_axes(me, grid)
% Numbers of the one or two coordinates in which the grid's points differ.
[x, y, z] = kavro.grid_axes(grid);
extends = find(cellfun(@(c) any(c ~= c(1)), {x, y, z}));
n = numel(extends);
kavro.internal.check(any(n == [1 2]), me, 'grid', grid, sprintf( ...
    'a plane or a line parallel to the axes (its points differ in %d coordinates)', n));
end

function [millimetres, name] = axis_in_millimetres(grid, which)
values = cell(1, 3);
[values{:}] = kavro.grid_axes(grid);
millimetres = 1e3 * values{which};
name = sprintf('%s (mm)', char('w' + which));
end

function draw_line(axis_handle, grid, extends, values, limits, label)
[positions, name] = axis_in_millimetres(grid, extends);
[positions, order] = sort(positions(:));
plot(axis_handle, positions, values(order), 'LineWidth', 1.5, 'Color', [0.00 0.35 0.65]);
xlim(axis_handle, [positions(1), positions(end)]);
ylim(axis_handle, limits + [0, 0.05] * (limits(2) - limits(1)));
xlabel(axis_handle, name);
ylabel(axis_handle, label);
end

function draw_map(axis_handle, grid, extends, values)
[across, across_name] = axis_in_millimetres(grid, extends(1));
[along, along_name] = axis_in_millimetres(grid, extends(2));
if isfield(grid, 'coordinates')
    scatter(axis_handle, across, along, 20, values, 'filled');
else
    % along the columns of the picture runs the second axis
    imagesc(across, along, reshape(values, numel(across), numel(along)).', ...
            'Parent', axis_handle);
end
set_map_axes(axis_handle, across, along, extends(2) == 3);
set(axis_handle, 'layer', 'top');
xlabel(axis_handle, across_name);
ylabel(axis_handle, along_name);
end

function set_map_axes(axis_handle, across, along, downwards)
half = @(c) 0.5 * (max(c) - min(c)) / max(numel(unique(c)) - 1, 1);
xlim(axis_handle, [min(across) - half(across), max(across) + half(across)]);
ylim(axis_handle, [min(along) - half(along), max(along) + half(along)]);
daspect(axis_handle, [1 1 1]);
directions = {'normal', 'reverse'};
set(axis_handle, 'YDir', directions{1 + downwards});
end
