function image = delay_and_sum(rf, report, f0, events, positions, c, x, z)
% DELAY_AND_SUM  The image of a plane, from echoes of plane waves: each pixel sums what comes from it.
%
%   image = delay_and_sum(rf, report, f0, events, positions, c, x, z)
%
%   Arguments
%     rf, report  what kavro.pulse_echo returns over time
%     f0          centre frequency in Hz
%     events      made by kavro.plane_wave_events
%     positions   n x 3: where the receiving channels stand, in m
%     c           speed of sound in m/s
%     x, z        samples along the axes of the image, in m
%
%   Result
%     image       complex, numel(x) x numel(z); its magnitude is what one shows
%
%   Example: the eleventh of the examples
%     run_example(11)

[x, z] = ndgrid(x, z);
t = report.first_sample + (0:size(rf, 1) - 1)' * report.step;
% The analytic signal, without its carrier: slow enough for linear interpolation.
spectrum = fft(rf);
spectrum(floor(end / 2) + 2:end, :, :) = 0;
slow = 2 * ifft(spectrum) .* exp(-2i * pi * f0 * t);
image = zeros(size(x));
for j = 1:size(rf, 3)
    % A wave passes its origin at time 0; its pulse is centred a little later.
    towards = events.direction(j, :);
    out = ((x - events.origin(j, 1)) * towards(1) + (z - events.origin(j, 3)) * towards(3)) / c;
    for m = 1:size(rf, 2)
        across = x - positions(m, 1);
        down = z - positions(m, 3);
        at = out + sqrt(across .^ 2 + down .^ 2) / c + report.pulse_delay;
        seen = abs(across) < down / 2;  % channels that look at the pixel from too far aside do not count
        image = image + seen .* interp1(t, slow(:, m, j), at, 'linear', 0) .* exp(2i * pi * f0 * at);
    end
end
end
