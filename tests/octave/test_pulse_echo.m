% Tests of kavro.pulse_echo: against the field by another method, and what belongs to the data.

%!test  % by reciprocity the echo is made of fields, one frequency or many, under a lens as well
%! medium = kavro.set_medium('liver');
%! probe = kavro.linear_array(3, 0.5e-3, [0.4e-3 3e-3], 'elevation_focus', 12e-3, 'wavelength', 1e-3);
%! probe = kavro.set_delays(kavro.set_amplitudes(probe, 0.05), [0 1e-7 3e-7]);
%! wires = kavro.set_scatterers([-2e-3 0 6e-3; 0 1e-3 9e-3; 1e-3 0 12e-3], [1; 2; -1] * 1e-4, ...
%!                              'exponent', 2, 'reference_frequency', 2e6);
%! f0 = [1e6 1.4e6 2e6];
%! medium.referencefrequency = 1.5e6;
%! S = kavro.pulse_echo(probe, wires, medium, 'f0', f0, 'tolerance', 1e-7);
%! assert(size(S), [3 1 3]);
%! points = kavro.set_coordinate_grid(wires.positions);
%! strips = numel(probe) / 3;
%! channel = [probe.channel];
%! assert(strips > 1);
%! A = strips * probe(1).width * probe(1).height;
%! still = kavro.set_delays(kavro.set_amplitudes(probe, 1), 0);
%! for i = 1:3
%!   field = @(e, varargin) kavro.pressure(e, points, medium, 'f0', f0(i), 'tolerance', 1e-7, varargin{:});
%!   P = field(probe);
%!   H = reshape(field(still, 'per_element', true), 3, []);
%!   H = [sum(H(:, channel == 1), 2), sum(H(:, channel == 2), 2), sum(H(:, channel == 3), 2)];
%!   sigma = wires.strengths * (f0(i) / 2e6) ^ 2;
%!   expected = 4 * pi / (2i * pi * f0(i) * medium.density * A) * (H.' * (sigma .* P));
%!   assert(S(:, 1, i), expected, 1e-5 * max(abs(expected)));
%! end

%!test  % events are structures; the second output says when what is
%! medium = kavro.set_medium();
%! probe = kavro.linear_array(4, 0.3e-3, [0.27e-3 1e-3]);
%! events = kavro.focused_events(probe, [0 0 5e-3; 0 0 -5e-3], medium, 'aperture', 2:4);
%! wire = kavro.set_scatterers([0 0 8e-3], 1e-4);
%! pulse = kavro.set_excitation_function('tone burst', 2e6, 1e-6);
%! times = kavro.set_time_samples(50e-9, 10e-6, 14e-6);
%! scene = {probe, wire, medium, 'time', times, 'excitation', pulse};
%! [rf, report] = kavro.pulse_echo(scene{:}, 'events', events);
%! assert(size(rf), [81 4 2]);
%! same = kavro.pulse_echo(scene{:}, 'delays', events.delays, 'apodization', 3 * events.apodization);
%! assert(same, 3 * rf, 1e-12 * max(abs(same(:))));
%! assert({report.firing_times, report.first_sample, report.step}, {events.delays, 10e-6, 50e-9});
%! assert(report.pulse_delay, 0.5e-6, 1e-9);
%! % Before the first arrival and after the last one there is nothing, and in between there is.
%! t = kavro.time_axis(times);
%! first = find(any(any(rf, 2), 3), 1);
%! assert(t(first) >= report.arrivals(1) && t(first) < report.arrivals(1) + 100e-9);
%! % A list of instants, and a coarser axis, have samples of the same signals.
%! list = kavro.set_time_samples(t([30 7 50]));
%! [some, report] = kavro.pulse_echo(probe, wire, medium, 'time', list, 'excitation', pulse, ...
%!                                   'events', events);
%! assert(isnan(report.step) && report.first_sample == t(30));
%! assert(some, rf([30 7 50], :, :), 2e-3 * max(abs(rf(:))));
%! fail('kavro.pulse_echo(probe, wire, medium)', 'time');
