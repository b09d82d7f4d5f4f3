// The coordinates of an exact transient march, and its retarded time.
#pragma once

#include "transducers/kzk/beam_grid.h"
#include "transducers/kzk/frame.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

Frame frame_of(const Transducer& element, const TransientShape& shape);
BeamGrid grid_of(const Transducer& element, const TransientShape& shape);

// The retarded time of the march. Its steps are those of the time axis, or parts of them where
// these are too long for the waveform: 40 samples in a period without distortion, 200 with shocks.
// It begins before the first wave comes to the columns that matter, the front's curvature taken
// off, and ends with the last one or with the time axis, whichever comes first.
RetardedTime beam_time(const Transducer& element, const TransientShape& shape);

}  // namespace kavro::kzk
