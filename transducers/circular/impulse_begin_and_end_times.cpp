#include <algorithm>
#include <cmath>

#include "transducers/circular/circular_transducer.h"

namespace kavro {

// Earliest and latest arrival over the grid. The sign of z is not looked at: a point behind the
// face and over it begins earlier than the element's delay, on purpose; exactly, it begins with
// |z|.
TransducerStatus CircularTransducer::impulse_begin_and_end_times() {
    if (coordinate_grid == nullptr || medium == nullptr) {
        return status_failure;
    }
    InitializeRotationMatrix();
    const double c = medium->_soundspeed;
    // Point 0 sets both fields, of an empty grid the origin.
    const int npoints = std::max(coordinate_grid->npoints, 1);
    for (int i = 0; i < npoints; ++i) {
        const CartesianCoordinate p = rotateTranslate(coordinate_grid->spatial_index_value(i));
        const double r = std::sqrt(p.x * p.x + p.y * p.y);
        const double axial = exact() ? std::abs(p.z) : p.z;
        const double nearest =
            radius >= r ? axial : std::sqrt((r - radius) * (r - radius) + p.z * p.z);
        const double farthest = std::sqrt(p.z * p.z + (r + radius) * (r + radius));
        const double begin = nearest / c + time_delay;
        const double end = farthest / c + time_delay;
        impulse_begin_time = i == 0 ? begin : std::min(impulse_begin_time, begin);
        impulse_end_time = i == 0 ? end : std::max(impulse_end_time, end);
    }
    return status_success;
}

}  // namespace kavro
