function name = shape_name(shape)
% SHAPE_NAME  A shape's name, 'disc', from it or from its short form, 'circ'.
%   What is neither is returned as it is.
persistent known
if isempty(known)
    table = kavro.internal.command('methods');
    known = regexp(table, 'shape\t([^\t\n]*)\t([^\t\n]*)', 'tokens');
    known = vertcat(known{:});
end
name = shape;
is_short = strcmp(shape, known(:, 2));
if any(is_short)
    name = known{is_short, 1};
end
end
