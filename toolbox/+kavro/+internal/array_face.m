function [shape, sizes, extent] = array_face(caller, face)
% ARRAY_FACE  The faces of an array: discs of a radius, or rectangles of a width and a height.
%   [shape, sizes, extent] = ARRAY_FACE(caller, face) takes one number or two (m) and returns
%   what MAKE_ELEMENTS needs, and the sizes along x and y.
ok = kavro.internal.is_numbers(face) && any(numel(face) == [1 2]) && all(face(:) > 0);
kavro.internal.check(ok, caller, 'face', face, ...
                     'a positive radius or a positive [width height] (m)');
face = double(face(:).');
if numel(face) == 1
    shape = 'disc';
    sizes = struct('radius', face);
    extent = [2 2] * face;
else
    shape = 'rectangle';
    sizes = struct('width', face(1), 'height', face(2));
    extent = face;
end
end
