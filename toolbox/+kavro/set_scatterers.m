function scatterers = set_scatterers(positions, strengths, varargin)
% SET_SCATTERERS  Describe point scatterers, which send echoes.
%
%   scatterers = kavro.set_scatterers(positions, strengths)
%   scatterers = kavro.set_scatterers(positions, strengths, option, value, ...)
%
%   A scatterer of the strength sigma answers the pressure p(t) that arrives at it with the spherical
%   wave sigma * p(t - r / soundspeed) / r at the distance r. Its scattering cross section is
%   4 * pi * sigma^2.
%
%   Arguments
%     positions  n x 3 matrix: x, y and z of each scatterer in m; n may be 0
%     strengths  sigma in m: n numbers, or one for all. Negative ones answer with the opposite sign
%
%   Options
%     'exponent'             y of strengths that go with the frequency f as (f / f_ref)^y, zero or
%                            positive; 2 for bodies much smaller than the wavelength (Rayleigh),
%                            default 0
%     'reference_frequency'  f_ref in Hz, at which the strengths are what is given; needed where the
%                            exponent is not 0
%
%   Result
%     scatterers  structure with the fields positions (n x 3), strengths (n x 1), exponent and
%                 reference_frequency ([] where there is none)
%
%   Example: three wires' cross sections, and ten thousand grains of tissue around them
%     wires = [-5e-3 0 20e-3; 0 0 30e-3; 5e-3 0 40e-3];
%     grains = [20e-3 * (rand(10000, 1) - 0.5), zeros(10000, 1), 10e-3 + 40e-3 * rand(10000, 1)];
%     scatterers = kavro.set_scatterers([wires; grains], ...
%                                       [1e-4 * ones(3, 1); 1e-6 * randn(10000, 1)], ...
%                                       'exponent', 2, 'reference_frequency', 5e6);
%
%   See also kavro.set_medium, kavro.plane_wave_events, kavro.transducer_response

me = 'set_scatterers';
kavro.internal.check_count(me, nargin, [2 Inf], 'positions, strengths and options');
defaults = struct('exponent', 0, 'reference_frequency', []);
options = kavro.internal.parse_options(me, defaults, varargin);
ok = kavro.internal.is_numbers(positions, [NaN 3]) ...
     || (isnumeric(positions) && isequal(size(positions), [0 3]));
kavro.internal.check(ok, me, 'positions', positions, 'an n x 3 matrix of real numbers (m)');
n = size(positions, 1);
ok = kavro.internal.is_numbers(strengths) && isvector(strengths) && any(numel(strengths) == [1 n]);
kavro.internal.check(ok || (n == 0 && isnumeric(strengths) && isempty(strengths)), me, ...
    'strengths', strengths, sprintf('one real number (m), or a vector of %d, one for each row of %s', ...
                                    n, '''positions'''));
exponent = kavro.internal.real_number(me, 'exponent', options.exponent, 'not negative', '');
f_ref = options.reference_frequency;
if exponent ~= 0 || ~isempty(f_ref)
    f_ref = kavro.internal.real_number(me, 'reference_frequency', f_ref, 'positive', 'Hz');
end
strengths = double(strengths(:));
if isscalar(strengths)
    strengths = repmat(strengths, n, 1);
end
scatterers = struct('positions', double(positions), 'strengths', strengths, ...
                    'exponent', exponent, 'reference_frequency', f_ref);
end
