// A rectangle's far field.
#pragma once

#include <memory>

#include "transducers/blocks/share.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// p = j f0 rho w (width height) e^(-(alpha + jk) R) / R sinc(kx x / R) sinc(ky y / R), kx = k
// width/2, ky = k height/2 (Fraunhofer). Nothing behind the face and at the centre.
std::unique_ptr<Share> farfield_share(const RectangularTransducer& rectangle,
                                      const WaveParameters& wave);

}  // namespace kavro
