% Tests of channels, lenses, transmit events, scatterers and responses in the toolbox; the numbers are
% compared with those of the Python package, which tests them against physics.

%!function values = of(e, field)
%! values = [e.(field)];
%!endfunction

%!function n = channels_of(e)
%! events = kavro.synthetic_aperture_events(e);
%! n = columns(events.delays);
%!endfunction

%!test  % channels of joined, thinned and numbered elements, and of structures of older versions
%! a = kavro.linear_array(4, 1e-3, 0.4e-3);
%! assert({channels_of(a), channels_of([a(2:3), a(1:2)])}, {4, 4});
%! e = kavro.set_channels(kavro.planar_array([2 3], 1e-3, 0.4e-3), [6 4 5 0 6 4]);
%! assert([channels_of(e), channels_of([e, a]), channels_of(e([1 5 6]))], [4 8 2]);
%! assert(of(kavro.set_delays(e, [1 2 3 4]), 'time_delay'), [3 1 2 4 3 1]);
%! assert(of(kavro.set_amplitudes(e, 1:6), 'amplitude'), 1:6);
%! old = rmfield(a, 'channel');
%! assert(kavro.plane_wave_events(old, 0.1, kavro.set_medium()), ...
%!        kavro.plane_wave_events(a, 0.1, kavro.set_medium()));
%! assert(of(kavro.set_channels(old, 3), 'channel'), [3 3 3 3]);
%! assert(of(kavro.set_phases(old, 1:4), 'phase'), 1:4);

%!test  % a lens goes through the solver and the picture: its focus is where it must be
%! lens = {'elevation_focus', 25e-3, 'wavelength', 0.6e-3};
%! e = kavro.linear_array(8, 0.3e-3, [0.27e-3 9e-3], lens{:});
%! medium = kavro.set_medium();
%! e = kavro.set_phases(e, -2 * pi * 2.5e6 * kavro.focus_delays(e, [0 0 25e-3], medium));
%! across = kavro.set_coordinate_grid(0.25e-3, 0, 0, -4e-3, 4e-3, 25e-3, 25e-3);
%! p = abs(kavro.solve('fnm_cw', e, across, medium, 'f0', 2.5e6))(:);
%! assert(find(p == max(p)), 17);
%! % of a line source's sinc, 1.2067 wavelengths of F over h at half the height
%! y = -4e-3:0.25e-3:4e-3;
%! width = kavro.beam_width(y, p);
%! assert(width, 1.2067 * medium.soundspeed / 2.5e6 * 25 / 9, 1e-2 * width);
%! warning('off', 'Octave:gnuplot-graphics', 'local');
%! fig = figure('visible', 'off');
%! cleanup = onCleanup(@() close(fig));
%! ax = kavro.show_array(e);
%! assert(get(get(ax, 'title'), 'string'), 'Array of 8 channels');
%! patches = findobj(ax, 'type', 'patch');
%! assert([numel(patches), rows(get(patches(1), 'faces'))], [8, 2 * numel(e) / 8]);

%!test  % faults
%! e = kavro.linear_array(4, 1e-3, [0.8e-3 4e-3]);
%! medium = kavro.set_medium();
%! says(@() kavro.set_channels(e, [1 2 3]), '''channels''', 'a vector of 4', '1 x 3 double [1 2 3]');
%! says(@() kavro.set_channels(e, 0.5), '''channels''', 'whole number, 0 or more', 'it is 0.5');
%! says(@() kavro.set_delays(kavro.set_channels(e, [1 1 2 2]), [1 2 3]), '''delays''', ...
%!      '4, one for each element, or of 2, one for each channel');
%! e(2).channel = -1;
%! says(@() kavro.set_delays(e, 0), '''elements(2).channel''', 'whole number, 0 or more');
%! e(2).channel = 0;
%! lens = @(varargin) kavro.linear_array(4, 1e-3, [0.8e-3 4e-3], varargin{:});
%! says(@() lens('elevation_focus', 1e-3, 'wavelength', 1e-3), '''elevation_focus''', ...
%!      'at least half the height, 0.002 m');
%! says(@() lens('elevation_focus', 1e-2), '''wavelength''', 'positive');
%! says(@() lens('wavelength', 1e-3), '''wavelength''', 'together with ''elevation_focus''');
%! says(@() kavro.linear_array(4, 1e-3, 0.4e-3, 'elevation_focus', 1), 'rectangles only');
%! plane = @(varargin) kavro.plane_wave_events(e, [0 0.1], medium, varargin{:});
%! for wrong = {[1 5], [2 2], true(1, 3), false(2, 4), 0.5}
%!   says(@() plane('aperture', wrong{1}), '''aperture''', 'from 1 to 4, or 4 or 2 x 4 logical');
%! end
%! says(@() plane('elevation', [1 2 3]), '''elevation''', 'a vector of 2');
%! says(@() kavro.focused_events(e, [0 0], medium), '''points''', 'n x 3');
%! says(@() kavro.focused_events(e, [0 0 1], medium, 'count', 5), '''count''', 'from 1 to 4');
%! says(@() kavro.focused_events(e, [0 0 1], 3), '''medium''', 'set_medium');
%! says(@() kavro.transducer_response(5e6, 2), '''fractional_bandwidth''', 'between 0 and 2');
%! says(@() kavro.transducer_response(5e6, 1, 'two_way', 2), '''two_way''', 'true or false');

%!test  % scatterers
%! s = kavro.set_scatterers([0 0 1; 0 1 2], single(-1e-4), 'exponent', 2, 'reference_frequency', 5e6);
%! assert({size(s.positions), class(s.strengths), s.exponent}, {[2 3], 'double', 2});
%! assert(size(of(kavro.set_scatterers(zeros(0, 3), []), 'strengths')), [0 1]);
%! says(@() kavro.set_scatterers([0 0 NaN], 1), '''positions''', 'n x 3', 'not finite');
%! says(@() kavro.set_scatterers([0 0 1], [1 2]), '''strengths''', 'a vector of 1, one for each row');
%! says(@() kavro.set_scatterers([0 0 1], Inf), '''strengths''', 'it is Inf');
%! says(@() kavro.set_scatterers([0 0 1], 1, 'exponent', 2), '''reference_frequency''', 'positive');
