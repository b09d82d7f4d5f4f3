function set_colors(axis_handle, limits, map)
% SET_COLORS  Give axes a colour map and the values that its two ends stand for.
colormap(axis_handle, map);
caxis(axis_handle, limits);
end
