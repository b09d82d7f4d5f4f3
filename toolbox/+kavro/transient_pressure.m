function p = transient_pressure(varargin)
% TRANSIENT_PRESSURE  Pressure of an array over time, at every point of a grid.
%
%   p = kavro.transient_pressure(elements, grid, medium, times, ndiv, excitation)
%
%   Computes the pressure that all elements together radiate, with the fast nearfield method
%   and time-space decomposition, in single precision. It is the module's compiled function;
%   this file holds its help.
%
%   Arguments
%     elements    structure array of n discs (kavro.solve with 'fnm_tsd' takes every shape).
%                 See kavro.disc, kavro.linear_array, kavro.planar_array, kavro.ring_array,
%                 kavro.bowl_array
%     grid        points, made by kavro.set_coordinate_grid
%     medium      made by kavro.set_medium. The computation is lossless: it warns when the
%                 attenuation is not zero, and goes on without it
%     times       instants, made by kavro.set_time_samples
%     ndiv        number of quadrature points along half the rim of a disc, rounded up to a
%                 multiple of 4. A disc needs 12 and 2 pi more for each wavelength of its
%                 radius; double it to see whether a result still changes
%     excitation  waveform, made by kavro.set_excitation_function: one for all elements, or
%                 a structure array with one for each
%
%   Result
%     p           pressure in Pa for amplitudes in m/s: nx x ny x nz x ntimes for a regular
%                 grid, npoints x ntimes for a list of points. Points behind an element's face
%                 receive nothing from it
%
%   Two further arguments are accepted: the first of them is deprecated and warns when it is
%   not zero and comes alone, the second is not used.
%
%   Single precision limits what is resolved far out on the axis of a very small disc: there
%   the relative error is about 1e-7 * (distance / radius)^2.
%
%   Results do not depend on the number of threads (OMP_NUM_THREADS, read when the host
%   starts). kavro.progress(true) lets long computations say how far they are.
%
%   Example: a disc of 5 mm radius at 1 MHz, on its axis
%     element = kavro.disc(5e-3);
%     grid = kavro.set_coordinate_grid(0.5e-3, 0, 0, 0, 0, 1e-3, 60e-3);
%     medium = kavro.set_medium('water');
%     times = kavro.set_time_samples(50e-9, 0, 50e-6);
%     excitation = kavro.set_excitation_function('hanning pulse', 1e6, 3e-6);
%     p = kavro.transient_pressure(element, grid, medium, times, 64, excitation);
%     kavro.show_field(p, grid);
%
%   See also kavro.set_coordinate_grid, kavro.set_time_samples, kavro.set_medium,
%   kavro.set_excitation_function, kavro.show_field, kavro.progress, kavro.solve

error('kavro:notBuilt', ...
      ['transient_pressure: the compiled module is not in the folder of this file. Build it ', ...
       'and run the first example with scripts/demo, or build it alone with ', ...
       '''cmake --preset release'' and ''cmake --build --preset release'', from the folder ', ...
       'that holds the toolbox.']);
end
