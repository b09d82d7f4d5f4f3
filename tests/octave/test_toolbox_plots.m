% Tests of the toolbox's drawings: what is drawn is what was given.

%!function [fig, cleanup] = hidden_figure()
%! warning('off', 'Octave:gnuplot-graphics', 'local');
%! fig = figure('visible', 'off');
%! cleanup = onCleanup(@() close(fig));
%!endfunction

%!function text = label(ax, what)
%! text = get(get(ax, what), 'string');
%!endfunction

%!function v = picture(ax)
%! v = get(findobj(ax, 'type', 'image'), 'cdata');
%!endfunction

%!test  % an array is drawn in millimetres, each disc where it is and as large as it is
%! [fig, cleanup] = hidden_figure();
%! e = kavro.linear_array(3, 2e-3, 0.5e-3);
%! ax = kavro.show_array(kavro.set_delays(e, [0 1e-6 3e-6]));
%! faces = findobj(ax, 'type', 'patch');
%! assert(numel(faces), 3);
%! x = sort(cellfun(@(v) (min(v) + max(v)) / 2, get(faces, 'xdata')));
%! assert(x, [-2; 0; 2], 1e-9);
%! assert([max(get(faces(1), 'ydata')), caxis(ax)], [0.5 0 3], 1e-9);
%! assert(rows(unique(cell2mat(get(faces, 'facecolor')), 'rows')), 3);
%! assert(label(ax, 'xlabel'), 'x (mm)');

%!test  % a polygon is drawn from corner to corner, a tilted disc tilted
%! [fig, cleanup] = hidden_figure();
%! ax = kavro.show_array(kavro.polygon([0 0; 2 0; 0 1] * 1e-3, 'center', [1e-3 0 0]));
%! face = findobj(ax, 'type', 'patch');
%! assert([get(face, 'xdata'), get(face, 'ydata')], [1 0; 3 0; 1 1], 1e-9);
%! clf;
%! ax = kavro.show_array(kavro.disc(1e-3, 'euler', [pi / 6 0 0]), 'title', 'one');
%! v = get(findobj(ax, 'type', 'patch'), 'vertices');
%! assert([max(v(:, 1)), max(v(:, 2)), max(v(:, 3))], [cos(pi / 6), 1, 0.5], 1e-9);
%! [~, lowest] = min(v(:, 3));
%! assert(v(lowest, 1) > 0);  % facing +x as well, its lower rim is on that side
%! assert(label(ax, 'title'), 'one');

%!test  % rings are drawn with their hole, bowls as the surfaces they are
%! [fig, cleanup] = hidden_figure();
%! ax = kavro.show_array(kavro.annular_array([1 2; 3 4] * 1e-3));
%! faces = findobj(ax, 'type', 'patch');
%! r = cellfun(@(v) [min(hypot(v(:, 1), v(:, 2))), max(hypot(v(:, 1), v(:, 2)))], ...
%!             get(faces, 'vertices'), 'uniformoutput', false);
%! assert(sortrows(cell2mat(r)), [1 2; 3 4], 1e-9);
%! clf;
%! ax = kavro.show_array([kavro.spherical_shell(3e-3, 5e-3, 'euler', [pi / 2 0 0]), ...
%!                        kavro.spherical_ring(3e-3, 5e-3, 5e-3, 'center', [0 0 9e-3])]);
%! faces = findobj(ax, 'type', 'patch');
%! v = get(faces, 'vertices');
%! [~, turned] = min(cellfun(@(v) mean(v(:, 3)), v));
%! assert(sum((v{turned} - [5 0 0]) .^ 2, 2), 25 * ones(rows(v{turned}), 1), 1e-9);
%! assert([min(v{turned}(:, 1)), max(v{turned}(:, 1))], [0 1], 1e-9);
%! ring = v{3 - turned};
%! assert(sum((ring - [0 0 14]) .^ 2, 2), 25 * ones(rows(ring), 1), 1e-9);
%! assert([min(ring(:, 3)), max(ring(:, 3))], [10 14], 1e-9);

