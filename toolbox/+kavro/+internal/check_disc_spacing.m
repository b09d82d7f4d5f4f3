function check_disc_spacing(caller, pitch, radius)
% CHECK_DISC_SPACING  Stop when neighbouring discs would overlap; touching is allowed.
kavro.internal.check(all(pitch(:) >= 2 * radius * (1 - 1e-12)), caller, 'pitch', pitch, ...
      sprintf('at least the diameter %.6g m, so that the discs do not overlap', 2 * radius));
end
