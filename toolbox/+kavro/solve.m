function p = solve(varargin)
% SOLVE  Field of an array by any of the library's methods.
%
%   p = kavro.solve(method, elements, grid, medium, option, value, ...)
%   [p, report] = kavro.solve(...)
%   [p, v, report] = kavro.solve('fnm_cw', ..., 'velocity', true)
%
%   Adds up what all elements radiate at every point, by the method of the given name.
%   kavro.methods shows the methods, the shapes that offer each, and the options that each
%   takes. It is a compiled function; this file holds its help.
%
%   Arguments
%     method    name of a method, such as 'fnm_cw'
%     elements  structure array of n elements of any shapes: kavro.disc and the other makers.
%               Amplitude counts in every pressure; phase (rad, 0 where there is no such field)
%               in continuous waves, time_delay (s) in everything over time. The field
%               apodization, where it is there and not empty, takes the place of the option
%     grid      points, made by kavro.set_coordinate_grid
%     medium    made by kavro.set_medium. Continuous waves and the kzk methods count its
%               attenuation; the other methods warn when it is not zero, and go on without it
%
%   Options, in any order; one that the method does not use is an error
%     'time'         instants, made by kavro.set_time_samples
%     'excitation'   waveform, made by kavro.set_excitation_function: one for all elements, or
%                    a structure array with one for each. fnm_fdtsd needs sampled waveforms,
%                    kzk_transient pulses
%     'f0'           frequency in Hz of a continuous wave; may be left out where the medium has
%                    a field f0. A vector: the field at each frequency, along one more dimension;
%                    not for kzk_cw. Equally spaced ones take fnm_cw a fraction of the time
%     'tolerance'    fast nearfield methods but the apodized one: each point takes as many
%                    abscissas as keep the quadrature's error below this share of each
%                    element's field there; 1e-12 (1e-5 in single precision) to 0.1. Default,
%                    unless 'ndiv' is given: 1e-4 for continuous waves, 1e-3 over time
%     'ndiv'         instead, for all points: number of quadrature points along half a rim, an edge, or (Rayleigh) each
%                    direction of the face. A whole number; its default is that of the method,
%                    see kavro.methods: 64 for continuous waves and 32 for transients, enough
%                    for radii of eight and three wavelengths. docs/methods.md says how many a
%                    larger element needs. Double it to see whether a result still changes.
%                    Methods whose name ends in sse or sse2 take points by fours and round ndiv
%                    up to a multiple of 4
%     'apodization'  how the apodized methods weight a face along its radius: 'uniform'
%                    (default), 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its
%                    number 0 to 4
%     'kzk'          parameters of a nonlinear method. Chosen where it is left out, as by
%                    kavro.kzk_parameters, or for the fields accuracy and harmonics where the
%                    structure has no others; needed where 'exact' is false. All fields are
%                    needed unless a default is given
%                      extent             radius within which results are wanted, in source
%                                         radii, a whole number
%                      points_per_radius  radial grid points in a source radius
%                      step               kzk_transient: longest step along z, in Rayleigh
%                                         distances of a disc or radii of curvature of a shell
%                      implicit           kzk_transient: a scheme that damps what it cannot
%                                         follow (true, default) or Crank-Nicolson (false)
%                      diffraction        kzk_transient: false for a plane wave; default true
%                      growth             kzk_cw: longest step along z, over the square of
%                                         1 + z, both as for step
%                      harmonics          kzk_cw: number of harmonics, a whole number
%                      source_phase       kzk_cw, disc alone, where 'exact' is false: march on a
%                                         grid that widens with the beam; the field is the same
%                                         disc's. Default false
%     'measure'      over time: what is kept of the field instead of the field, which needs the
%                    memory of the points only. 'peak' (largest |p|), 'peak_positive',
%                    'peak_negative' (smallest p), 'energy' (integral of p^2 dt, Pa^2 s), 'rms',
%                    'time_of_peak' (s), or a cell array of some: then a structure with a field
%                    for each. Bit for bit what the field's own would be
%     'per_element'  true: the field of each element by itself, along one more dimension; false
%                    (default): their sum
%     'velocity'     fnm_cw. true: the second result is the particle velocity, and the report
%                    the third; false (default): no velocity. The tolerance goes for both
%     'threads'      number of threads of this call; default as kavro.threads says
%     'exact'        true (default): the physically exact result. false: the library's
%                    reference behaviour with its deliberate oddities. It decides about
%                    elements and waveforms; where it is not given, a waveform whose
%                    decomposition is 'reference' keeps it. docs/reference_and_exact.md lists
%                    the differences
%     'progress'     true: a line that says how much is done. A function handle: it is called
%                    with the fraction done, about once for each percent and last with 1; its
%                    errors end the call. Default false, or what kavro.progress says
%
%   Result
%     fnm_..., rayleigh_... over time   pressure in Pa: nx x ny x nz x ntimes for a regular
%                                       grid, npoints x ntimes for a list of points
%     impulse_response                  the same form; m/s, times the amplitude
%     continuous waves (..._cw...)      complex pressure in Pa, nx x ny x nz or npoints x 1;
%                                       its time dependence is exp(+j 2 pi f0 t). With nf
%                                       frequencies nx x ny x nz x nf or npoints x nf
%     with 'velocity'                   complex particle velocity v in m/s, the components along
%                                       x, y and z in one more dimension: nx x ny x nz x 3 or
%                                       npoints x 3. 'per_element' comes after it
%     impulse_begin_and_end_times       n x 2, when the first and the last of each element's
%                                       impulse response arrives at any of the points, s
%     with 'measure'                    the same without ntimes; npoints x 1 for a list
%     kzk_transient                     pressure in Pa, nx x nz x ntimes
%     kzk_cw                            complex pressure in Pa, nx x nz x harmonics; harmonic n
%                                       goes with exp(+j 2 pi n f0 t), as in the other
%                                       continuous waves. ('exact', false: the conjugate, its
%                                       phase counted from a plane wave along z)
%
%   The report is a structure: method, tolerance, abscissas (fewest, mean, most), points,
%   unreached, worst_error, worst_point (m), reason; see kavro.pressure.
%
%   The nonlinear methods march from an element that stands at the origin and faces +z. They
%   need a regular grid with one value of y, and kzk_transient a time axis that lasts until the
%   wave has come to the farthest plane; where the axis begins does not matter. With 'exact' false,
%   planes are spread evenly from zmin to zmax and points from xmin to xmax, and what a wave has
%   before the time axis begins is lost. Results of several elements are added, although nonlinear
%   fields do not add up: a second element is a comparison, not an array.
%
%   Results do not depend on the number of threads.
%
%   Example: transient pressure of a pair of discs, in double precision
%     elements = kavro.linear_array(2, 5e-3, 2e-3);
%     grid = kavro.set_coordinate_grid(1e-3, -10e-3, 10e-3, 0, 0, 2e-3, 30e-3);
%     medium = kavro.set_medium('water');
%     times = kavro.set_time_samples(50e-9, 0, 30e-6);
%     pulse = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%     p = kavro.solve('fnm_tsd', elements, grid, medium, 'time', times, 'excitation', pulse);
%     kavro.show_field(p, grid);
%
%   Example: continuous wave of a focused array
%     f0 = 1e6;
%     medium = kavro.set_medium('water');
%     elements = kavro.linear_array(16, 1e-3, 0.4e-3);
%     delays = kavro.focus_delays(elements, [0 0 15e-3], medium);
%     elements = kavro.set_phases(elements, -2 * pi * f0 * delays);
%     grid = kavro.set_coordinate_grid(0.5e-3, -8e-3, 8e-3, 0, 0, 2e-3, 25e-3);
%     p = kavro.solve('fnm_cw', elements, grid, medium, 'f0', f0);
%     kavro.show_field(abs(p), grid, 'scale', 'dB');
%
%   Example: when a disc's wave arrives at a point, and its impulse response there
%     disc = kavro.disc(5e-3);
%     medium = kavro.set_medium('water');
%     point = kavro.set_coordinate_grid([3e-3 0 20e-3]);
%     span = kavro.solve('impulse_begin_and_end_times', disc, point, medium);
%     times = kavro.set_time_samples(5e-9, span(1), span(2));
%     h = kavro.solve('impulse_response', disc, point, medium, 'time', times);
%     plot(1e6 * kavro.time_axis(times), h);
%
%   Example: three harmonics of a disc of 100 kPa, along its axis
%     medium = kavro.set_medium('water');
%     disc = kavro.disc(5e-3, 'amplitude', 100e3 / (medium.density * medium.soundspeed));
%     grid = kavro.set_coordinate_grid([1e-3 0 1e-3], 0, 5e-3, 0, 0, 5e-3, 60e-3);
%     p = kavro.solve('kzk_cw', disc, grid, medium, 'f0', 1e6);
%     semilogy(squeeze(abs(p(1, :, 1:3))));
%
%   See also kavro.methods, kavro.kzk_parameters, kavro.split_grid, kavro.set_phases, kavro.transient_pressure,
%   kavro.set_coordinate_grid, kavro.set_medium

error('kavro:notBuilt', ...
      ['solve: the compiled module is not in the folder of this file. Build it and run the ', ...
       'first example with scripts/demo, or build it alone with ''cmake --preset release'' ', ...
       'and ''cmake --build --preset release'', from the folder that holds the toolbox.']);
end
