function radius = curvature(caller, name, radius, rim_radius)
% CURVATURE  Take a bowl's radius of curvature (m), at least the radius of its rim.
radius = kavro.internal.real_number(caller, name, radius, 'positive', 'm');
kavro.internal.check(radius >= rim_radius, caller, name, radius, ...
                     sprintf('at least the radius of the rim, %.6g m', rim_radius));
end
