// Continuous-wave pressure at many frequencies.
#pragma once

#include <memory>
#include <span>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/transducer.h"

namespace kavro {

// Adds w e^(-j omega delay) H(omega) at every point and frequency (Hz, not negative), with w the
// complex weight and H the transfer function of the lossy medium whose speed of sound is that at
// the reference frequency (Hz) unless it has one of its own. Value f of a point is in layer f of
// the outputs. Blocks are in times.
std::unique_ptr<Share> spectrum_share(const Transducer& element,
                                      std::unique_ptr<EdgeGenerator<double>> edge,
                                      std::span<const double> frequencies,
                                      double default_reference);

}  // namespace kavro
