function elements = linear_array(count, pitch, radius)
% LINEAR_ARRAY  Discs in a row along x.
%
%   elements = kavro.linear_array(count, pitch, radius)
%
%   The row is centred at the origin in the plane z = 0 and radiates towards +z; element 1 has
%   the smallest x.
%
%   Arguments
%     count     number of discs, a whole number, 1 or more
%     pitch     distance between neighbouring centres in m, at least 2 * radius
%     radius    radius of each disc in m, positive
%
%   Result
%     elements  1 x count structure array (fields as kavro.disc makes them)
%
%   Example: 64 discs, 0.6 mm apart
%     elements = kavro.linear_array(64, 0.6e-3, 0.25e-3);
%     fprintf('aperture %.1f mm\n', 1e3 * (elements(end).center(1) - elements(1).center(1)));
%
%   See also kavro.planar_array, kavro.ring_array, kavro.bowl_array, kavro.focus_delays,
%   kavro.show_array

me = 'linear_array';
kavro.internal.check_count(me, nargin, 3, 'count, pitch, radius');
count = kavro.internal.whole_number(me, 'count', count, [1 Inf]);
pitch = kavro.internal.real_number(me, 'pitch', pitch, 'positive', 'm');
sizes.radius = kavro.internal.real_number(me, 'radius', radius, 'positive', 'm');
kavro.internal.check_disc_spacing(me, pitch, sizes.radius);
x = kavro.internal.centered_steps(count, pitch).';
elements = kavro.internal.make_elements('circ', sizes, [x, zeros(count, 2)], [0 0 0]);
end
