// The time axis as a user describes it.
#pragma once

#include "core/time_samples.h"
#include "door/host.h"

namespace kavro {

// Fills the axis from entry 0 of the record: the field `time_samples` (a list) if there is one,
// otherwise `tmin`, `tmax` and `deltat`. Throws InputError, after printing what is
// missing; a field that is empty or not numeric is missing.
void read_times(TimeSamples& times, const Value* value);

// The same, but for the print of every instant of a list, which was wanted once.
void read_times_quietly(TimeSamples& times, const Value* value);

}  // namespace kavro
