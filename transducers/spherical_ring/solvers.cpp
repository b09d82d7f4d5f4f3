// The spherical annulus's operations.
#include "transducers/spherical/bowl_methods.h"
#include "transducers/spherical_ring/spherical_ring_transducer.h"

namespace kavro {
namespace {

Bowl bowl_of(const SphericalRingTransducer& ring) {
    return Bowl(ring.geometric_focus, ring.outer_radius, ring.inner_radius);
}

}  // namespace

TransducerStatus SphericalRingTransducer::fnm_cw() {
    return bowl_fnm_cw(*this, bowl_of(*this));
}

TransducerStatus SphericalRingTransducer::rayleigh_cw() {
    return bowl_rayleigh_cw(*this, bowl_of(*this));
}

TransducerStatus SphericalRingTransducer::impulse_begin_and_end_times() {
    return bowl_begin_and_end_times(*this, bowl_of(*this));
}

TransducerStatus SphericalRingTransducer::impulse_response() {
    return bowl_impulse_response(*this, bowl_of(*this));
}

TransducerStatus SphericalRingTransducer::fnm_transient() {
    return bowl_fnm_transient(*this, bowl_of(*this), BowlReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_tsd() {
    return bowl_fnm_tsd(*this, bowl_of(*this), Decomposition::real, BowlReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_fdtsd() {
    return bowl_fnm_tsd(*this, bowl_of(*this), Decomposition::complex, BowlReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_tsd_low_precision() {
    return bowl_fnm_tsd_low_precision(*this, bowl_of(*this));
}

}  // namespace kavro
