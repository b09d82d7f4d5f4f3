// Methods over all elements of an array.
#pragma once

#include <span>

#include "output.h"
#include "transducer.h"

namespace kavro {

// Bit for bit what fnm_tsd_sse() of each element in order gives, much faster: elements that share
// grid, time axis and output are solved together. Returns the first status that is not 0; elements
// after that one are not solved. status_failure for a null element or one whose records are not all
// set. Reports progress to the console port, and asks it between tiles of points whether to stop:
// status_interrupted then, with an incomplete output.
TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements,
                             Output output = Output::accumulate);

}  // namespace kavro
