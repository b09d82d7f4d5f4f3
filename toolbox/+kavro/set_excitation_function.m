function excitation = set_excitation_function(kind, varargin)
% SET_EXCITATION_FUNCTION  Describe the waveform that drives the elements.
%
%   excitation = kavro.set_excitation_function('tone burst', f0, pulse_width)
%   excitation = kavro.set_excitation_function('hanning pulse', f0, pulse_width)
%   excitation = kavro.set_excitation_function('t cubed pulse', f0, pulse_width, B)
%   excitation = kavro.set_excitation_function('sampled', signal, ts)
%   excitation = kavro.set_excitation_function('sampled', signal, ts, w)
%   excitation = kavro.set_excitation_function('sampled', signal, ts, w, clip_threshold)
%   excitation = kavro.set_excitation_function(..., 'decomposition', 'reference')
%
%   The waveform v(t) is the normal velocity of an element's face, to be multiplied by the
%   element's amplitude; with v dimensionless and the amplitude in m/s, pressures are in Pa.
%   Every waveform is zero outside 0 <= t <= its width. Capitals in a kind do not matter.
%
%     'tone burst'     sin(2 pi f0 t)
%     'hanning pulse'  sin(2 pi f0 t) (1 - cos(2 pi t / pulse_width)) / 2
%     't cubed pulse'  t^3 exp(-B t) sin(2 pi f0 t), whose scale is s^3: very small numbers
%     'sampled'        the Fourier series through the samples of signal, signal(1) at t = 0
%
%   Arguments
%     f0              centre frequency in Hz, positive
%     pulse_width     length of the pulse in s, positive
%     B               decay rate in 1/s, zero or positive
%     signal          vector of at least two real samples; a signal that does not begin and
%                     end near zero rings between its samples
%     ts              time between two samples in s, positive
%     w               length of the waveform in s; by default (numel(signal) - 1) * ts, so that
%                     it ends with its last sample. The series has the period
%                     numel(signal) * ts: a longer w repeats the signal
%     clip_threshold  which Fourier terms to keep, to save time: those whose magnitude is above
%                     this share of the largest. 0, the default, keeps all; a negative number
%                     is a level in dB and stands for 10^(clip_threshold/10)
%     'decomposition' 'exact' (default) or 'reference'. 'reference' keeps the solver's
%                     reference behaviour for sampled waveforms (its decomposition adds an
%                     advanced wave), t-cubed pulses (the decay is taken from the first time
%                     sample) and tone bursts (single precision, incomplete groups of four
%                     samples), for those who must reproduce older results
%
%   Result
%     excitation      structure for the module: type, f0, pulse_width and B, or signal, ts, w
%                     and clip_threshold; and decomposition. One structure drives all elements;
%                     a structure array, one entry for each element, drives each by its own
%                     (all sampled, or none)
%
%   Example
%     excitation = kavro.set_excitation_function('hanning pulse', 2e6, 1.5e-6);
%
%   See also kavro.set_delays, kavro.set_amplitudes, kavro.transient_pressure, kavro.solve

me = 'set_excitation_function';
kinds = {'tone burst', 'hanning pulse', 't cubed pulse', 'sampled'};
kavro.internal.check_count(me, nargin, [1 Inf], 'kind and what it needs');
kind = kavro.internal.choose(me, 'kind', kind, kinds);
[values, decomposition] = split_arguments(me, varargin);
if strcmp(kind, 'sampled')
    excitation = sampled(me, values);
else
    excitation = analytic(me, kind, find(strcmp(kind, kinds)), values);
end
excitation.decomposition = decomposition;
end

function [values, decomposition] = split_arguments(me, args)
% Values come first, options start at the first text.
is_option = cellfun(@(a) kavro.internal.is_text(kavro.internal.to_char(a)), args);
first = find([is_option, true], 1);
values = args(1:first - 1);
options = struct('decomposition', 'exact');
options = kavro.internal.parse_options(me, options, args(first:end));
decomposition = kavro.internal.choose(me, 'decomposition', options.decomposition, ...
                                      {'exact', 'reference'});
end

function excitation = analytic(me, kind, type, values)
names = {'f0', 'pulse_width', 'B'};
names = names(1:2 + strcmp(kind, 't cubed pulse'));
check_values(me, kind, values, names, numel(names));
f0 = kavro.internal.real_number(me, 'f0', values{1}, 'positive', 'Hz');
pulse_width = kavro.internal.real_number(me, 'pulse_width', values{2}, 'positive', 's');
B = 0;
if numel(names) == 3
    B = kavro.internal.real_number(me, 'B', values{3}, 'not negative', '1/s');
end
excitation = struct('type', type, 'f0', f0, 'pulse_width', pulse_width, 'B', B);
end

function excitation = sampled(me, values)
check_values(me, 'sampled', values, {'signal', 'ts', 'w', 'clip_threshold'}, 2);
signal = values{1};
ok = kavro.internal.is_numbers(signal) && isvector(signal) && numel(signal) >= 2;
kavro.internal.check(ok, me, 'signal', signal, 'a vector of two or more real numbers');
ts = kavro.internal.real_number(me, 'ts', values{2}, 'positive', 's');
w = (numel(signal) - 1) * ts;
clip_threshold = 0;
if numel(values) > 2
    w = kavro.internal.real_number(me, 'w', values{3}, 'positive', 's');
end
if numel(values) > 3
    ok = kavro.internal.is_number(values{4}) && values{4} < 1;
    kavro.internal.check(ok, me, 'clip_threshold', values{4}, 'a real number below 1');
    clip_threshold = double(values{4});
end
excitation = struct('signal', double(signal(:).'), 'ts', ts, 'w', w, ...
                    'clip_threshold', clip_threshold);
end

function check_values(me, kind, values, names, least)
n = numel(values);
if n < least
    error('kavro:argument', '%s: ''%s'' must be given for the kind ''%s''.', ...
          me, names{n + 1}, kind);
elseif n > numel(names)
    error('kavro:argument', '%s: the kind ''%s'' takes %d values (%s), but it got %d.', ...
          me, kind, numel(names), strjoin(names, ', '), n);
end
end
