function map = sequential_colors(n)
% SEQUENTIAL_COLORS  The host's own map of evenly rising lightness, n x 3.
if exist('OCTAVE_VERSION', 'builtin')
    map = viridis(n);
else
    map = parula(n);
end
end
