function power = acoustic_power(elements, medium, f0, varargin)
% ACOUSTIC_POWER  Power that an array radiates in a continuous wave.
%
%   power = kavro.acoustic_power(elements, medium, f0)
%   power = kavro.acoustic_power(..., option, value, ...)
%
%   The time average, in W, of what passes through a sphere far away, without losses: all interaction
%   of the elements is included. Amplitudes and phases count, delays do not.
%
%   Arguments
%     elements    structure array of elements of any shapes
%     medium      made by kavro.set_medium; its density and speed of sound count
%     f0          frequency in Hz
%
%   Options
%     'threads', 'progress'    see kavro.solve
%
%   Example: a bowl, and what a plane wave from all of its surface would carry
%     medium = kavro.set_medium();
%     bowl = kavro.spherical_shell(32e-3, 64e-3, 'amplitude', 0.3);
%     power = kavro.acoustic_power(bowl, medium, 1e6)
%     area = 2 * pi * 64e-3 * (64e-3 - sqrt(64e-3 ^ 2 - 32e-3 ^ 2));
%     plane = medium.density * medium.soundspeed * 0.3 ^ 2 / 2 * area
%
%   See also kavro.intensity, kavro.solve

kavro.internal.check_count('acoustic_power', nargin, [3 Inf], 'elements, medium, f0, options');
power = kavro.internal.command('acoustic_power', elements, medium, f0, varargin{:});
end
