// The spherical annulus's operations.
#include "transducers/spherical/methods.h"
#include "transducers/spherical_ring/spherical_ring_transducer.h"

namespace kavro {
namespace {

SphericalGeometry geometry_of(const SphericalRingTransducer& ring) {
    return SphericalGeometry(ring.geometric_focus, ring.outer_radius, ring.inner_radius);
}

}  // namespace

TransducerStatus SphericalRingTransducer::fnm_cw() {
    return spherical_fnm_cw(*this, geometry_of(*this));
}

TransducerStatus SphericalRingTransducer::rayleigh_cw() {
    return spherical_rayleigh_cw(*this, geometry_of(*this));
}

TransducerStatus SphericalRingTransducer::impulse_begin_and_end_times() {
    return spherical_begin_and_end_times(*this, geometry_of(*this));
}

TransducerStatus SphericalRingTransducer::impulse_response() {
    return spherical_impulse_response(*this, geometry_of(*this));
}

TransducerStatus SphericalRingTransducer::fnm_transient() {
    return spherical_fnm_transient(*this, geometry_of(*this), SphericalReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_tsd() {
    return spherical_fnm_tsd(*this, geometry_of(*this), Decomposition::real,
                             SphericalReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_fdtsd() {
    return spherical_fnm_tsd(*this, geometry_of(*this), Decomposition::complex,
                             SphericalReach::facing);
}

TransducerStatus SphericalRingTransducer::fnm_tsd_low_precision() {
    return spherical_fnm_tsd_low_precision(*this, geometry_of(*this));
}

}  // namespace kavro
