// The disc's single-precision decomposition over several discs at once.
#pragma once

#include <span>

#include "transducers/output.h"
#include "transducers/transducer.h"

namespace kavro {

// CircularTransducer::fnm_tsd_sse of each element in order, with the elements inside the loop over
// points. All elements are CircularTransducers that share grid, time axis and output.
TransducerStatus fnm_tsd_sse_of_discs(std::span<Transducer* const> discs, Output output);

}  // namespace kavro
