function elements = focus(elements, point, medium, varargin)
% FOCUS  Focus an array at a point or at several, for pulses and for continuous waves.
%
%   elements = kavro.focus(elements, point, medium, 'f0', f0)
%   elements = kavro.focus(elements, points, medium, 'f0', f0, option, value, ...)
%
%   At one point, delays become those of kavro.focus_delays, T, and phases those of a continuous
%   wave with these delays, -2 pi f0 T, from -pi to pi.
%
%   At several points, amplitudes and phases become those of the least total drive whose
%   continuous wave has the wanted pressures there: the pseudo-inverse of the matrix that takes the
%   elements' drives to the pressures at the points, each entry the field of one element by the
%   fast nearfield method. Delays become 0, for no delays make several foci. Elements of one channel
%   are driven alike.
%
%   Arguments
%     elements     structure array of n elements
%     point        the focus in m, three numbers x, y, z
%     points       m x 3 foci in m, at least two and at most as many as channels
%     medium       made by kavro.set_medium
%
%   Options
%     'f0'         frequency in Hz; needed
%     'pressures'  several points: m pressures in Pa, complex where their phases matter. By default
%                  all are alike, and the largest drive is the largest amplitude of the elements
%     'uniform'    several points: true drives all elements alike, with the mean of the amplitudes
%                  that the elements have. Pressures then are in the wanted proportions as far as
%                  phases alone can have it, their own phases left open. Default false
%
%   Result
%     elements     the same structure array with time_delay and phase changed, and for several
%                  points amplitude
%
%   Source
%     E. S. Ebbini, C. A. Cain, IEEE Trans. Ultrason. Ferroelectr. Freq. Control 36, 540 (1989).
%
%   Example: two foci, 6 mm apart
%     medium = kavro.set_medium();
%     array = kavro.random_array(64, 20e-3, 1.5e-3, 'rad_curvature', 50e-3);
%     array = kavro.focus(array, [-3e-3 0 50e-3; 3e-3 0 50e-3], medium, 'f0', 1e6);
%     grid = kavro.set_coordinate_grid([0.25e-3 1 1], -8e-3, 8e-3, 0, 0, 50e-3, 50e-3);
%     plot(abs(kavro.pressure(array, grid, medium, 'f0', 1e6)))
%
%   See also kavro.focus_delays, kavro.set_delays, kavro.set_phases, kavro.random_array,
%   kavro.pressure, kavro.solve

me = 'focus';
kavro.internal.check_count(me, nargin, [3 Inf], 'elements, point, medium and options');
kavro.internal.check_elements(me, elements);
options = struct('f0', [], 'pressures', [], 'uniform', false);
options = kavro.internal.parse_options(me, options, varargin);
f0 = kavro.internal.real_number(me, 'f0', options.f0, 'positive', 'Hz');
if numel(point) == 3
    delays = kavro.focus_delays(elements, point, medium);
    elements = kavro.set_delays(elements, delays);
    elements = kavro.set_phases(elements, angle(exp(-2i * pi * f0 * delays)));
    return
end
m = size(point, 1);
channel = kavro.internal.channels(elements);
ok = kavro.internal.is_numbers(point) && ismatrix(point) && size(point, 2) == 3 ...
     && m <= max(channel);
kavro.internal.check(ok, me, 'point', point, ...
    sprintf('a focus, x, y, z, or m x 3 foci (m), as many as the %d channels at most', ...
            max(channel)));
wanted = ones(m, 1);
if ~isempty(options.pressures)
    ok = isnumeric(options.pressures) && numel(options.pressures) == m ...
         && all(isfinite(options.pressures(:))) && all(options.pressures(:) ~= 0);
    kavro.internal.check(ok, me, 'pressures', options.pressures, ...
                         sprintf('%d pressures that are not zero (Pa)', m));
    wanted = double(options.pressures(:));
end
amplitudes = [elements.amplitude];
H = transfer(elements, channel, double(point), medium, f0);
inverse = pinv(H);
drives = inverse * wanted;
ok = isscalar(options.uniform) && any(options.uniform == [0 1]);
kavro.internal.check(ok, me, 'uniform', options.uniform, 'true or false');
if options.uniform
    drives = mean(abs(amplitudes)) * turned_alike(H, inverse, drives, abs(wanted));
elseif isempty(options.pressures)
    drives = drives * (max(abs(amplitudes)) / max(abs(drives)));
end
elements = kavro.set_amplitudes(elements, abs(drives(channel)));
elements = kavro.set_phases(elements, angle(drives(channel)));
elements = kavro.set_delays(elements, 0);
end

% Pressures at the points of channels of amplitude 1, a channel each column.
function H = transfer(elements, channel, points, medium, f0)
elements = kavro.set_phases(kavro.set_amplitudes(elements, 1), 0);
elements = kavro.set_delays(elements, 0);
grid = kavro.set_coordinate_grid(points);
H = kavro.solve('fnm_cw', elements, grid, medium, 'f0', f0, 'per_element', true);
H = reshape(H, size(points, 1), numel(elements)) * full(sparse(1:numel(channel), channel, 1));
end

% Drives of magnitude 1 by turns: phases that the wanted pressures ask for, and pressures whose
% phases are those that come of it, the more wanted the less has come.
function drives = turned_alike(H, inverse, drives, wanted)
sought = wanted;
for i = 1:100
    drives = exp(1i * angle(drives));
    p = H * drives;
    sought = sought .* (wanted * mean(abs(p))) ./ (abs(p) * mean(wanted));
    drives = inverse * (sought .* exp(1i * angle(p)));
end
drives = exp(1i * angle(drives));
end
