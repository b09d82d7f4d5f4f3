// The exact transient march, in coordinates that follow the beam.
#pragma once

#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

// By how much the waves from the rim turn in a step, rad.
inline constexpr double transient_turn = 0.25;

// What march_transient does, for an exact element without a fault; the output holds zeros.
//
// The march goes in legs (frame.h). A step within a leg applies diffraction, absorption and
// distortion. Diffraction is of second order and damps what turns faster than the step follows, by
// two implicit solves; where the parameter `implicit` is off it is Crank-Nicolson's. Distortion
// takes as many parts of a step as a shock asks for. Steps follow from the source, the radial grid
// and the highest pressure; the parameter `step` bounds them, and planes only cut them. The radial
// grid is that of the harmonic march (harmonic_beam.h). Pressures at the instants asked for lie on
// cubics through the samples; planes behind the face are silent.
TransducerStatus march_transient_beam(const Transducer& element, const TransientShape& shape,
                                      Outcome& outcome);

MemoryNeed transient_beam_memory(const Transducer& element, const TransientShape& shape);

}  // namespace kavro::kzk
