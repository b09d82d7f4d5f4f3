#include <algorithm>
#include <cmath>
#include <limits>

#include "transducers/rectangular/rectangular_geometry.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// Earliest and latest arrival over the grid, in front of the face and behind it alike. Without
// points the members hold the largest number and 0.
TransducerStatus RectangularTransducer::impulse_begin_and_end_times() {
    if (coordinate_grid == nullptr || medium == nullptr) {
        return status_failure;
    }
    InitializeRotationMatrix();
    const double c = medium->_soundspeed;
    impulse_begin_time = std::numeric_limits<double>::max();
    impulse_end_time = 0.0;
    for (int i = 0; i < coordinate_grid->npoints; ++i) {
        const CartesianCoordinate p = rotateTranslate(coordinate_grid->spatial_index_value(i));
        const double begin = nearest_distance(*this, p) / c + time_delay;
        const double end = farthest_distance(*this, p) / c + time_delay;
        impulse_begin_time = std::min(impulse_begin_time, begin);
        impulse_end_time = std::max(impulse_end_time, end);
    }
    return status_success;
}

}  // namespace kavro
