function elements = random_array(count, aperture_radius, radius, varargin)
% RANDOM_ARRAY  Discs at random places on a disc or a bowl, none too close to another.
%
%   elements = kavro.random_array(count, aperture_radius, radius)
%   elements = kavro.random_array(..., 'rad_curvature', R, 'minimum_gap', gap, 'seed', seed)
%
%   Places without order leave no grating lobes. Each is drawn, all of the aperture alike, until the
%   element lies within and clear of those before. The flat array lies in the plane z = 0 and
%   radiates towards +z; on a bowl, whose lowest point is the origin, elements look at its centre of
%   curvature, [0 0 R]. The same arguments give the same places in every host, to the last bit.
%
%   Arguments
%     count            number of elements, a whole number, 1 or more
%     aperture_radius  radius of the disc, or of the bowl's rim, in m
%     radius           radius of each element in m
%
%   Options
%     'rad_curvature'  radius of curvature of the bowl in m; default Inf, flat
%     'minimum_gap'    between the rims of two elements in m; default 0
%     'hole_radius'    of a hole in the middle, in m; default 0, none
%     'seed'           a whole number, 0 or more: another one gives other places; default 0
%     'amplitude'      factor of the waveform (surface velocity in m/s), one for all or one for
%                      each; default 1
%
%   Result
%     elements         1 x count structure array (fields as kavro.disc makes them). Random places
%                      cover about half of an aperture at most: what does not fit is an error
%
%   Example: 256 elements on a bowl that focuses at 12 cm
%     elements = kavro.random_array(256, 60e-3, 2.5e-3, 'rad_curvature', 120e-3, ...
%                                   'minimum_gap', 0.2e-3, 'seed', 1);
%     kavro.show_array(elements)
%
%   See also kavro.bowl_array, kavro.focus, kavro.window, kavro.show_array

me = 'random_array';
kavro.internal.check_count(me, nargin, [3 Inf], 'count, aperture_radius, radius and options');
is_amplitude = cellfun(@(name) strcmpi(kavro.internal.to_char(name), 'amplitude'), varargin);
is_amplitude(2:2:end) = false;
of_places = varargin(~(is_amplitude | [false, is_amplitude(1:end - 1)]));
centers = kavro.internal.command('random_array', count, aperture_radius, radius, of_places{:});
options = struct('rad_curvature', Inf, 'minimum_gap', [], 'hole_radius', [], 'seed', [], ...
                 'amplitude', 1);
options = kavro.internal.parse_options(me, options, varargin);
eulers = [0 0 0];
if ~isinf(options.rad_curvature)
    focus = [0 0 double(options.rad_curvature)];
    eulers = kavro.internal.euler_towards(repmat(focus, size(centers, 1), 1) - centers);
end
sizes.radius = radius;
elements = kavro.internal.make_elements('disc', sizes, centers, eulers);
elements = kavro.internal.set_each(me, elements, 'amplitude', 'amplitude', ...
                                   options.amplitude);
end
