// Transient pressure without decomposition, sample by sample, and arrivals.
#pragma once

#include <utility>

#include "oracle/decomposition.h"

namespace kavro_oracle {

// Every value of the waveform directly, in double, between the first arrival and the last.
void add_direct(const Scene& scene, Field& field, Trace* trace = nullptr,
                Behind behind = Behind::skipped);

// When the response of an element begins and ends over all points, s.
std::pair<double, double> arrivals_of(const Scene& scene, const Element& element);

}  // namespace kavro_oracle
