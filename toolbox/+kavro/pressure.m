function [p, varargout] = pressure(elements, grid, medium, varargin)
% PRESSURE  Pressure of an array at every point, to an accuracy.
%
%   p = kavro.pressure(elements, grid, medium, 'f0', f0)
%   p = kavro.pressure(elements, grid, medium, 'time', times, 'excitation', excitation)
%   [p, report] = kavro.pressure(..., option, value, ...)
%   [p, v, report] = kavro.pressure(..., 'f0', f0, 'velocity', true)
%
%   The one call for most questions. With 'f0' the field is a continuous wave, with 'time' and
%   'excitation' a wave over time. The method and its precision follow from what is asked:
%   continuous waves and waves over time go by the fast nearfield method, over time in single
%   precision where its rounding stays well below the tolerance, and by frequencies in a medium
%   with losses or for a long sampled waveform. The choice is one for all points of a call: where you split a grid, name a
%   method. kavro.solve computes by a method of your choice.
%
%   Arguments
%     elements      structure array of elements of any shapes. Amplitudes, phases and delays
%                   count; in a continuous wave whose elements all have the phase 0 a delay T
%                   counts as the phase -2 pi f0 T, at each frequency f0
%     grid          points, made by kavro.set_coordinate_grid
%     medium        made by kavro.set_medium
%
%   Options
%     'f0'          frequency in Hz of a continuous wave, or a vector of them
%     'time'        instants, made by kavro.set_time_samples or kavro.fit_time_samples
%     'excitation'  waveform, made by kavro.set_excitation_function: one for all elements, or one
%                   for each
%     'tolerance'   the quadrature's error stays below this share of each element's field at
%                   every point: 1e-12 to 0.1; default 1e-4 for continuous waves and 1e-3 over
%                   time. Where that cannot be kept, a warning says where and why
%     'velocity'    of continuous waves, true: the particle velocity, too (default false)
%     'measure', 'per_element', 'threads', 'progress' and others: see kavro.solve
%
%   Results
%     p             nx x ny x nz for a regular grid or npoints x 1 for a list, complex (Pa, for
%                   exp(+j 2 pi f0 t)), with one more dimension where f0 is a vector; over time
%                   one more dimension of ntimes, real (Pa)
%     v             the particle velocity in m/s: components along x, y and z in one more
%                   dimension, nx x ny x nz x 3 or npoints x 3
%     report        structure: method; tolerance; abscissas, the fewest, the mean and the most of
%                   a rim or a piece of an edge; points that the elements reach; unreached, those
%                   of them where the tolerance is not kept; worst_error there, as a share of an
%                   element's field, worst_point (m) and reason
%
%   Example
%     array = kavro.linear_array(32, 0.3e-3, [0.27e-3 5e-3]);
%     medium = kavro.set_medium();
%     array = kavro.set_delays(array, kavro.focus_delays(array, [0 0 20e-3], medium));
%     grid = kavro.set_coordinate_grid(0.5e-3, -8e-3, 8e-3, 0, 0, 2e-3, 40e-3);
%     [p, report] = kavro.pressure(array, grid, medium, 'f0', 3e6);
%     kavro.show_field(abs(p), grid);
%
%   See also kavro.solve, kavro.fit_time_samples, kavro.show_field, kavro.methods

kavro.internal.check_count('pressure', nargin, [3 Inf], 'elements, grid, medium and options');
try
    [p, varargout{1:nargout - 1}] = kavro.solve('auto', elements, grid, medium, varargin{:});
catch thrown
    kavro.internal.rethrow_as('pressure', 'solve', thrown);
end
end