%!test  % peak and snapshots of a plane: values, axes, units, orientation
%! [fig, cleanup] = hidden_figure();
%! grid = kavro.set_coordinate_grid(1e-3, 0, 2e-3, 0, 0, 5e-3, 6e-3);
%! times = kavro.set_time_samples(1e-6, 0, 2e-6);
%! p = reshape(1:18, 3, 1, 2, 3) - 15;
%! ax = kavro.show_field(p, grid);
%! assert({label(ax, 'title'), picture(ax), caxis(ax), get(ax, 'ydir')}, ...
%!        {'Peak pressure', [14 13 12; 11 10 9], [0 14], 'reverse'});
%! assert([xlim(ax), ylim(ax)], [-0.5 2.5 4.5 6.5], 1e-9);
%! assert({label(ax, 'xlabel'), label(ax, 'ylabel')}, {'x (mm)', 'z (mm)'});
%! for option = {{'sample', 3}, {'instant', 1.8e-6, 'time', times}}
%!   clf;
%!   ax = kavro.show_field(1e3 * p, grid, option{1}{:});
%!   assert(picture(ax), [-2 -1 0; 1 2 3], 1e-9);  % in kPa
%!   assert(caxis(ax), [-3 3], 1e-9);
%! end
%! assert(label(ax, 'title'), 'Pressure at 2 \mus');
%! clf;
%! ax = kavro.show_field(p, grid, 'scale', 'db', 'dynamic_range', 20, 'reference', 140);
%! assert(caxis(ax), [-20 0]);
%! assert(picture(ax)(1, 1), -20, 1e-9);
%! assert(get(get(findobj(get(ax, 'parent'), 'tag', 'colorbar'), 'ylabel'), 'string'), ...
%!        'Pressure (dB re 140 Pa)');
%! assert(label(ax, 'title'), 'Peak pressure, 0 dB = 140 Pa');
%! clf;
%! assert(picture(kavro.show_field(squeeze(p), grid)), [14 13 12; 11 10 9]);

%!test  % lines, lists of points, and silence
%! [fig, cleanup] = hidden_figure();
%! curve = @(ax) get(findobj(ax, 'type', 'line'), {'xdata', 'ydata'});
%! line_grid = kavro.set_coordinate_grid(1e-3, 0, 0, 0, 0, 0, 3e-3);
%! ax = kavro.show_field(reshape([1 2 4 3], 1, 1, 4), line_grid);
%! assert(curve(ax), {0:3, [1 2 4 3]});
%! clf;
%! points = kavro.set_coordinate_grid([3e-3 0 1; 1e-3 0 1; 2e-3 0 1]);
%! ax = kavro.show_field([3 0; 1 0; 2 -5], points);
%! assert(curve(ax), {1:3, [1 5 3]});
%! clf;
%! points = kavro.set_coordinate_grid([0 0 1; 1 0 2; 1 0 3] * 1e-3);
%! ax = kavro.show_field([1; 2; 3], points, 'color_bar', false);
%! assert(get(get(ax, 'children'), 'cdata')(:), [1; 2; 3]);
%! clf;
%! ax = kavro.show_field(zeros(1, 1, 4), line_grid, 'scale', 'dB');
%! assert(curve(ax)(2), {-40 * ones(1, 4)});
%! assert(label(ax, 'title'), 'Pressure magnitude, 0 dB = 1 Pa');  % there are no times

%!test  % faults of drawings
%! grid = kavro.set_coordinate_grid(1, 0, 2, 0, 0, 0, 1);
%! p = zeros(3, 1, 2, 4);
%! show = @kavro.show_field;
%! says(@() show(zeros(2, 1, 3, 4), grid), '''p''', '3 x 1 x 2 x ntimes', '2 x 1 x 3 x 4 double');
%! says(@() show(p, 5), '''grid''', 'set_coordinate_grid');
%! says(@() show(complex(p, 1), grid), '''p''', 'abs(p)', 'real(p)', 'complex');
%! says(@() show(p + NaN, grid), '''p''', 'finite', 'NaN at single points');
%! says(@() show(p - Inf, grid), '''p''', 'finite', 'NaN at single points');
%! says(@() show(p, grid, 'color_bar', {1}), '''color_bar''', 'true or false');
%! says(@() show(p, grid, 'sample', 5), '''sample''', 'from 1 to 4', 'it is 5');
%! says(@() show(p, grid, 'instant', 1), '''time''', 'set_time_samples');
%! says(@() show(p, grid, 'time', 3), 'show_field', '''time''', 'set_time_samples', 'it is 3');
%! says(@() show(p, grid, 'instant', 1, 'time', kavro.set_time_samples(1, 0, 9)), ...
%!      '''time''', '4 instants', 'has 10');
%! times = kavro.set_time_samples(1, 0, 3);
%! says(@() show(p, grid, 'instant', 3.6, 'time', times), '''instant''', 'from 0 to 3', '3.6');
%! says(@() show(p, grid, 'instant', 1, 'sample', 1, 'time', times), '''instant''', '''sample''');
%! says(@() show(p, grid, 'show', 'snapshot'), '''show''', '''sample'' or ''instant''');
%! says(@() show(p, grid, 'scale', 'log'), '''scale''', '''dB''', '''log''');
%! says(@() show(zeros(2, 2, 2), kavro.set_coordinate_grid(1, 0, 1, 0, 1, 0, 1)), '''grid''', ...
%!      'differ in 3 coordinates');
%! says(@() kavro.show_array(3), 'show_array', '''elements''');
%! says(@() kavro.show_array(kavro.disc(1), 'color', 'red'), '''color''', '''delay''', '''red''');
