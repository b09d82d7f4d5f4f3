// The exact transient march, in coordinates that follow the beam.
#pragma once

#include "transducers/kzk/beam_grid.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

// By how much the waves from the rim turn in a step, rad.
inline constexpr double transient_turn = 0.25;

// The retarded time of the march. Its steps are those of the time axis, or parts of them where
// these are too long for the waveform: 40 samples in a period without distortion, 200 with shocks.
// It begins before the first wave comes to the columns that matter, the front's curvature taken
// off, and ends with the last one or with the time axis, whichever comes first.
RetardedTime beam_time(const Transducer& element, const TransientShape& shape);

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

}  // namespace kavro::kzk
