// The rectangle's face integral with a rule of its own for every point.
#pragma once

#include <memory>

#include "transducers/blocks/share.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// p = j rho f0 w * sum of cells, the finer the nearer the point to the face's plane. In reference
// mode the shared rule is resized and refilled for the last point that is reached, on purpose:
// whoever relies on the reference rule afterwards must restore it.
std::unique_ptr<Share> radiator_share(const RectangularTransducer& rectangle,
                                      const WaveParameters& wave);

}  // namespace kavro
