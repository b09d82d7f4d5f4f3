function elements = set_phases(elements, phases)
% SET_PHASES  Give each element its phase, for continuous waves.
%
%   elements = kavro.set_phases(elements, phases)
%
%   Continuous waves know phases and no delays. An element that fires later by a delay lags
%   behind by 2 pi f0 times it; so the phases of focus_delays are negative.
%
%   Arguments
%     elements  structure array of n elements
%     phases    phases in rad: a vector of n numbers, or of one for each channel where
%               elements share channels, or one number for all
%
%   Result
%     elements  the same structure array with phase changed
%
%   Example: focused at 1 MHz
%     f0 = 1e6;
%     elements = kavro.linear_array(16, 0.6e-3, 0.25e-3);
%     delays = kavro.focus_delays(elements, [0 0 20e-3], kavro.set_medium());
%     elements = kavro.set_phases(elements, -2 * pi * f0 * delays);
%
%   See also kavro.focus_delays, kavro.set_delays, kavro.set_amplitudes, kavro.solve

me = 'set_phases';
kavro.internal.check_count(me, nargin, 2, 'elements, phases');
elements = kavro.internal.set_each(me, elements, 'phase', 'phases', phases);
end
