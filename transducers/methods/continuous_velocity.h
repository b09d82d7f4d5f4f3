// Continuous-wave pressure and particle velocity by the fast nearfield method.
#pragma once

#include <complex>
#include <memory>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/share.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/transducer.h"
#include "transducers/velocity.h"

namespace kavro {

// Adds the pressure that continuous_wave_share adds, P the prefactor, and to the velocity's output
// the gradient of edge_block.h over -j omega rho: with gamma = alpha + jk,
//
//     v = V [ ahead * sum of g_i A_i + sum of (b_i across + c_i aside) e^(-gamma R_i) / R_i ],
//
// V = P gamma / (j omega rho).
std::unique_ptr<Share> continuous_velocity_share(const Transducer& element,
                                                 std::unique_ptr<EdgeGenerator<double>> edge,
                                                 const WaveParameters& wave,
                                                 std::complex<double> prefactor,
                                                 const VelocityOutput& output);

}  // namespace kavro
