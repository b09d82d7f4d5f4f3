// Continuous-wave pressure at many frequencies.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/transducer.h"

namespace kavro {

// Frequencies (Hz, not negative) that are computed together, with the same abscissas, and the layer
// of the outputs that the first one goes to.
struct Band {
    std::span<const double> frequencies;
    std::size_t layer;
    bool is_even;  // equally spaced
};

// Octaves of what is equally spaced, so that low frequencies take fewer abscissas; and no band so
// wide that its sums would need much memory.
std::vector<Band> bands_of(std::span<const double> frequencies);

// Adds w e^(-j omega delay) H(omega) at every point and frequency of a band, with w the complex
// weight and H the transfer function of the lossy medium whose speed of sound is that at the
// reference frequency (Hz) unless it has one of its own. Blocks are in times. What is left out
// stays below the tolerance, relative to the terms of the sums.
std::unique_ptr<Share> spectrum_share(const Transducer& element,
                                      std::unique_ptr<EdgeGenerator<double>> edge, const Band& band,
                                      double default_reference, double tolerance);

}  // namespace kavro
