function table = methods(name)
% METHODS  The methods of kavro.solve, and the shapes that offer each.
%
%   kavro.methods()
%   kavro.methods(name)
%   table = kavro.methods()
%   entry = kavro.methods(name)
%
%   Without a result it prints: all methods against all shapes, or what the one method needs.
%   Everything comes from the library itself.
%
%   Argument
%     name     name of a method; without it, all of them
%
%   Result
%     table    structure array with one entry for each method
%                name          text
%                summary       what it computes, in a few words
%                shapes        cell array of the shapes that offer it, as elements name them
%                options       cell array of the options that kavro.solve takes for it
%                ndiv          default number of quadrature points, 0 where it has none
%                ndiv_multiple what ndiv is rounded up to a multiple of
%
%   Example
%     kavro.methods();
%     entry = kavro.methods('fnm_tsd');
%     fprintf('%s: %s\n', entry.summary, strjoin(entry.shapes, ', '));
%
%   See also kavro.solve

me = 'methods';
[table, shapes] = read_table();
if nargin > 0
    name = kavro.internal.choose(me, 'name', name, {table.name});
    table = table(strcmp(name, {table.name}));
end
if nargout == 0
    if nargin == 0
        print_all(table, shapes);
    else
        print_one(table, shapes);
    end
    clear table
end
end

function [table, shapes] = read_table()
lines = strsplit(strtrim(kavro.internal.command('methods')), sprintf('\n'));
cells = cellfun(@(line) regexp(line, '\t', 'split'), lines, 'UniformOutput', false);
is_shape = cellfun(@(c) strcmp(c{1}, 'shape'), cells);
shapes = vertcat(cells{is_shape});
shapes = shapes(:, 2:3);
cells = vertcat(cells{~is_shape});
table = struct('name', cells(:, 2), 'summary', cells(:, 7), ...
               'shapes', cellfun(@split, cells(:, 3), 'UniformOutput', false), ...
               'options', cellfun(@split, cells(:, 4), 'UniformOutput', false), ...
               'ndiv', num2cell(str2double(cells(:, 5))), ...
               'ndiv_multiple', num2cell(str2double(cells(:, 6)))).';
end

function words = split(list)
words = {};
if ~isempty(list)
    words = strsplit(list, ',');
end
end

function print_all(table, shapes)
width = max(cellfun(@numel, {table.name}));
heads = shapes(:, 2).';
fprintf('%s', blanks(width));
fprintf('  %s', heads{:});
fprintf('\n');
for entry = table
    fprintf('%s%s', entry.name, blanks(width - numel(entry.name)));
    for i = 1:numel(heads)
        mark = '-';
        if any(strcmp(shapes{i, 1}, entry.shapes))
            mark = 'x';
        end
        fprintf('  %s%s', mark, blanks(numel(heads{i}) - 1));
    end
    fprintf('\n');
end
end

function print_one(entry, shapes)
offers = cellfun(@(id) any(strcmp(id, entry.shapes)), shapes(:, 1));
names = 'none yet';
if any(offers)
    names = strjoin(shapes(offers, 2).', ', ');
end
fprintf('%s: %s\n', entry.name, entry.summary);
fprintf('  shapes   %s\n', names);
fprintf('  options  %s\n', strjoin(entry.options, ', '));
if entry.ndiv > 0
    fprintf('  ndiv     %d unless given', entry.ndiv);
    if entry.ndiv_multiple > 1
        fprintf('; rounded up to a multiple of %d', entry.ndiv_multiple);
    end
    fprintf('\n');
end
end
