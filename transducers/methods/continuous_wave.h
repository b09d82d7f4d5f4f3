// Continuous-wave pressure by the fast nearfield method: the consumers of edge blocks in lengths.
#pragma once

#include <complex>

#include "transducers/blocks/edge_block.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/transducer.h"

namespace kavro {

// Adds, at every point,
//
//     p = P e^(-(alpha + jk) R_0) * sum over i of g_i ( e^(-(alpha + jk)(R_i - R_0)) - 1 )
//
// with P the prefactor, all passes of the generator summed. The difference of the two waves is
// formed from R_i - R_0 without cancellation. The element's records are set.
TransducerStatus solve_continuous_wave(Transducer& element, const EdgeGenerator<double>& edge,
                                       const WaveParameters& wave, std::complex<double> prefactor);

// How a single-precision sum treats the losses.
enum class EdgeDamping {
    damped,    // e^(-(alpha + jk) R_i)
    undamped,  // e^(-jk R_i); only the direct wave is attenuated
};

// The same in single precision, four samples at a time:
//
//     p = P * sum over i of g_i ( e^(-(alpha + jk) R_i) - e^(-(alpha + jk) R_0) )
//
// Sample i belongs to partial sum i mod 4, and the four are added last, as four-wide vectors would
// have them; samples beyond a multiple of four are left out unless the element is exact.
TransducerStatus solve_continuous_wave_single(Transducer& element, const EdgeGenerator<float>& edge,
                                              const WaveParameters& wave,
                                              std::complex<double> prefactor,
                                              EdgeDamping damping = EdgeDamping::damped);

}  // namespace kavro
