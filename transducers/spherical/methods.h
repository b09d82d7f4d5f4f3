// The solution methods of spherical bowls, whole (SphericalTransducer) or with a hole
// (SphericalRingTransducer). Each first checks the element's records: status_failure where one is
// missing.
#pragma once

#include "transducers/decomposition/factors.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/spherical/spherical_edge.h"
#include "transducers/spherical/spherical_geometry.h"
#include "transducers/transducer.h"

namespace kavro {

TransducerStatus spherical_fnm_cw(Transducer& element, const SphericalGeometry& geometry);
TransducerStatus spherical_fnm_cw_sse(Transducer& element, const SphericalGeometry& geometry);
TransducerStatus spherical_rayleigh_cw(Transducer& element, const SphericalGeometry& geometry);
TransducerStatus spherical_rayleigh_cw_sse(Transducer& element, const SphericalGeometry& geometry);
TransducerStatus spherical_begin_and_end_times(Transducer& element,
                                               const SphericalGeometry& geometry);
TransducerStatus spherical_impulse_response(Transducer& element, const SphericalGeometry& geometry);
TransducerStatus spherical_fnm_transient(Transducer& element, const SphericalGeometry& geometry,
                                         SphericalReach reach);
TransducerStatus spherical_fnm_tsd(Transducer& element, const SphericalGeometry& geometry,
                                   Decomposition kind, SphericalReach reach);
TransducerStatus spherical_fnm_tsd_low_precision(Transducer& element,
                                                 const SphericalGeometry& geometry);

// The double-precision continuous wave of records that are set, without the amplitude test.
TransducerStatus solve_spherical_continuous_wave(Transducer& element,
                                                 const SphericalGeometry& geometry,
                                                 const WaveParameters& wave);

}  // namespace kavro
