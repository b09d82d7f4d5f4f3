// What keeps a nonlinear march from running: the one place that decides.
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

// What keeps kzk_transient (or, if `harmonic`, kzk_cw) of the element from marching, the first that
// is found; empty where it can march, where a record but the output is missing and where the
// element has no such march. An operation called all the same stores zeros.
std::optional<Fault> fault_of(Transducer& element, bool harmonic);

// ---- for the marches

std::string shown(double value);

// The last column of the radial grid; 0 where it has fewer than two steps, or too many to count.
int last_column_of(float extent, float points_per_radius);

std::optional<Fault> radial_fault(float extent, float points_per_radius);

// `scaled`: the lengths that ranges are counted in are positive numbers; absorption and
// nonlinearity are over the scale length (m).
std::optional<Fault> scale_fault(const Transducer& element, double frequency, double scale_length,
                                 bool scaled, double absorption, double nonlinearity);

}  // namespace kavro::kzk
