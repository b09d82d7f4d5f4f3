#include "transducers/kzk/beam_time.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/constants.h"
#include "core/interrupted.h"

namespace kavro::kzk {

Frame frame_of(const Transducer& element, const TransientShape& shape) {
    return {static_cast<double>(shape.gain), shape.curvature,
            element.integral->kzk_parameters.diffracts()};
}

BeamGrid grid_of(const Transducer& element, const TransientShape& shape) {
    return {*element.coordinate_grid, shape.radius, shape.scale_length, frame_of(element, shape),
            element.integral->kzk_parameters};
}

RetardedTime beam_time(const Transducer& element, const TransientShape& shape) {
    const TimeSamples& times = *element.time_samples;
    const ExcitationFunction& drive = *element.excitation;
    const Frame frame = frame_of(element, shape);
    const BeamGrid grid = grid_of(element, shape);
    const double omega0 = two_pi * drive.f0;
    const double farthest_plane = *std::max_element(grid.ranges.begin(), grid.ranges.end());
    const double shocks = std::abs(static_cast<double>(shape.nonlinearity)) *
                          frame.steepening(std::max(farthest_plane, 0.0));
    // Shock fronts run ahead of a wave, and fall behind, by about twice the root of their range in
    // shock distances; the axis's ends hold the field and stay clear of it.
    const double margin = two_pi + std::min(4.0 * std::sqrt(shocks), 4.0 * two_pi);

    // What matters are the columns with points and those around them.
    const double reach = std::max(2.5, grid.farthest + 0.5);
    double first = 0.0;
    double last = 0.0;
    constexpr int parts = 32;
    for (int k = 1; k <= parts && element.integral->kzk_parameters.diffracts(); ++k) {
        const double range = std::max(farthest_plane, 0.0) * k / parts;
        for (int i = -8; i <= 8 && range > 0.0; ++i) {
            first =
                std::min(first, frame.rim_arrival(reach * i / 8, range, frame.slope(range, range)));
        }
    }
    InterruptCheck check;
    for (std::size_t k = 0; k < grid.ranges.size(); ++k) {
        check.spend(16);
        const double range = std::max(grid.ranges[k], 0.0);
        const double slope = frame.slope(range, range);
        const double bend = frame.bend(frame.width(range)) * slope * std::pow(grid.farthest, 2);
        const double of_axis =
            omega0 * (times.tmax() - grid.z[k] / element.medium->_soundspeed) - std::min(bend, 0.0);
        const double of_wave = omega0 * drive.w + frame.rim_arrival(-grid.farthest, range, slope);
        last = std::max(last, of_wave < of_axis ? of_wave : of_axis);
    }
    const double samples = std::clamp(40.0 + 160.0 * shocks, 40.0, 200.0);
    const double parts_of_step =
        std::max(std::ceil(times.deltat() * drive.f0 * samples - 1e-6), 1.0);
    // Bending a front draws what comes after the axis's end into the outer columns.
    const double drawn = reach * reach * frame.bending(std::max(farthest_plane, 0.0));
    return {times.deltat() / parts_of_step, drive, first - margin, last + drawn + margin};
}

}  // namespace kavro::kzk
