function [vertices, faces, rims, ribs] = element_surface(caller, element)
% ELEMENT_SURFACE  The radiating surface of an element as triangles, in metres (global).
%   [vertices, faces, rims, ribs] = ELEMENT_SURFACE(caller, element) returns the corners (n x 3),
%   the rows of corners of each triangle, the curves that bound the surface (closed polygons in a
%   cell array, n x 3 each), and curves that show how it is bent (open ones; none where it is
%   flat).
switch kavro.internal.shape_name(element.shape)
    case 'ring'
        [radii, heights] = deal([element.inner_radius, element.outer_radius], [0 0]);
    case 'spherical shell'
        [radii, heights] = arc(0, element.radius, element.rad_curvature);
    case 'spherical ring'
        [radii, heights] = arc(element.inner_radius, element.outer_radius, ...
                               element.geometric_focus);
    otherwise
        vertices = kavro.internal.element_outline(caller, element);
        n = size(vertices, 1);
        faces = [ones(n - 2, 1), (2:n - 1)', (3:n)'];
        rims = {vertices};
        ribs = {};
        return
end
[local, faces, circles, meridians] = turned(radii, heights);
vertices = to_global(local, element);
along = @(at) vertices(at, :);
rims = cellfun(along, circles, 'uniformoutput', false);
ribs = {};
if any(heights)
    ribs = cellfun(along, meridians, 'uniformoutput', false);
end
end

function [radii, heights] = arc(from, to, curvature)
% A meridian of the bowl, in equal steps of the angle seen from the centre of curvature.
angles = linspace(asin(max(from, 0) / curvature), asin(min(to / curvature, 1)), 13);
radii = curvature * sin(angles);
heights = 2 * curvature * sin(angles / 2) .^ 2;
end

function [points, faces, circles, meridians] = turned(radii, heights)
% The surface that a meridian sweeps about the z axis; circle k holds rows (k - 1) * n + 1 ... k * n.
n = 48;
phi = (0:n - 1)' * (2 * pi / n);
on_circle = @(k) (k - 1) * n + (1:n)';
points = zeros(n * numel(radii), 3);
faces = [];
for k = 1:numel(radii)
    points(on_circle(k), :) = [radii(k) * [cos(phi), sin(phi)], repmat(heights(k), n, 1)];
    if k > 1
        [a, b] = deal(on_circle(k - 1), on_circle(k));
        next = [2:n, 1];
        faces = [faces; a, b, b(next); a, b(next), a(next)];  %#ok<AGROW>
    end
end
circles = {on_circle(numel(radii))};
if radii(1) > 0
    circles{2} = on_circle(1);
end
meridians = cell(1, 12);
for i = 1:12
    meridians{i} = (i - 1) * n / 12 + 1 + n * (0:numel(radii) - 1)';
end
end

function points = to_global(local, element)
% Rows of the rotation matrix are local axes: local coordinates times the matrix are global.
points = local * kavro.internal.rotation_matrix(element.euler) ...
         + repmat(element.center(:).', size(local, 1), 1);
end
