// The waves of a waveform's jumps at its beginning and end.
#pragma once

#include <memory>

#include "transducers/blocks/share.h"
#include "transducers/transducer.h"

namespace kavro {

// Adds rho A [v(0) h(t - delay) - v(w) h(t - delay - w)] with the impulse response h: what a
// derivative of the waveform does not contain. Nothing behind the face. Null where the waveform
// begins and ends without a jump.
std::unique_ptr<Share> jump_waves_share(const Transducer& element);

}  // namespace kavro
