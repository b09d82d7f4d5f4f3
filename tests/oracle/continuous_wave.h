// The complex pressure at one frequency, written down sum by sum: time dependence e^(+j omega t),
// so a path of length R gives e^(-j k R).
#pragma once

#include <vector>

#include "oracle/scene.h"

namespace kavro_oracle {

struct ComplexField {
    std::vector<Complex> values;  // one for each point
    // Of every point, the sum of the magnitudes of all terms that its value is the sum of; of a
    // bowl's fast nearfield methods, whose terms are much larger, the value's and rho c.
    std::vector<double> terms;
};

// By the fast nearfield method, by the name of the operation, "fnm_cw".
ComplexField continuous_wave(const Scene& scene, const char* operation);

}  // namespace kavro_oracle
