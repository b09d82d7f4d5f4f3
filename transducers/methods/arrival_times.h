// Earliest and latest arrival of an element's waves over the grid.
#pragma once

#include <algorithm>

#include "transducers/transducer.h"

namespace kavro {

// Distances from a point to the nearest and to the farthest point of an aperture (m).
struct ApertureDistances {
    double nearest;
    double farthest;
};

// Sets impulse_begin_time and impulse_end_time from the distances at every point in the element's
// frame. The first point sets both fields, of an empty grid the origin. Grid and medium are set.
template <class Distances>
void record_arrival_times(Transducer& element, Distances distances_of) {
    element.InitializeRotationMatrix();
    const double c = element.medium->_soundspeed;
    const int npoints = std::max(element.coordinate_grid->npoints, 1);
    for (int i = 0; i < npoints; ++i) {
        const ApertureDistances distances =
            distances_of(element.rotateTranslate(element.coordinate_grid->spatial_index_value(i)));
        const double begin = distances.nearest / c + element.time_delay;
        const double end = distances.farthest / c + element.time_delay;
        element.impulse_begin_time = i == 0 ? begin : std::min(element.impulse_begin_time, begin);
        element.impulse_end_time = i == 0 ? end : std::max(element.impulse_end_time, end);
    }
}

}  // namespace kavro
