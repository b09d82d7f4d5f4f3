% Continuous waves at several frequencies.

%!function [e, grid, medium] = scene()
%! medium = kavro.set_medium('liver');
%! medium.referencefrequency = 2e6;
%! e = kavro.linear_array(3, 0.5e-3, [0.45e-3 4e-3]);
%! e = kavro.set_delays(kavro.set_phases(e, [0 0.4 1]), [0 1e-7 2e-7]);
%! grid = kavro.set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 1e-3, 4e-3, 9e-3);
%!endfunction

%!function assert_near(p, q, tolerance)
%! assert(p, q, tolerance * max(abs(q(:))));
%!endfunction

%!test  % every method, one frequency after another or as a comb, the same as one at a time
%! [~, grid, medium] = scene();
%! warning('off', 'all', 'local');
%! methods = kavro.methods();
%! for f0 = {[1e6 1.2e6 2.1e6], (1:5)' * 4e5}
%!   for method = methods(:)'
%!     if ! any(strcmp(method.options, 'f0')) || any(strcmp(method.options, 'kzk'))
%!       continue
%!     end
%!     e = scene();
%!     if ! any(strcmp(method.shapes, 'rect'))
%!       e = kavro.set_phases(kavro.linear_array(2, 3e-3, 1e-3), [0 1]);
%!     end
%!     for exact = [true false]
%!       f = @(e, f0, varargin) kavro.solve(method.name, e, grid, medium, 'f0', f0, ...
%!                                          'exact', exact, varargin{:});
%!       p = f(e, f0{1});
%!       assert(size(p), [5 2 6 numel(f0{1})]);
%!       each = f(e, f0{1}, 'per_element', true);
%!       assert(size(each), [size(p) numel(e)]);
%!       is_comb = strcmp(method.name, 'fnm_cw') && exact && numel(f0{1}) == 5;
%!       for i = 1:numel(f0{1})
%!         % A comb's abscissas are those of its highest frequency.
%!         assert_near(p(:, :, :, i), f(e, f0{1}(i)), 1e-4 * is_comb);
%!         assert_near(each(:, :, :, i, 2), f(e(2), f0{1}(i)), 1e-4 * is_comb);
%!       end
%!     end
%!   end
%! end

%!test  % delays count in kavro.pressure where no phases do, at each frequency; a list; the report
%! [e, grid, medium] = scene();
%! e = kavro.set_phases(e, 0);
%! points = kavro.set_coordinate_grid([0 0 5e-3; 2e-3 1e-3 9e-3]);
%! for f0 = {[1e6 1.2e6 2.1e6], 1e6:2e5:2e6}
%!   [p, report] = kavro.pressure(e, points, medium, 'f0', f0{1}, 'tolerance', 1e-6);
%!   assert(size(p), [2 numel(f0{1})]);
%!   for i = 1:columns(p)
%!     turned = kavro.set_phases(e, -2 * pi * f0{1}(i) * [e.time_delay]);
%!     q = kavro.solve('fnm_cw', turned, points, medium, 'f0', f0{1}(i), 'ndiv', 150);
%!     assert_near(p(:, i), q, 1e-6);
%!   end
%!   assert({report.method, report.tolerance, report.points, report.unreached}, ...
%!          {'fnm_cw', 1e-6, 2, 0});
%! end

%!test  % a spectrum has one speed of sound, by default that of the band's middle
%! [e, grid, medium] = scene();
%! own = rmfield(medium, 'referencefrequency');
%! own.powerlawexponent = 1.4;
%! medium.powerlawexponent = 1.4;
%! for method = {'fnm_cw', 'rayleigh_cw'}
%!   p = @(m) kavro.solve(method{1}, e, grid, m, 'f0', 1e6:5e5:3e6, 'ndiv', 30);
%!   assert(p(own), p(medium));
%! end
%! assert(max(abs(p(own) - p(setfield(medium, 'referencefrequency', 1e6)))(:)) > 0);

%!error <one positive number \(Hz\)\.> kavro.solve('kzk_cw', kavro.disc(5e-3), ...
%!     kavro.set_coordinate_grid(1e-3, 0, 0, 0, 0, 5e-3, 9e-3), kavro.set_medium(), 'f0', [1e6 2e6])
