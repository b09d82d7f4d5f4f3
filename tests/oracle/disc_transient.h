// The pressure of flat discs without decomposition, and their impulse response, written down
// sample by sample. The log holds the samples that are computed at all as the direct wave's window.
#pragma once

#include "oracle/disc.h"

namespace kavro_oracle {

// Every value of the waveform directly, in double.
void fnm_transient(const Scene& scene, Field& field, WindowLog* log = nullptr);

// The midpoint rule over half the disc, with the waveform's derivative.
void rayleigh_transient(const Scene& scene, Field& field, WindowLog* log = nullptr);

// Of the velocity potential, m/s; the waveform takes no part.
void impulse_response(const Scene& scene, Field& field, WindowLog* log = nullptr);

}  // namespace kavro_oracle
