// Transient pressure without decomposition, impulse responses and arrivals, sample by sample.
#pragma once

#include <utility>

#include "oracle/decomposition.h"

namespace kavro_oracle {

// Every value of the waveform directly, in double, between the first arrival and the last.
void add_direct(const Scene& scene, Field& field, Trace* trace = nullptr,
                Behind behind = Behind::skipped);

// A disc's midpoint rule with the waveform's derivative.
void add_surface(const Scene& scene, Field& field, Trace* trace = nullptr);

// Of the velocity potential, m/s; the waveform takes no part, and no amplitude is too small.
void add_response(const Scene& scene, Field& field, Trace* trace = nullptr);

// When the response of an element begins and ends over all points, s.
std::pair<double, double> arrivals_of(const Scene& scene, const Element& element);

}  // namespace kavro_oracle
