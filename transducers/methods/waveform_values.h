// Values of a waveform at many instants.
#pragma once

#include "core/interrupted.h"
#include "excitation/excitation_function.h"

namespace kavro {

// As the waveform's `at_batch`, part by part: a long spectrum at many instants takes long.
void waveform_values(const ExcitationFunction& waveform, double* out, const double* t, int count,
                     const Spend& spend);

}  // namespace kavro
