// Methods over all elements of an array.
#pragma once

#include <span>

#include "transducers/output.h"
#include "transducers/transducer.h"

namespace kavro {

// Bit for bit what fnm_tsd_sse() of each element in order gives, much faster: elements that share
// grid, time axis and output are solved together. Returns the first status that is not 0; elements
// after that one are not solved. Reports progress to the console port.
TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements,
                             Output output = Output::accumulate);

}  // namespace kavro
