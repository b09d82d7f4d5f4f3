% CPU time of a call of the module from Octave: scene S2 of the benchmark, its output included.
% The structures are filled by hand, as for the library. Run by scripts/bench --module.

1;  % a script that holds a function

function measure(name, repetitions, work, what)
cpu = zeros(1, repetitions);
for i = 1:repetitions
    q = [];  % the last output is freed before the clock starts
    start = cputime();
    q = work();
    cpu(i) = cputime() - start;
end
printf('%-4s %9.2f %9.2f  %s\n', name, 1e3 * min(cpu), 1e3 * median(cpu), what);
end

repetitions = 21;
addpath(fullfile(fileparts(mfilename('fullpath')), '..', 'toolbox'));

elements = struct('shape', 'disc', 'radius', 5e-3, 'center', [0 0 0], 'euler', [0 0 0]);
dx = 10e-3 / 100;
dz = 59.4e-3 / 100;
% Half a step more, so that the counts do not hang on the last digit.
grid = struct('xmin', 0, 'xmax', 10e-3 + dx / 2, 'ymin', 0, 'ymax', 0, ...
              'zmin', 0.6e-3, 'zmax', 60e-3 + dz / 2, 'delta', [dx 0 dz]);
medium = struct('soundspeed', 1500, 'density', 1000, 'attenuationdBcmMHz', 0, ...
                'powerlawexponent', 0, 'nonlinearityparameter', 0, 'specificheat', 0, ...
                'specificheatofblood', 0, 'thermalconductivity', 0, 'bloodperfusion', 0);
times = struct('tmin', 0, 'tmax', 1440.5 / 32e6, 'deltat', 1 / 32e6);
excitation = struct('type', 2, 'f0', 1e6, 'pulse_width', 3e-6, 'B', 0);

call = @(amplitude) kavro.transient_pressure(setfield(elements, 'amplitude', amplitude), grid, ...
                                            medium, times, 32, excitation);
p = call(1);
assert(isequal(size(p), [101 1 101 1441]) && max(abs(p(:))) > 0);

printf('GNU Octave %s, ms of CPU, fastest and median of %d\n\n', OCTAVE_VERSION(), repetitions);
measure('S2', repetitions, @() call(1), 'through the module');
by_tolerance = @(amplitude) kavro.pressure(setfield(elements, 'amplitude', amplitude), grid, medium, ...
                                           'time', times, 'excitation', excitation);
measure('S2', repetitions, @() by_tolerance(1), 'kavro.pressure, to its tolerance');
% An element of no amplitude is skipped: what is left is the host's making and handing over of the
% output.
measure('S2', repetitions, @() call(0), 'the same without an element: the host alone');
measure('S2', repetitions, @() zeros(size(p)), 'zeros() of that size');

peaks = @() kavro.pressure(elements, grid, medium, 'time', times, 'excitation', excitation, ...
                           'measure', 'peak');
measure('S2', repetitions, peaks, 'kavro.pressure, peaks alone');

% What a call costs by itself: a hundred of them, for a wave at one point.
point = struct('coordinates', [0 0 20e-3]);
waves = @() arrayfun(@(f0) kavro.pressure(elements, point, medium, 'f0', f0), 1e6 * ones(1, 100));
measure('', repetitions, waves, 'a hundred calls of kavro.pressure for a wave at one point');
