// The stretch of time that an echo's frequencies span.
#pragma once

#include <cstdint>

#include "core/time_samples.h"
#include "transducers/echo/pulse.h"
#include "transducers/pulse_echo.h"
#include "transducers/spectral/power_law.h"

namespace kavro::echo {

// Before `begin` and after `end` there is nothing. In between, on the axis, the period's
// repetitions do not reach.
struct TimeFrame {
    // What is beyond the band stays below the tolerance.
    TimeFrame(const EchoPulse& pulse, const PowerLaw& law, const TimeSamples& times,
              const EchoExtent& extent, double tolerance);

    double begin = 0.0, end = 0.0;  // s
    double band = 0.0;              // rad/s
    double full_band = 0.0;         // that of the shortest path
    int frequencies = 0;            // none where the axis meets no echo
    double period = 0.0;            // s
    double damping = 0.0;           // eta, 1/s, by which repetitions fall: 3 / period with losses

    // Evenly spaced axes: samples `first` and on of the axis are the transform's, `length` of it.
    bool is_even = false;
    std::int64_t first = 0, length = 0;
};

}  // namespace kavro::echo
