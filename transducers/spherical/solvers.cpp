// The shell's operations.
#include "transducers/spherical/bowl_methods.h"
#include "transducers/spherical/spherical_transducer.h"

namespace kavro {
namespace {

Bowl bowl_of(const SphericalTransducer& shell) {
    return Bowl(shell.roc, shell.radius);
}

}  // namespace

TransducerStatus SphericalTransducer::fnm_cw() {
    return bowl_fnm_cw(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::fnm_cw_sse() {
    return bowl_fnm_cw_sse(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::rayleigh_cw() {
    return bowl_rayleigh_cw(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::rayleigh_cw_sse() {
    return bowl_rayleigh_cw_sse(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::impulse_begin_and_end_times() {
    return bowl_begin_and_end_times(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::impulse_response() {
    return bowl_impulse_response(*this, bowl_of(*this));
}

TransducerStatus SphericalTransducer::fnm_transient() {
    return bowl_fnm_transient(*this, bowl_of(*this), BowlReach::facing);
}

TransducerStatus SphericalTransducer::fnm_transient_behind_source() {
    return bowl_fnm_transient(*this, bowl_of(*this), BowlReach::everywhere);
}

TransducerStatus SphericalTransducer::fnm_tsd() {
    return bowl_fnm_tsd(*this, bowl_of(*this), Decomposition::real, BowlReach::facing);
}

TransducerStatus SphericalTransducer::fnm_tsd_behind_source() {
    return bowl_fnm_tsd(*this, bowl_of(*this), Decomposition::real, BowlReach::everywhere);
}

TransducerStatus SphericalTransducer::fnm_fdtsd() {
    return bowl_fnm_tsd(*this, bowl_of(*this), Decomposition::complex, BowlReach::facing);
}

TransducerStatus SphericalTransducer::fnm_tsd_low_precision() {
    return bowl_fnm_tsd_low_precision(*this, bowl_of(*this));
}

}  // namespace kavro
