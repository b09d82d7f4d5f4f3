function check_spacing(caller, pitch, shape, extent)
% CHECK_SPACING  Stop when neighbouring elements would overlap; touching is allowed.
%   pitch and extent are along x, or along x and y (m).
if strcmp(shape, 'disc')
    kavro.internal.check_disc_spacing(caller, pitch, extent(1) / 2);
    return
end
extent = extent(1:numel(pitch));
kavro.internal.check(all(pitch(:).' >= extent * (1 - 1e-12)), caller, 'pitch', pitch, ...
      sprintf('at least the size [%s] m, so that the rectangles do not overlap', ...
              strtrim(sprintf('%.6g ', extent))));
end
