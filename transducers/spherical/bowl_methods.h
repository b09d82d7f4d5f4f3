// The solution methods of spherical bowls, whole (SphericalTransducer) or with a hole
// (SphericalRingTransducer). Each first checks the element's records: status_failure where one is
// missing.
#pragma once

#include "transducers/methods/decomposition_factors.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/spherical/bowl.h"
#include "transducers/spherical/curved_edge.h"
#include "transducers/transducer.h"

namespace kavro {

TransducerStatus bowl_fnm_cw(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_fnm_cw_sse(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_rayleigh_cw(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_rayleigh_cw_sse(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_begin_and_end_times(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_impulse_response(Transducer& element, const Bowl& bowl);
TransducerStatus bowl_fnm_transient(Transducer& element, const Bowl& bowl, BowlReach reach);
TransducerStatus bowl_fnm_tsd(Transducer& element, const Bowl& bowl, Decomposition kind,
                              BowlReach reach);
TransducerStatus bowl_fnm_tsd_low_precision(Transducer& element, const Bowl& bowl);

// The double-precision continuous wave of records that are set, without the amplitude test.
TransducerStatus solve_bowl_continuous_wave(Transducer& element, const Bowl& bowl,
                                            const WaveParameters& wave);

}  // namespace kavro
