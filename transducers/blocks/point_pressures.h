// Continuous-wave pressure by a formula for a single point.
#pragma once

#include <complex>
#include <functional>

#include "transducers/transducer.h"

namespace kavro {

// Adds pressure_at(point in the element's frame) to every point of the element's grid. It is called
// from several threads. The element's records are set.
TransducerStatus add_point_pressures(
    Transducer& element,
    const std::function<std::complex<double>(const CartesianCoordinate& point)>& pressure_at);

}  // namespace kavro
