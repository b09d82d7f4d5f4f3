// The power that an array radiates.
#pragma once

#include <span>

#include "../transducer.h"

namespace kavro {

// The time average of the power (W) of a continuous wave of the elements together, all their
// interaction included, into a medium without losses: what passes through a sphere far away. With
// p_far the product of pressure and distance there,
//
//     P = 1/(2 rho c) * integral of |p_far|^2 over all directions.
//
// An element sends nothing behind its own plane, so flat elements that face the same way have the
// power that their faces give off, 1/2 Re sum of w* integral of p over each face. Reads weights and
// places, no grid. Answers status_failure where elements have no medium or several, or that has no
// frequency, speed or density; status_not_implemented for a shape that does not know its far field;
// status_interrupted.
TransducerStatus acoustic_power(std::span<Transducer* const> elements, double& power);

}  // namespace kavro
