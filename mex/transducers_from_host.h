// The elements as the host describes them.
#pragma once

#include <memory>
#include <vector>

#include "mex.h"
#include "transducers/transducer.h"

namespace kavro {

// The first n entries of the structure array as elements with size, placement, amplitude (1 where
// the array has no such field) and time delay (0 likewise). Throws InputError for the first entry
// that cannot be read.
std::vector<std::unique_ptr<Transducer>> transducers_from(const mxArray* array, int n);

}  // namespace kavro
