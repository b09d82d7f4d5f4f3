function elements = set_delays(elements, delays)
% SET_DELAYS  Give each element its time delay.
%
%   elements = kavro.set_delays(elements, delays)
%
%   Arguments
%     elements  structure array of n elements
%     delays    delays in s: a vector of n numbers, or of one for each channel where
%               elements share channels, or one number for all
%
%   Result
%     elements  the same structure array with time_delay changed
%
%   Example
%     elements = kavro.linear_array(16, 0.6e-3, 0.25e-3);
%     delays = kavro.focus_delays(elements, [0 0 20e-3], kavro.set_medium());
%     elements = kavro.set_delays(elements, delays);
%
%   See also kavro.focus_delays, kavro.set_amplitudes, kavro.show_array

me = 'set_delays';
kavro.internal.check_count(me, nargin, 2, 'elements, delays');
elements = kavro.internal.set_each(me, elements, 'time_delay', 'delays', delays);
end
