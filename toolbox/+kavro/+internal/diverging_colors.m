function map = diverging_colors(n)
% DIVERGING_COLORS  A colour map from dark blue over white to dark red, n x 3.
stops = [0.02 0.19 0.38; 0.26 0.58 0.76; 0.97 0.97 0.97; 0.84 0.38 0.30; 0.40 0.00 0.12];
map = interp1(linspace(0, 1, 5), stops, linspace(0, 1, n));
end
