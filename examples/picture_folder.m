function folder = picture_folder()
% PICTURE_FOLDER  The folder that the examples draw to; it is made where it is missing.
%
%   folder = picture_folder()
%
%   demo_output beside the folder of the examples, or the folder named by the environment
%   variable KAVRO_DEMO_OUT. Silences Octave's note about its gnuplot graphics, which are all
%   that the pictures need.
%
%   Example
%     save_picture(gcf(), fullfile(picture_folder(), 'picture.png'));

folder = getenv('KAVRO_DEMO_OUT');
if isempty(folder)
    here = fileparts(mfilename('fullpath'));
    folder = fullfile(fileparts(here), 'demo_output');
end
if ~exist(folder, 'dir')
    mkdir(folder);
end
warning('off', 'Octave:gnuplot-graphics');
end
