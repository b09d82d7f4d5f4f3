function [response, delay] = transducer_response(f0, fractional_bandwidth, varargin)
% TRANSDUCER_RESPONSE  The impulse response of a transducer: a Gaussian pulse.
%
%   response = kavro.transducer_response(f0, fractional_bandwidth)
%   response = kavro.transducer_response(f0, fractional_bandwidth, 'two_way', true)
%   [response, delay] = kavro.transducer_response(...)
%
%   The waveform exp(-(t - delay)^2 / (2 * s^2)) * cos(2 * pi * f0 * (t - delay)), which acts once:
%   on transmit, or on receive. The largest magnitude of its spectrum, the Fourier integral, is 1.
%
%   Arguments
%     f0                    centre frequency in Hz, positive
%     fractional_bandwidth  width of the band over f0, between 0 and 2: from where the spectrum rises
%                           above -6 dB of its largest magnitude to where it falls below. For
%                           bandwidths above 1, which reach down to 0 Hz, s remains that of the
%                           Gaussian of this width
%     'two_way'             false (default): the band is that of the response itself; true: that of
%                           transmit and receive together, in which the response acts twice
%
%   Results
%     response              structure as kavro.set_excitation_function makes it of samples, and one
%                           more field, delay
%     delay                 time in s of the pulse's middle, by which it shifts what it acts on; it
%                           is half the response's length
%
%   Example: a probe of 5 MHz, whose echo has 70 % bandwidth
%     [response, delay] = kavro.transducer_response(5e6, 0.7, 'two_way', true);
%     plot(1e6 * ((0:numel(response.signal) - 1) * response.ts - delay), response.signal);
%
%   See also kavro.set_excitation_function, kavro.set_scatterers

me = 'transducer_response';
kavro.internal.check_count(me, nargin, [2 Inf], 'f0, fractional_bandwidth and options');
f0 = kavro.internal.real_number(me, 'f0', f0, 'positive', 'Hz');
ok = kavro.internal.is_number(fractional_bandwidth) ...
     && fractional_bandwidth > 0 && fractional_bandwidth < 2;
kavro.internal.check(ok, me, 'fractional_bandwidth', fractional_bandwidth, ...
                     'a real number between 0 and 2');
options = kavro.internal.parse_options(me, struct('two_way', false), varargin);
two_way = options.two_way;
ok = (islogical(two_way) || isnumeric(two_way)) && isscalar(two_way) && any(two_way == [0 1]);
kavro.internal.check(ok, me, 'two_way', two_way, 'true or false');

% Standard deviations, in Hz and in s; -6 dB are 10^-0.3, half of that for each of two ways.
of_f = double(fractional_bandwidth) * f0 / 2 / sqrt(2 * log(10 ^ 0.3) / (1 + two_way));
of_t = 1 / (2 * pi * of_f);
% Six deviations to every side, where 1.5e-8 is left.
ts = 1 / (2 * (f0 + 6 * of_f));
steps = ceil(6 * of_t / ts);
t = (-steps:steps) * ts;
% The largest magnitude lies where the parts at f0 and at -f0 together have no slope.
top = f0;
for step = 1:100
    top = f0 * tanh(top * f0 / of_f ^ 2);
end
largest = of_t * sqrt(pi / 2) * sum(exp(-((top + [-f0 f0]) / of_f) .^ 2 / 2));
signal = exp(-(t / of_t) .^ 2 / 2) .* cos(2 * pi * f0 * t) / largest;
response = kavro.set_excitation_function('sampled', signal, ts);
delay = steps * ts;
response.delay = delay;
end
