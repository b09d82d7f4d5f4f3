function medium = set_medium(varargin)
% SET_MEDIUM  Describe the medium that carries the sound.
%
%   medium = kavro.set_medium()
%   medium = kavro.set_medium(name)
%   medium = kavro.set_medium('water', 'temperature', T)
%   medium = kavro.set_medium('lossy water', 'temperature', T)
%   medium = kavro.set_medium(..., field, value, ...)
%
%   Without a name the medium is water at 20 degrees Celsius. A field given by name and value
%   takes the place of the named medium's own.
%
%     name           soundspeed  density  attenuation   exponent  beta
%                    m/s         kg/m^3   dB/cm at 1 MHz
%     'water'        1482.4      998.2    0             2         3.5
%     'lossy water'  1482.4      998.2    0.0022        2         3.5
%     'blood'        1584        1060     0.14          1.21      4.0
%     'fat'          1430        928      0.6           1         6.15
%     'liver'        1578        1050     0.45          1.05      4.38
%     'muscle'       1580        1041     0.57          1         4.72
%
%   Fields of the result, all scalars
%     soundspeed             m/s, positive
%     density                kg/m^3, positive
%     attenuationdBcmMHz     dB/(cm MHz^y), zero or positive
%     powerlawexponent       y, exponent of frequency in the attenuation, zero or positive
%     nonlinearityparameter  beta = 1 + B/(2A), no unit
%     specificheat           J/(kg K), of the medium
%     specificheatofblood    J/(kg K)
%     thermalconductivity    W/(m K)
%     bloodperfusion         kg/(m^3 s); 0 in every named medium
%     referencefrequency     Hz, positive: where the phase speed is soundspeed. Only where it is
%                            given; by default that is the waveform's centre frequency, of a
%                            continuous wave its own, of several the middle
%
%   The attenuation a = attenuationdBcmMHz counts in dB/cm, at a frequency of f MHz, as
%     a * f^y                in fnm_spectral and exact continuous waves, 0 < y <= 2
%     a * f                  in continuous waves that are not exact
%     a * f0 * (f / f0)^2    in kzk_cw and kzk_transient, driven at f0: harmonic n has n^2 times
%                            the losses of the fundamental
%     0                      in the other linear methods over time, which warn when it is not zero
%   That of 'water' is therefore 0; 'lossy water' has what is measured, for fnm_spectral and exact
%   continuous waves. For a nonlinear method at f0 (Hz), give 'water' the attenuation
%   0.0022e-6 * f0. The nonlinear methods read the nonlinearity parameter, and
%   kavro.bioheat the heat and blood fields; kavro.solve reads none of them, but they must be there.
%
%   Argument
%     T  temperature of water in degrees Celsius, 0 to 95; sets soundspeed and density. The
%        attenuation of lossy water is that at 20 degrees
%
%   Sources
%     Water, sound speed: W. Marczak, J. Acoust. Soc. Am. 102, 2776 (1997). Density: G. S.
%     Kell, J. Chem. Eng. Data 20, 97 (1975). Attenuation: J. M. M. Pinkerton, Proc. Phys.
%     Soc. B 62, 129 (1949). Nonlinearity (B/A = 5.0): R. T. Beyer, J. Acoust. Soc. Am. 32,
%     719 (1960). Heat, at 20 degrees: CRC Handbook of Chemistry and Physics.
%     Tissues, acoustic values: T. L. Szabo, Diagnostic Ultrasound Imaging: Inside Out,
%     appendix B. Heat: tissue properties database of the IT'IS Foundation.
%
%   Example
%     medium = kavro.set_medium('water', 'temperature', 37);
%     fprintf('%.1f m/s\n', medium.soundspeed);
%
%   See also kavro.bioheat, kavro.focus_delays, kavro.transient_pressure, kavro.solve

me = 'set_medium';
names = {'water', 'lossy water', 'blood', 'fat', 'liver', 'muscle'};
name = 'water';
if mod(nargin, 2) == 1
    name = kavro.internal.choose(me, 'name', varargin{1}, names);
    varargin(1) = [];
end
medium = named_medium(name);
fields = [fieldnames(medium); {'referencefrequency'}];
options = cell2struct(cell(numel(fields), 1), fields);
if any(strcmp(name, {'water', 'lossy water'}))
    options.temperature = 20;
    options = kavro.internal.parse_options(me, options, varargin);
    medium = set_water_temperature(me, medium, options.temperature);
else
    options = kavro.internal.parse_options(me, options, varargin);
end
given = lower(cellfun(@kavro.internal.to_char, varargin(1:2:end), 'UniformOutput', false));
for i = 1:numel(fields)
    if any(strcmp(lower(fields{i}), given))
        medium.(fields{i}) = checked_field(me, fields{i}, options.(fields{i}));
    end
end
end

function value = checked_field(me, field, value)
rules = {'not negative', 'positive'};
rule = rules{1 + any(strcmp(field, {'soundspeed', 'density', 'referencefrequency'}))};
value = kavro.internal.real_number(me, field, value, rule, '');
end

function medium = named_medium(name)
% soundspeed, density, attenuation, exponent, B/A, specific heat, thermal conductivity
switch name
    case 'water'
        v = [0, 0, 0, 2, 5.0, 4182, 0.598];  % speed and density follow from the temperature
    case 'lossy water'
        v = [0, 0, 0.0022, 2, 5.0, 4182, 0.598];
    case 'blood'
        v = [1584, 1060, 0.14, 1.21, 6, 3617, 0.52];
    case 'fat'
        v = [1430, 928, 0.6, 1, 10.3, 2348, 0.21];
    case 'liver'
        v = [1578, 1050, 0.45, 1.05, 6.75, 3540, 0.52];
    case 'muscle'
        v = [1580, 1041, 0.57, 1, 7.43, 3421, 0.49];
end
medium = struct('soundspeed', v(1), 'density', v(2), 'attenuationdBcmMHz', v(3), ...
                'powerlawexponent', v(4), 'nonlinearityparameter', 1 + v(5) / 2, ...
                'specificheat', v(6), 'specificheatofblood', 3617, ...
                'thermalconductivity', v(7), 'bloodperfusion', 0);
end

function medium = set_water_temperature(me, medium, T)
ok = kavro.internal.is_number(T) && T >= 0 && T <= 95;
kavro.internal.check(ok, me, 'temperature', T, 'a real number from 0 to 95 (degrees Celsius)');
T = double(T);
medium.soundspeed = polyval([2.787860e-9, -1.398845e-6, 3.287156e-4, -5.799136e-2, ...
                             5.038813, 1402.385], T);
medium.density = polyval([-280.54253e-12, 105.56302e-9, -46.170461e-6, -7.9870401e-3, ...
                          16.945176, 999.83952], T) / (1 + 16.879850e-3 * T);
end
