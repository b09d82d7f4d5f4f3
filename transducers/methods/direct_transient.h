// Transient pressure by the fast nearfield method, the waveform evaluated directly.
#pragma once

#include "transducers/blocks/edge_block.h"
#include "transducers/transducer.h"

namespace kavro {

// The samples j0 <= j < j1 that a shape computes, with begin the delay from the nearest and end
// that from the farthest point of the aperture, and w the waveform's duration. On an explicit list
// of times they are those with begin <= t - delay <= end + w.
enum class ArrivalWindow {
    outward,              // j0 rounded down, j1 rounded up: products with 1 / step
    outward_by_division,  // the same: quotients by the step
    inward,               // j0 rounded up, j1 one beyond the last rounded down
};

// Adds, at every point that is reached and at every sample of its window,
//
//     p(t) = amplitude * sum over i of g_i [ v(t - tau_i - delay) - v(t - zeta - delay) ].
//
// The reference against which the decomposed methods are compared, and slower than they are. Blocks
// are asked for arrivals. The element's records are set.
TransducerStatus solve_direct_transient(Transducer& element, const EdgeGenerator<double>& edge,
                                        ArrivalWindow window);

}  // namespace kavro
