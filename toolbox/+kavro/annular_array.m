function elements = annular_array(count, radius, gap, varargin)
% ANNULAR_ARRAY  Concentric rings with gaps, flat or on a bowl.
%
%   elements = kavro.annular_array(count, radius, gap)
%   elements = kavro.annular_array(count, radius, gap, option, value, ...)
%   elements = kavro.annular_array(rims)
%   elements = kavro.annular_array(rims, 'rad_curvature', R)
%
%   The rings lie around the z axis and radiate towards +z; element 1 is the innermost. In the
%   first forms all have the same area (seen along the axis), or the same width. Driven with
%   kavro.focus_delays they focus anywhere on the axis.
%
%   Arguments
%     count            number of rings, a whole number
%     radius           outer radius of the outermost ring in m, positive
%     gap              distance between neighbouring rings in m, zero or positive
%     rims             n x 2 inner and outer radii in m, from the innermost ring outwards
%
%   Options
%     'inner_radius'   radius of a hole in the middle in m; default 0, no hole: element 1 is a
%                      full disc (or bowl) then
%     'equal'          what all rings have in common: 'area' (default) or 'width'
%     'rad_curvature'  radius of curvature in m of the bowl on which the rings lie; default Inf,
%                      flat. Without delays such an array focuses at [0 0 rad_curvature]
%     'amplitude'      factor of the waveform (surface velocity in m/s), one for all or one for
%                      each; default 1
%
%   Result
%     elements         1 x n structure array (fields as kavro.ring and kavro.spherical_ring make
%                      them)
%
%   Example: eight rings on a bowl, focused 10 mm closer than its own focus
%     elements = kavro.annular_array(8, 20e-3, 0.3e-3, 'rad_curvature', 60e-3);
%     delays = kavro.focus_delays(elements, [0 0 50e-3], kavro.set_medium());
%     kavro.show_array(kavro.set_delays(elements, delays));
%
%   See also kavro.ring, kavro.spherical_ring, kavro.focus_delays, kavro.bowl_array,
%   kavro.show_array

me = 'annular_array';
if nargin == 1 || (nargin > 1 && ~isnumeric(radius))
    args = {};
    if nargin > 1
        args = {radius};
    end
    if nargin > 2
        args = [args, {gap}, varargin];
    end
    options = kavro.internal.parse_options(me, struct('rad_curvature', Inf, 'amplitude', 1), args);
    rims = given_rims(me, count);
else
    kavro.internal.check_count(me, nargin, [3 Inf], 'count, radius, gap and options');
    defaults = struct('inner_radius', 0, 'equal', 'area', 'rad_curvature', Inf, 'amplitude', 1);
    options = kavro.internal.parse_options(me, defaults, varargin);
    rims = computed_rims(me, count, radius, gap, options);
end
elements = make_rings(me, rims, options.rad_curvature);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
end

function rims = given_rims(me, rims)
ok = kavro.internal.is_numbers(rims, [NaN 2]);
if ok
    in_order = reshape(double(rims).', 1, []);
    ok = in_order(1) >= 0 && all(diff(in_order) >= 0) && all(rims(:, 2) > rims(:, 1));
end
kavro.internal.check(ok, me, 'rims', rims, ...
    'an n x 2 matrix of inner and outer radii (m), rings that do not overlap, innermost first');
rims = double(rims);
end

function rims = computed_rims(me, count, radius, gap, options)
n = kavro.internal.whole_number(me, 'count', count, [1 kavro.internal.most_elements()]);
radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
gap = kavro.internal.real_number(me, 'gap', gap, 'not negative', 'm');
hole = kavro.internal.real_number(me, 'inner_radius', options.inner_radius, 'not negative', 'm');
equal = kavro.internal.choose(me, 'equal', options.equal, {'area', 'width'});
room = radius - hole - (n - 1) * gap;
kavro.internal.check(room > 0, me, 'radius', radius, ...
                     sprintf('larger than hole and gaps together, %.6g m', radius - room));
if strcmp(equal, 'width')
    inner = hole + (0:n - 1)' * (room / n + gap);
    rims = [inner, inner + room / n];
    return
end
% The share of each ring in radius^2 that lets the last one end at the outer radius: the more
% area, the farther out, so that bisection finds it.
low = 0;
high = radius ^ 2;
for step = 1:200
    share = (low + high) / 2;
    rims = rings_of_area(n, hole, gap, share);
    if rims(n, 2) > radius
        high = share;
    else
        low = share;
    end
end
rims(n, 2) = radius;
end

function rims = rings_of_area(n, hole, gap, share)
rims = zeros(n, 2);
inner = hole;
for i = 1:n
    rims(i, :) = [inner, sqrt(inner ^ 2 + share)];
    inner = rims(i, 2) + gap;
end
end

function elements = make_rings(me, rims, rad_curvature)
is_flat = isequal(rad_curvature, Inf);
if ~is_flat
    rad_curvature = kavro.internal.curvature(me, 'rad_curvature', rad_curvature, rims(end, 2));
end
parts = cell(1, size(rims, 1));
for i = 1:size(rims, 1)
    sizes = struct('inner_radius', rims(i, 1), 'outer_radius', rims(i, 2));
    shape = 'ring';
    if ~is_flat
        sizes.geometric_focus = rad_curvature;
        shape = 'spherical ring';
    end
    parts{i} = kavro.internal.make_elements(shape, sizes, [0 0 0], [0 0 0]);
end
elements = [parts{:}];
end
