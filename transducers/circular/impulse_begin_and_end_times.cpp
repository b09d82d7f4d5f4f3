#include <cmath>

#include "transducers/circular/circular_transducer.h"
#include "transducers/methods/arrival_times.h"

namespace kavro {

// The sign of z is not looked at: a point behind the face and over it begins earlier than the
// element's delay, on purpose; exactly, it begins with |z|.
TransducerStatus CircularTransducer::impulse_begin_and_end_times() {
    if (coordinate_grid == nullptr || medium == nullptr) {
        return status_failure;
    }
    record_arrival_times(*this, [this](const CartesianCoordinate& p) -> ApertureDistances {
        const double r = std::sqrt(p.x * p.x + p.y * p.y);
        const double axial = exact() ? std::abs(p.z) : p.z;
        return {radius >= r ? axial : std::sqrt((r - radius) * (r - radius) + p.z * p.z),
                std::sqrt(p.z * p.z + (r + radius) * (r + radius))};
    });
    return status_success;
}

}  // namespace kavro
