// The shell's operations.
#include "transducers/spherical/methods.h"
#include "transducers/spherical/spherical_transducer.h"

namespace kavro {
namespace {

SphericalGeometry geometry_of(const SphericalTransducer& shell) {
    return SphericalGeometry(shell.roc, shell.radius);
}

}  // namespace

TransducerStatus SphericalTransducer::fnm_cw() {
    return spherical_fnm_cw(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::fnm_cw_sse() {
    return spherical_fnm_cw_sse(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::rayleigh_cw() {
    return spherical_rayleigh_cw(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::rayleigh_cw_sse() {
    return spherical_rayleigh_cw_sse(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::impulse_begin_and_end_times() {
    return spherical_begin_and_end_times(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::impulse_response() {
    return spherical_impulse_response(*this, geometry_of(*this));
}

TransducerStatus SphericalTransducer::fnm_transient() {
    return spherical_fnm_transient(*this, geometry_of(*this), SphericalReach::facing);
}

TransducerStatus SphericalTransducer::fnm_transient_behind_source() {
    return spherical_fnm_transient(*this, geometry_of(*this), SphericalReach::everywhere);
}

TransducerStatus SphericalTransducer::fnm_tsd() {
    return spherical_fnm_tsd(*this, geometry_of(*this), Decomposition::real,
                             SphericalReach::facing);
}

TransducerStatus SphericalTransducer::fnm_tsd_behind_source() {
    return spherical_fnm_tsd(*this, geometry_of(*this), Decomposition::real,
                             SphericalReach::everywhere);
}

TransducerStatus SphericalTransducer::fnm_fdtsd() {
    return spherical_fnm_tsd(*this, geometry_of(*this), Decomposition::complex,
                             SphericalReach::facing);
}

TransducerStatus SphericalTransducer::fnm_tsd_low_precision() {
    return spherical_fnm_tsd_low_precision(*this, geometry_of(*this));
}

}  // namespace kavro
