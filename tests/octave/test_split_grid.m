% Fields computed in parts: joined, they are what one call gives, to the last bit.

%!function run = solver(varargin)
%! % of a grid, with further options
%! e = kavro.linear_array(3, 3e-3, 1e-3);
%! m = kavro.set_medium();
%! t = kavro.set_time_samples(50e-9, 0, 20e-6);
%! x = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%! run = @(g) kavro.solve('fnm_tsd_sse', e, g, m, 'time', t, 'excitation', x, varargin{:});
%!endfunction

%!test  % grids with steps that no binary number meets; the points lie where the module has them
%! run = solver();
%! grids = {kavro.set_coordinate_grid([0.3e-3 0.7e-3 1.1e-3], -3e-3, 3e-3, -1e-3, 2e-3, 1e-3, 12e-3), ...
%!          kavro.set_coordinate_grid([0.1e-3 0 0], -1e-3, 1.05e-3, 0, 0, 7e-3, 7e-3), ...
%!          kavro.set_coordinate_grid([1e-3 * (1:7)', zeros(7, 1), 1e-2 * ones(7, 1)])};
%! for g = grids
%!   p = run(g{1});
%!   assert(max(abs(p(:))) > 0);
%!   for n = [1 2 5 1000]
%!     parts = kavro.split_grid(g{1}, n);
%!     counts = cellfun(@(part) size(part.coordinates, 1), parts);
%!     assert(max(counts) - min(counts) <= 1 && min(counts) > 0);
%!     q = kavro.join_field(cellfun(run, parts, 'UniformOutput', false), g{1});
%!     assert(isequal(q, p));  % sizes too
%!   end
%! end

%!test  % over processes, after the module has computed with threads in this one
%! if isempty(pkg('list', 'parallel'))
%!   disp('test_split_grid: the package parallel is not installed; parcellfun is not tried');
%!   return
%! end
%! pkg('load', 'parallel');
%! g = kavro.set_coordinate_grid([0.3e-3 0 1.1e-3], -3e-3, 3e-3, 0, 0, 1e-3, 12e-3);
%! p = feval(solver('threads', 2), g);
%! fields = parcellfun(2, solver('threads', 1), kavro.split_grid(g, 4), ...
%!                     'UniformOutput', false, 'VerboseLevel', 0);
%! assert(isequal(kavro.join_field(fields, g), p));

%!test  % complex fields of continuous waves, real where they happen to be
%! g = kavro.set_coordinate_grid(1e-3, 0, 1e-3, 0, 0, 1e-3, 2e-3);
%! assert(kavro.join_field({[1; 2j], 3, 4}, g), reshape([1 2j 3 4], 2, 1, 2));

%!test  % what does not fit
%! g = kavro.set_coordinate_grid(zeros(3, 3));
%! fail('kavro.join_field({1, 2}, g)', 'as many rows together as the grid has points, 3');
%! fail('kavro.join_field({[1 2; 1 2], 2}, g)', '1 to 2 columns');
%! fail('kavro.join_field(1, g)', 'must be a cell array of matrices');
%! fail('kavro.split_grid(g, 0)', '''count'' must be a whole number, 1 or more');
%! assert(numel(kavro.split_grid(struct('coordinates', zeros(0, 3)), 4)), 1);
