% Tests of the names of shapes: one list for makers, tables and messages, and its short forms.

%!function list = names()
%! list = {'disc', 'circ'; 'ring', 'ring'; 'rectangle', 'rect'; 'spherical shell', 'shel'; ...
%!         'spherical ring', 'sph ring'; 'polygon', 'poly'};
%!endfunction

%!function elements = one_of_each()
%! at = @(x) {'center', [x 0 0]};
%! elements = [kavro.disc(1e-3, at(0){:}), kavro.ring(1e-3, 2e-3, at(5e-3){:}), ...
%!             kavro.rectangular_piston(1e-3, 2e-3, at(1e-2){:}), ...
%!             kavro.spherical_shell(2e-3, 9e-3, at(15e-3){:}), ...
%!             kavro.spherical_ring(1e-3, 2e-3, 9e-3, at(2e-2){:}), ...
%!             kavro.polygon([0 0; 2 0; 0 3] * 1e-3, at(25e-3){:})];
%!endfunction

%!test  % makers write the names; tables list them
%! e = one_of_each();
%! list = names();
%! assert({e.shape}, list(:, 1).');
%! method = kavro.methods('fnm_cw');
%! assert(method.shapes, list(:, 1).');
%! e = [kavro.linear_array(1, 2, 1), kavro.ring_array(2, 2, 1), kavro.random_array(1, 2, 1)];
%! assert({e.shape}, {'disc', 'disc', 'disc', 'disc'});

%!test  % short forms mean the same everywhere: fields, arrays, places, drawings
%! e = one_of_each();
%! short = e;
%! list = names();
%! [short.shape] = list{:, 2};
%! grid = kavro.set_coordinate_grid([1e-3 2e-3 2e-2]);
%! medium = kavro.set_medium();
%! wave = @(e) kavro.solve('fnm_cw', e, grid, medium, 'f0', 1e6);
%! assert(wave(short), wave(e));
%! assert(wave([short, e]), 2 * wave(e), 1e-13 * abs(wave(e)));
%! delays = @(e) kavro.focus_delays(e, [0 0 3e-2], medium);
%! assert(delays(short), delays(e));
%! one = kavro.set_excitation_function('tone burst', 1e6, 2e-6);
%! times = kavro.set_time_samples(1e-7, 1e-5, 3e-5);
%! over_time = @(e) kavro.transient_pressure(e, grid, medium, times, 8, one);
%! p = over_time(e(1));
%! assert(any(p(:)) && isequal(over_time(short(1)), p));
%! for i = 1:6
%!     [v, ~, rims] = kavro.internal.element_surface('show_array', e(i));
%!     [w, ~, others] = kavro.internal.element_surface('show_array', short(i));
%!     assert({w, others}, {v, rims});
%! end
%! for shape = {'spherical shell', 'shel'}  % of which the single-precision method is not there
%!     f = setfield(e(4), 'shape', shape{1});
%!     fail('p = over_time(f);', 'This function is not implemented for this transducer shape');
%! end
