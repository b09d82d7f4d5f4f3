function save_picture(fig, file, dots_per_inch)
% SAVE_PICTURE  Write a figure to a PNG file, make sure that all of it is there, and close it.
%
%   save_picture(fig, file)
%   save_picture(fig, file, dots_per_inch)
%
%   A host may draw on a full disk without a word: a file that was cut, or an older one that was
%   there before, is no picture.
%
%   Arguments
%     fig            the figure
%     file           name of the file
%     dots_per_inch  120 unless given
%
%   Example
%     save_picture(gcf(), fullfile(picture_folder(), 'picture.png'));

if nargin < 3
    dots_per_inch = 120;
end
if exist(file, 'file')
    delete(file);
end
print(fig, file, '-dpng', sprintf('-r%d', dots_per_inch));
close(fig);
if ~is_whole(file)
    error('kavro:picture', 'The picture %s could not be written. Is the disk full?', file);
end
end

% Whether the file ends as a PNG file does, with an empty chunk IEND and its checksum.
function whole = is_whole(file)
ending = [0 0 0 0, double('IEND'), 174 66 96 130];
found = fopen(file, 'r');
whole = found >= 0;
if whole
    whole = fseek(found, -numel(ending), 'eof') == 0 ...
            && isequal(fread(found, [1, numel(ending)]), ending);
    fclose(found);
end
end
