function [rf, report] = pulse_echo(elements, scatterers, medium, varargin)
% PULSE_ECHO  What the channels of an array receive from point scatterers.
%
%   rf = kavro.pulse_echo(elements, scatterers, medium, 'time', times, 'excitation', pulse)
%   S = kavro.pulse_echo(elements, scatterers, medium, 'f0', frequencies)
%   [rf, report] = kavro.pulse_echo(..., option, value, ...)
%
%   Every event, its channels send; a scatterer of the strength sigma answers the pressure p(t) that
%   arrives at it with sigma * p(t - r / c) / r at the distance r; and each channel hears the mean
%   pressure over its faces, as a rigid wall feels it. Exact in the near field, for all shapes,
%   with the medium's losses and dispersion on both ways. Left out are echoes of echoes and those off
%   the faces themselves. Memory does not grow with the number of scatterers.
%
%   Arguments
%     elements    structure array of elements of any shapes; those of one channel are wired
%                 together (kavro.set_channels)
%     scatterers  made by kavro.set_scatterers, or a structure with positions (n x 3, m) and
%                 strengths (n x 1, m)
%     medium      made by kavro.set_medium
%
%   Options
%     'time'         instants, made by kavro.set_time_samples
%     'excitation'   waveform, made by kavro.set_excitation_function
%     'f0'           one or many frequencies in Hz, in place of these two: spectra of waves that go
%                    out as exp(+j 2 pi f0 t), times the elements' amplitudes
%     'events'       transmit events, made by kavro.plane_wave_events, kavro.focused_events or
%                    kavro.synthetic_aperture_events; or by themselves
%     'delays'       events x channels: when each channel fires, in s; NaN: it is silent
%     'apodization'  events x channels: factors of the elements' amplitudes
%                    Default: one event, with the elements' own delays and amplitudes
%     'receivers'    another array, that listens instead; default: the same
%     'response'     impulse response of the transducers in 1/s, which acts on both ways, made by
%                    kavro.transducer_response or of samples by kavro.set_excitation_function; or
%     'transmit_response', 'receive_response'  one for each way
%     'tolerance'    largest error of the quadrature as a share of each element's field at a
%                    scatterer, and of what is left out of the band as a share of the echo: 1e-12 to
%                    0.1; default 1e-3
%     'threads', 'progress'  as kavro.solve has them
%
%   Results
%     rf          ntimes x receiving channels x events, in Pa; S is receiving channels x events x
%                 frequencies, complex, in Pa
%     report      structure
%       first_sample  time of the first sample in s
%       step          between samples in s; NaN where the instants are a list
%       firing_times  events x channels, in s: the delays as they count; NaN: silent. Of elements
%                     that share a channel but not their own delay, the first
%       pulse_delay   the pulse's own delay in s: from its begin to the middle of the energy of its
%                     envelope, responses included. By a scatterer with the delay tau on both ways
%                     the echo is centred at firing time + tau + pulse_delay
%       arrivals      when the first echo begins and the last one ends, in s
%       frequencies   number of frequencies that were summed, first and last in Hz
%       period        of these frequencies in s, their inverse spacing
%       scatterers    their number
%     S comes with firing_times, frequencies and scatterers.
%
%   Time 0 is that of the delays: an undelayed pulse begins then. Nothing is shifted.
%
%   Example: a wire at 20 mm, one plane wave, 64 channels
%     medium = kavro.set_medium();
%     probe = kavro.set_amplitudes(kavro.linear_array(64, 0.3e-3, [0.27e-3 5e-3]), 0.05);
%     wire = kavro.set_scatterers([0 0 20e-3], 1e-4);
%     pulse = kavro.set_excitation_function('hanning pulse', 5e6, 0.6e-6);
%     times = kavro.set_time_samples(20e-9, 25e-6, 35e-6);
%     [rf, report] = kavro.pulse_echo(probe, wire, medium, 'time', times, 'excitation', pulse);
%     plot(1e6 * kavro.time_axis(times), rf(:, 32));
%     fprintf('centred at %.2f us\n', 1e6 * (2 * 20e-3 / medium.soundspeed + report.pulse_delay));
%
%   See also kavro.set_scatterers, kavro.plane_wave_events, kavro.focused_events,
%   kavro.synthetic_aperture_events, kavro.set_channels, kavro.transducer_response, kavro.pressure

me = 'pulse_echo';
kavro.internal.check_count(me, nargin, [3 Inf], 'elements, scatterers, medium and options');
[rf, report] = kavro.internal.command('pulse_echo', elements, scatterers, medium, varargin{:});
end
