function elements = set_amplitudes(elements, amplitudes)
% SET_AMPLITUDES  Give each element its amplitude (apodization).
%
%   elements = kavro.set_amplitudes(elements, amplitudes)
%
%   Arguments
%     elements    structure array of n elements
%     amplitudes  factors of the waveform (surface velocity in m/s): a vector of n numbers, or
%                 of one for each channel where elements share channels, or one number for
%                 all; an element of amplitude 0 is not computed
%
%   Result
%     elements    the same structure array with amplitude changed
%
%   Example: 20 mm/s in the middle, falling to the ends as a raised cosine
%     elements = kavro.linear_array(32, 0.6e-3, 0.25e-3);
%     elements = kavro.set_amplitudes(elements, 0.02 * sin(pi * (0.5:31.5) / 32) .^ 2);
%
%   See also kavro.set_delays, kavro.set_phases, kavro.show_array, kavro.transient_pressure,
%   kavro.solve

me = 'set_amplitudes';
kavro.internal.check_count(me, nargin, 2, 'elements, amplitudes');
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitudes', amplitudes);
end
