function outline = element_outline(caller, element)
% ELEMENT_OUTLINE  The rim of an element as a closed polygon, n x 3, in metres (global).
switch element.shape
    case 'circ'
        phi = (0:47)' * (2 * pi / 48);
        local = element.radius * [cos(phi), sin(phi), zeros(size(phi))];
    case 'rect'
        corners = [-1 -1; 1 -1; 1 1; -1 1] / 2;
        local = [corners(:, 1) * element.width, corners(:, 2) * element.height, zeros(4, 1)];
    case 'poly'
        local = [element.corners, zeros(size(element.corners, 1), 1)];
    otherwise
        error('kavro:argument', ...
              ['%s: elements of shape ''%s'' cannot be drawn, only discs, rectangles, polygons, ', ...
               'rings, shells and rings of shells.'], ...
              caller, element.shape);
end
% Rows of the rotation matrix are local axes: local coordinates times the matrix are global.
outline = local * kavro.internal.rotation_matrix(element.euler) ...
          + repmat(element.center(:).', size(local, 1), 1);
end
