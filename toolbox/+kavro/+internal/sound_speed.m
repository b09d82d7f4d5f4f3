function c = sound_speed(caller, medium)
% SOUND_SPEED  The speed of sound (m/s) of the argument 'medium'.
ok = isstruct(medium) && isscalar(medium) && isfield(medium, 'soundspeed');
kavro.internal.check(ok, caller, 'medium', medium, ...
                     'a structure with the field ''soundspeed'', as set_medium makes it');
c = kavro.internal.real_number(caller, 'medium.soundspeed', medium.soundspeed, 'positive', 'm/s');
end
