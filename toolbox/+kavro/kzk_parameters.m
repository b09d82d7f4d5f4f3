function [kzk, cost] = kzk_parameters(element, medium, drive, varargin)
% KZK_PARAMETERS  Parameters of a nonlinear march, and what it will cost.
%
%   kzk = kavro.kzk_parameters(element, medium, f0)
%   kzk = kavro.kzk_parameters(element, medium, waveform)
%   kzk = kavro.kzk_parameters(..., option, value, ...)
%   [kzk, cost] = kavro.kzk_parameters(...)
%
%   Chooses what kavro.solve takes as the option 'kzk', from the element's gain, its amplitude, the
%   medium and the planes. kavro.solve chooses the same when the option is left out.
%
%   Arguments
%     element   one disc, shell or ring of a shell, with its amplitude: kavro.disc,
%               kavro.spherical_shell, kavro.spherical_ring
%     medium    made by kavro.set_medium
%     f0        frequency in Hz: parameters of 'kzk_cw'
%     waveform  made by kavro.set_excitation_function: parameters of 'kzk_transient'
%
%   Options
%     'accuracy'   error of the pressure on the axis, as a share of what the waves from the middle
%                  and the rim can add up to there; default 0.01. Held from half the way to a
%                  shell's focus on, and from a quarter of the Rayleigh distance on for a disc.
%                  'kzk_transient' holds six times as much, from four fifths of the way on
%     'harmonics'  'kzk_cw': how many harmonics are to be right; default 5. More are computed, as
%                  many as the wave's distortion asks for
%     'grid'       the points of the run, made by kavro.set_coordinate_grid; default: the axis, from
%                  0.5 to 1.3 times the radius of curvature, or from 0.25 to 2 Rayleigh distances
%     'time'       'kzk_transient': the instants of the run; they only count for the cost. Default:
%                  40 samples in a period, until the pulse has passed
%
%   Result
%     kzk    structure with the fields extent, points_per_radius, and growth and harmonics or step
%     cost   structure of what the run will take
%              columns   radii of the computed region
%              harmonics or samples (of retarded time)
%              steps     about, without a shock
%              bytes     of memory, beside the result
%              seconds   about, on one thread
%
%   Example
%     medium = kavro.set_medium('water');
%     bowl = kavro.spherical_shell(20e-3, 80e-3, 'amplitude', 0.18);
%     [kzk, cost] = kavro.kzk_parameters(bowl, medium, 1.1e6);
%     fprintf('%d harmonics, %.2f s\n', kzk.harmonics, cost.seconds);
%
%   See also kavro.solve, kavro.spherical_shell, kavro.set_medium

me = 'kzk_parameters';
kavro.internal.check_count(me, nargin, [3 Inf], 'element, medium, f0 or waveform, and options');
options = struct('accuracy', 0.01, 'harmonics', 5, 'grid', [], 'time', []);
options = kavro.internal.parse_options(me, options, varargin);
choice.accuracy = kavro.internal.real_number(me, 'accuracy', options.accuracy, 'positive', '');
pulsed = isstruct(drive);
if pulsed
    f0 = drive.f0;
    method = 'kzk_transient';
else
    f0 = kavro.internal.real_number(me, 'f0', drive, 'positive', 'Hz');
    choice.harmonics = kavro.internal.whole_number(me, 'harmonics', options.harmonics, [1 Inf]);
    method = 'kzk_cw';
end
if isempty(options.grid)
    options.grid = usual_planes(element, medium, f0);
end
drives = {'f0', f0};
if pulsed
    if isempty(options.time)
        options.time = usual_times(options.grid, medium, drive);
    end
    drives = {'excitation', drive, 'time', options.time};
end
[kzk, cost] = kavro.internal.command('kzk_parameters', method, element, options.grid, medium, ...
                                     drives{:}, 'kzk', choice);
end

% On the axis; fifty planes.
function grid = usual_planes(element, medium, f0)
scale = pi * f0 * element.radius ^ 2 / medium.soundspeed;
span = [0.25 2];
for curvature = {'rad_curvature', 'geometric_focus'}
    if isfield(element, curvature{1}) && element.(curvature{1}) > 0
        scale = element.(curvature{1});
        span = [0.5 1.3];
    end
end
z = scale * span;
grid = kavro.set_coordinate_grid([1 1 diff(z) / 49], 0, 0, 0, 0, z(1), z(2));
end

function times = usual_times(grid, medium, waveform)
[~, ~, z] = kavro.grid_axes(grid);
period = 1 / waveform.f0;
times = kavro.set_time_samples(period / 40, min(z) / medium.soundspeed, ...
                               max(z) / medium.soundspeed + 10 * period);
end
