// The exact harmonic march, in coordinates that follow the beam.
#pragma once

#include "transducers/kzk/harmonic_march.h"

namespace kavro::kzk {

// By how much the waves from the rim turn in a step, rad.
inline constexpr double harmonic_turn = 1.0;

// The march goes in legs (frame.h). Half of a leg's distortion comes before its diffraction and
// half after it, and absorption is exact. Diffraction takes as many steps in a leg as the waves
// from the rim ask for, and a leg ends before the steepest wave there can be has moved by a radian
// of the highest harmonic. So steps follow from the source, the radial grid and the wave; the
// parameter `growth` bounds legs, and planes only cut them.
//
// The radial grid reaches as far as the axis needs it, and over the points asked for up to the
// extent; beyond it pressures are zero. The source fills its outermost column in part, so that the
// face has the disc's area.
//
// Outputs hold zeros and can be marched to. They are conj(P_n) exp(-j n k z), the phasors of
// exp(+j n omega0 t) under a cosine drive, as the continuous-wave methods have them.
TransducerStatus march_harmonic_beam(const Transducer& element, const HarmonicShape& shape,
                                     Outcome& outcome);

MemoryNeed harmonic_beam_memory(const Transducer& element, const HarmonicShape& shape);

}  // namespace kavro::kzk
