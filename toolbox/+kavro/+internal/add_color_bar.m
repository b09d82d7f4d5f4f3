function bar = add_color_bar(axis_handle, label)
% ADD_COLOR_BAR  Draw a labelled colour bar beside axes.
bar = colorbar(axis_handle);
ylabel(bar, label);
set(bar, 'fontsize', 11);
end
