function Q = heat_rate(p, medium, f0, varargin)
% HEAT_RATE  Heat that a continuous wave leaves in the medium.
%
%   Q = kavro.heat_rate(p, medium, f0)
%   Q = kavro.heat_rate(p, medium, f0, 'harmonics', N)
%   Q = kavro.heat_rate(..., 'law', 'march')
%
%   Q = 2 alpha |p|^2 / (2 density soundspeed): of a plane wave twice alpha times its intensity,
%   and of waves that cross what they lose together at each point. All that is attenuated counts as
%   absorbed. The harmonics of a nonlinear wave each heat by themselves.
%
%   Arguments
%     p            complex pressure of a continuous wave, or its magnitude, in Pa, any size
%     medium       structure made by kavro.set_medium
%     f0           frequency in Hz, of the fundamental
%
%   Options
%     'harmonics'  how many harmonics of f0 the last dimension of p holds, as in the result of
%                  kzk_cw, nx x nz x N; the heat rate is their sum, without that dimension. By
%                  default p is one wave, whatever its size
%     'law'        attenuation alpha at a frequency of f MHz in dB/cm, of which 8.6859 are a neper,
%                  from the medium's attenuation a = attenuationdBcmMHz and exponent y
%                    'power'   a f^y, as in exact continuous waves (default)
%                    'march'   a f0 n^2 for harmonic n: what kzk_cw takes from the wave
%
%   Result
%     Q            heat rate in W/m^3, of the size of p, less the harmonics
%
%   Source
%     W. L. Nyborg, J. Acoust. Soc. Am. 70, 310 (1981).
%
%   Example
%     liver = kavro.set_medium('liver');
%     bowl = kavro.spherical_shell(20e-3, 60e-3, 'amplitude', 0.1);
%     grid = kavro.set_coordinate_grid([1e-3 1 1e-3], 0, 10e-3, 0, 0, 40e-3, 75e-3);
%     p = kavro.pressure(bowl, grid, liver, 'f0', 1e6);
%     Q = kavro.heat_rate(p, liver, 1e6);
%     fprintf('%.2g W/cm^3\n', 1e-6 * max(Q(:)));
%
%   See also kavro.bioheat, kavro.thermal_dose, kavro.pressure, kavro.solve

me = 'heat_rate';
kavro.internal.check_count(me, nargin, [3 Inf], 'p, medium, f0 and options');
options = struct('harmonics', [], 'law', 'power');
options = kavro.internal.parse_options(me, options, varargin);
kavro.internal.check(isnumeric(p), me, 'p', p, 'numbers, real or complex (Pa)');
fields = {'density', 'soundspeed', 'attenuationdBcmMHz', 'powerlawexponent'};
ok = isstruct(medium) && isscalar(medium) && all(isfield(medium, fields));
kavro.internal.check(ok, me, 'medium', medium, 'a structure made by set_medium');
megahertz = 1e-6 * kavro.internal.real_number(me, 'f0', f0, 'positive', 'Hz');
law = kavro.internal.choose(me, 'law', options.law, {'power', 'march'});
dims = size(p);
N = 1;
if ~isempty(options.harmonics)
    N = kavro.internal.whole_number(me, 'harmonics', options.harmonics, [1 Inf]);
    if N > 1
        kavro.internal.check(dims(end) == N, me, 'p', p, ...
                             sprintf('of %d harmonics along its last dimension', N));
        dims = [dims(1:end - 1), 1];
    end
end
n = 1:N;
if strcmp(law, 'march')
    decibels = medium.attenuationdBcmMHz * megahertz * n .^ 2;
else
    y = medium.powerlawexponent + (medium.powerlawexponent == 0);
    decibels = medium.attenuationdBcmMHz * (megahertz * n) .^ y;
end
alpha = 100 * decibels * log(10) / 20;
intensity = abs(double(reshape(p, [], N))) .^ 2 / (2 * medium.density * medium.soundspeed);
Q = reshape(intensity * (2 * alpha(:)), dims);
end
