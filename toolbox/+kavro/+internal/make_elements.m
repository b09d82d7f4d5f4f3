function elements = make_elements(shape, sizes, centers, eulers)
% MAKE_ELEMENTS  Build a 1 x n structure array of equal elements at given places.
%   elements = MAKE_ELEMENTS(shape, sizes, centers, eulers) takes the module's shape name, a
%   structure of the shape's own sizes (m), the centres (n x 3, m) and the Euler angles
%   (n x 3 or 1 x 3, rad). Every element of every shape has the same fields in the same order, so
%   that arrays of mixed shapes can be joined with [a, b]: sizes that its shape does not use are 0,
%   and corners none. Channel 0 is an element's own.
blank = struct('shape', shape, 'radius', 0, 'inner_radius', 0, 'outer_radius', 0, ...
               'width', 0, 'height', 0, 'rad_curvature', 0, 'geometric_focus', 0, ...
               'corners', zeros(0, 2), ...
               'center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'time_delay', 0, ...
               'phase', 0, 'channel', 0);
names = fieldnames(sizes);
for i = 1:numel(names)
    blank.(names{i}) = double(sizes.(names{i}));
end
n = size(centers, 1);
elements = repmat(blank, 1, n);
for i = 1:n
    elements(i).center = double(centers(i, :));
    elements(i).euler = double(eulers(min(i, size(eulers, 1)), :));
end
end
