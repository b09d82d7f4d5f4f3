// The medium as the host describes it.
#pragma once

#include "core/medium.h"
#include "mex.h"

namespace kavro {

// The medium in entry 0 of the structure. All nine fields are required, also those that the
// module's solver does not use. Throws InputError where one is missing, empty or not numeric.
Medium medium_from(const mxArray* structure);

}  // namespace kavro
