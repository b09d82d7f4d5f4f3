function outline = element_outline(caller, element)
% ELEMENT_OUTLINE  The rim of an element as a closed polygon, n x 3, in metres (global).
switch kavro.internal.shape_name(element.shape)
    case 'disc'
        phi = (0:47)' * (2 * pi / 48);
        local = element.radius * [cos(phi), sin(phi), zeros(size(phi))];
    case 'rectangle'
        corners = [-1 -1; 1 -1; 1 1; -1 1] / 2;
        local = [corners(:, 1) * element.width, corners(:, 2) * element.height, zeros(4, 1)];
    case 'polygon'
        local = [element.corners, zeros(size(element.corners, 1), 1)];
    otherwise
        error('kavro:argument', '%s: elements of the shape ''%s'' cannot be drawn.', caller, ...
              element.shape);
end
% Rows of the rotation matrix are local axes: local coordinates times the matrix are global.
outline = local * kavro.internal.rotation_matrix(element.euler) ...
          + repmat(element.center(:).', size(local, 1), 1);
end
