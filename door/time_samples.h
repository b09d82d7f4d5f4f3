// The time axis as the host describes it.
#pragma once

#include "core/time_samples.h"
#include "mex.h"

namespace kavro {

// Fills the axis from entry 0 of the structure: the field `time_samples` (a list) if there is one,
// otherwise `tmin`, `tmax` and `deltat`. Returns true. Throws InputError, after printing what is
// missing; a field that is empty or not numeric is missing.
bool allocate_memory_and_set_values(TimeSamples& samples, const mxArray* structure);

}  // namespace kavro
