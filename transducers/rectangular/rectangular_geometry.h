// Distances to a rectangular face.
#pragma once

#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// From a point in the rectangle's own frame to the nearest and to the farthest point of the face
// (m).
double nearest_distance(const RectangularTransducer& rectangle, const CartesianCoordinate& local);
double farthest_distance(const RectangularTransducer& rectangle, const CartesianCoordinate& local);

}  // namespace kavro
