// The waveforms as a user describes them.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "door/host.h"
#include "excitation/excitation_function.h"

namespace kavro {

using Waveforms = std::vector<std::unique_ptr<ExcitationFunction>>;

// A waveform for each entry of the record, of which there must be one for all elements or one for
// each. A field `signal` makes them sampled waveforms (`signal`, `ts`, `w`, `clip_threshold`);
// otherwise `type` (1 tone burst, 2 Hanning pulse, 3 t-cubed pulse), `f0`, `pulse_width` and `B`
// are read. `decomposition` may say "exact" or "reference"; where it does not, `exact` decides.
// Throws InputError.
Waveforms waveforms_from(const Value* value, std::size_t elements, bool exact);

}  // namespace kavro
