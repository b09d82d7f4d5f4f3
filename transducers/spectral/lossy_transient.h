// Transient pressure in a medium with power-law losses, by frequencies.
#pragma once

#include <memory>
#include <vector>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/spectral/spectral_pulse.h"
#include "transducers/transducer.h"

namespace kavro {

// The pulses of the elements that are solved together. Elements of one waveform, medium and time
// axis share theirs.
class SharedPulses {
public:
    std::shared_ptr<const SpectralPulse> of(const Transducer& element, double tolerance);

private:
    std::vector<std::shared_ptr<const SpectralPulse>> pulses_;
};

// Whether an element in a lossless medium is solved faster by frequencies than by decomposition:
// one that sends a sampled waveform of very many terms.
bool is_faster_by_frequencies(const Transducer& element, double tolerance, SharedPulses& pulses);

// Adds, at every point that is reached and at every sample of the pulse's stay there,
//
//     p(t) = amplitude * 2 Re (1 / T) sum over q of V(s_q) s_q / (c gamma(s_q))
//                * sum over i of g_i (e^(-c gamma tau_i) - e^(-c gamma zeta)) e^(s_q (t - delay)),
//
// all passes of the generator summed; outside the stay nothing. Blocks are those of the waveform's
// direct evaluation, in times.
std::unique_ptr<Share> lossy_transient_share(const Transducer& element,
                                             std::unique_ptr<EdgeGenerator<double>> edge,
                                             std::shared_ptr<const SpectralPulse> pulse);

}  // namespace kavro
