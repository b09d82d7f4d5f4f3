// What keeps a nonlinear march from running.
#pragma once

#include <optional>
#include <string>

#include "transducers/transducer.h"

namespace kavro::kzk {

// What a march reads.
enum class Input {
    extent,             // parameter
    points_per_radius,  // parameter
    step,               // parameter of the transient march
    growth,             // parameter of the harmonic march
    soundspeed,         // medium
    attenuation,        // medium
    nonlinearity,       // medium
    frequency,          // of the waveform or the medium
    amplitude,          // element
    sizes,              // element
    planes,             // grid
    time,               // time axis
};

struct Fault {
    Input input;
    std::string expected;  // "positive"
    double value;          // what came
};

// `scaled`: the lengths that ranges are counted in are positive numbers; absorption and
// nonlinearity are over the scale length (m). The source's radius only counts squared, but for an
// exact element, whose points lie at their distance in radii.
std::optional<Fault> scale_fault(const Transducer& element, double radius, double frequency,
                                 double scale_length, bool scaled, double absorption,
                                 double nonlinearity);

}  // namespace kavro::kzk
