// The waveforms as the host describes them.
#pragma once

#include <memory>
#include <vector>

#include "excitation/excitation_function.h"
#include "mex.h"

namespace kavro {

// Appends one waveform for each of n elements: all after the structure's only entry, or each after
// its own. A field `signal` makes them sampled waveforms (`signal`, `ts`, `w`, `clip_threshold`);
// otherwise `type` (1 tone burst, 2 Hanning pulse, 3 t-cubed pulse), `f0`, `pulse_width` and `B`
// are read. `decomposition` may say "exact" or "reference"; where it does not, `exact` decides.
// Throws InputError.
void excitation_vector(std::vector<std::unique_ptr<ExcitationFunction>>& excitations,
                       const mxArray* structure, int n, bool exact = false);

}  // namespace kavro
