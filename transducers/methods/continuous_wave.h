// Continuous-wave pressure by the fast nearfield method: the consumers of edge blocks in lengths.
#pragma once

#include <complex>
#include <memory>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/departures.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/transducer.h"

namespace kavro {

// Adds, at every point,
//
//     p = P e^(-(alpha + jk) R_0) * sum over i of g_i ( e^(-(alpha + jk)(R_i - R_0)) - 1 )
//
// with P the prefactor, all passes of the generator summed. The difference of the two waves is
// formed from R_i - R_0 without cancellation.
std::unique_ptr<Share> continuous_wave_share(const Transducer& element,
                                             std::unique_ptr<EdgeGenerator<double>> edge,
                                             const WaveParameters& wave,
                                             std::complex<double> prefactor);

struct SingleWave {
    float wavenumber;
    float attenuation;
    bool edge_is_damped;  // else only the direct wave is attenuated
    bool in_fours;        // samples beyond a multiple of four are left out
};

// The same in single precision, four samples at a time:
//
//     p = P * sum over i of g_i ( e^(-(alpha + jk) R_i) - e^(-(alpha + jk) R_0) )
//
// Sample i belongs to partial sum i mod 4, and the four are added last, as four-wide vectors would
// have them.
std::unique_ptr<Share> single_wave_share(const Transducer& element,
                                         std::unique_ptr<EdgeGenerator<float>> edge,
                                         const SingleWave& wave, std::complex<double> prefactor);

// In single precision by the form of the double one: for generators whose coefficients grow where
// the waves nearly cancel, or by way of the middle. The direct path's phase stays in double
// (`wave`).
std::unique_ptr<Share> single_excess_share(const Transducer& element,
                                           std::unique_ptr<EdgeGenerator<float>> edge,
                                           SingleWaveBy by, const WaveParameters& wave,
                                           bool in_fours, std::complex<double> prefactor);

}  // namespace kavro
