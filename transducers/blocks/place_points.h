// The points of a block, in an element's own frame.
#pragma once

#include <algorithm>
#include <cstddef>

#include "transducers/blocks/edge_block.h"
#include "transducers/transducer.h"

namespace kavro {

// Points first <= i < first + count of the element's grid as the lanes of a block, rounded to its
// precision; the last one fills the lanes beyond. The rotation matrix is set.
template <class Real>
void place_points(const Transducer& element, int first, int count, Lanes<Real>& x, Lanes<Real>& y,
                  Lanes<Real>& z) {
    for (int lane = 0; lane < block_lanes; ++lane) {
        const CartesianCoordinate local = element.rotateTranslate(
            element.coordinate_grid->spatial_index_value(first + std::min(lane, count - 1)));
        const auto k = static_cast<std::size_t>(lane);
        x[k] = static_cast<Real>(local.x);
        y[k] = static_cast<Real>(local.y);
        z[k] = static_cast<Real>(local.z);
    }
}

}  // namespace kavro
