// Transient pressure by the fast nearfield method, the waveform evaluated directly.
#pragma once

#include <memory>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/departures.h"
#include "transducers/transducer.h"

namespace kavro {

// Adds, at every point that is reached and at every sample of its window,
//
//     p(t) = amplitude * sum over i of g_i [ v(t - tau_i - delay) - v(t - zeta - delay) ].
//
// The reference against which the decomposed methods are compared, and slower than they are. Blocks
// are asked for arrivals.
std::unique_ptr<Share> direct_transient_share(const Transducer& element,
                                              std::unique_ptr<EdgeGenerator<double>> edge,
                                              ArrivalWindow window);

}  // namespace kavro
