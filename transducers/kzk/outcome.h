// How a nonlinear march ended.
#pragma once

#include "transducers/transducer_status.h"

namespace kavro::kzk {

struct Outcome {
    TransducerStatus status = status_success;

    // The wave has become steeper than the march can follow. In the transient march it has
    // overtaken itself within a step, or what is left to the shock is lost in the rounding of the
    // range: the march ended early. In the harmonic march a pressure was not finite.
    bool shocked = false;

    // Where it did. Planes from `plane` on are silent (transient) or worthless (harmonic).
    struct Place {
        double z = 0.0;  // range, m
        int plane = 0;   // counted from 0; the number of planes where all were reached
    };
    Place where{};

    bool warned = false;  // the console was warned of it; otherwise the text was printed
};

}  // namespace kavro::kzk
