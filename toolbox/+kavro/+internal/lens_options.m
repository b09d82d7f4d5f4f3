function options = lens_options(caller, args)
% LENS_OPTIONS  The options of an array: its amplitudes, and its elevation lens, for ADD_LENS.
options = kavro.internal.parse_options( ...
    caller, struct('elevation_focus', [], 'wavelength', [], 'amplitude', 1), args);
end
