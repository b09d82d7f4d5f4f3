function ax = show_array(elements, varargin)
% SHOW_ARRAY  Draw the elements of an array where they are and as they are turned.
%
%   kavro.show_array(elements)
%   kavro.show_array(elements, option, value, ...)
%   ax = kavro.show_array(...)
%
%   Draws into the current axes, in millimetres. An array that lies flat and faces +z is drawn
%   from the front, in x and y; any other in three dimensions. Rings are drawn with their hole,
%   bowls as the curved surfaces they are.
%
%   Argument
%     elements  structure array of elements
%
%   Options
%     'color'   what the colour stands for: 'delay' (in us), 'amplitude', or 'none';
%               default: the delays if they differ, else the amplitudes if they differ, else
%               nothing
%     'title'   text above the drawing; default: what is drawn
%
%   Result
%     ax        handle of the axes
%
%   Example
%     elements = kavro.planar_array([12 12], 1.2e-3, 0.5e-3);
%     delays = kavro.focus_delays(elements, [5e-3 0 30e-3], kavro.set_medium());
%     kavro.show_array(kavro.set_delays(elements, delays));
%
%   See also kavro.linear_array, kavro.planar_array, kavro.convex_array, kavro.ring_array,
%   kavro.bowl_array, kavro.annular_array, kavro.focus_delays, kavro.show_field

me = 'show_array';
kavro.internal.check_count(me, nargin, [1 Inf], 'elements and options');
kavro.internal.check_elements(me, elements);
options = kavro.internal.parse_options(me, struct('color', 'auto', 'title', ''), varargin);
what = kavro.internal.choose(me, 'color', options.color, {'auto', 'delay', 'amplitude', 'none'});
[values, label] = element_values(elements, what);

axis_handle = gca();
draw_elements(me, axis_handle, elements, values);
if isempty(options.title)
    count = max(kavro.internal.channels(elements));
    words = {'element', 'channel'};
    word = words{1 + (count < numel(elements))};
    options.title = sprintf('One %s', word);
    if count > 1
        options.title = sprintf('Array of %d %ss', count, word);
    end
end
title(axis_handle, options.title, 'fontweight', 'normal');
xlabel(axis_handle, 'x (mm)');
ylabel(axis_handle, 'y (mm)');
zlabel(axis_handle, 'z (mm)');
set(axis_handle, 'fontsize', 11, 'box', 'on');
if ~isempty(label)
    map = kavro.internal.sequential_colors(256);
    kavro.internal.set_colors(axis_handle, color_limits(values), map);
    kavro.internal.add_color_bar(axis_handle, label);
end
if nargout > 0
    ax = axis_handle;
end
end

function [values, label] = element_values(elements, what)
delays = 1e6 * [elements.time_delay];
amplitudes = [elements.amplitude];
if strcmp(what, 'auto')
    if any(delays ~= delays(1))
        what = 'delay';
    elseif any(amplitudes ~= amplitudes(1))
        what = 'amplitude';
    end
end
switch what
    case 'delay'
        values = delays;
        label = 'Time delay (\mus)';
    case 'amplitude'
        values = amplitudes;
        label = 'Amplitude (m/s)';
    otherwise
        values = zeros(size(delays));
        label = '';
end
end

function draw_elements(me, axis_handle, elements, values)
n = numel(elements);
in_mm = @(curves) cellfun(@(curve) 1e3 * curve, curves, 'uniformoutput', false);
[vertices, faces, rims, ribs] = deal(cell(n, 1));
for i = 1:n
    [vertices{i}, faces{i}, rims{i}, ribs{i}] = kavro.internal.element_surface(me, elements(i));
    vertices{i} = 1e3 * vertices{i};
    rims{i} = in_mm(rims{i});
    ribs{i} = in_mm(ribs{i});
end
points = cell2mat(vertices);
low = min(points, [], 1);
high = max(points, [], 1);
is_flat = high(3) - low(3) < 1e-6;
colors = element_colors(values);
if ~ishold(axis_handle)
    cla(axis_handle);
end
% What is of one channel and colour is drawn as one object, for strips of lenses are many; their
% outlines would hide their colours.
[~, first, group] = unique([kavro.internal.channels(elements).', values(:)], 'rows');
for g = 1:numel(first)
    of_group = find(group == g).';
    [corners, triangles] = joined(vertices(of_group), faces(of_group));
    outlines = [rims{of_group}];
    if numel(of_group) > 3 && ~is_flat
        outlines = {};
    end
    draw_face(axis_handle, corners, triangles, outlines, colors(first(g), :), is_flat);
    draw_curves(axis_handle, [ribs{of_group}], [0.55 0.55 0.55], false);
end
frame_axes(axis_handle, low, high, is_flat);
end

function [corners, triangles] = joined(vertices, faces)
before = 0;
for i = 1:numel(vertices)
    faces{i} = faces{i} + before;
    before = before + size(vertices{i}, 1);
end
corners = vertcat(vertices{:});
triangles = vertcat(faces{:});
end

function frame_axes(axis_handle, low, high, is_flat)
% One scale for all axes, and a little room around the outermost elements.
span = 1.1 * max(high - low);
middle = (low + high) / 2;
daspect(axis_handle, [1 1 1]);
if is_flat
    height = max(1.1 * (high(2) - low(2)), 0.3 * span);
    xlim(axis_handle, middle(1) + [-0.5 0.5] * span);
    ylim(axis_handle, middle(2) + [-0.5 0.5] * height);
    view(axis_handle, 2);
else
    xlim(axis_handle, middle(1) + [-0.5 0.5] * span);
    ylim(axis_handle, middle(2) + [-0.5 0.5] * span);
    zlim(axis_handle, middle(3) + [-0.5 0.5] * span);
    view(axis_handle, 3);
    grid(axis_handle, 'on');
end
end

function draw_face(axis_handle, vertices, faces, rims, color, is_flat)
edge = [0.25 0.25 0.25];
if is_flat && numel(rims) == 1
    patch(rims{1}(:, 1), rims{1}(:, 2), color, 'FaceColor', color, 'EdgeColor', edge, ...
          'Parent', axis_handle);
    return
end
% In three dimensions some of Octave's drawing backends fill nothing but triangles.
patch('Vertices', vertices, 'Faces', faces, 'FaceColor', color, 'EdgeColor', 'none', ...
      'Parent', axis_handle);
draw_curves(axis_handle, rims, edge, true);
end

function draw_curves(axis_handle, curves, color, is_closed)
% One line with gaps.
for k = 1:numel(curves)
    if is_closed
        curves{k} = curves{k}([1:end 1], :);
    end
    curves{k}(end + 1, :) = NaN;
end
if ~isempty(curves)
    curve = vertcat(curves{:});
    line(curve(:, 1), curve(:, 2), curve(:, 3), 'Color', color, 'Parent', axis_handle);
end
end

function colors = element_colors(values)
map = kavro.internal.sequential_colors(256);
limits = color_limits(values);
share = (values(:) - limits(1)) / (limits(2) - limits(1));
colors = map(1 + round(255 * share), :);
end

function limits = color_limits(values)
limits = [min(values), max(values)];
if limits(1) == limits(2)
    limits = limits(1) + [-0.5 0.5];
end
end
