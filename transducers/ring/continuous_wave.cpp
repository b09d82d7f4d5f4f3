// The flat annulus's continuous-wave pressure: by the fast nearfield method and as a Rayleigh
// integral.
#include "transducers/methods/continuous_wave.h"

#include <cmath>
#include <complex>

#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/ring/ring_edge.h"
#include "transducers/ring/ring_transducer.h"
#include "transducers/surface/half_annulus.h"

namespace kavro {
namespace {

// P = rho c (a / pi) w with the outer radius. With losses the exact one has the Rayleigh integral's
// factor, too.
std::complex<double> prefactor(const RingTransducer& ring, const WaveParameters& wave) {
    const Medium& medium = *ring.medium;
    const std::complex<double> reference =
        medium._rho_density * medium._soundspeed * (ring.outer_radius / pi) * ring.complex_weight;
    return ring.exact() ? reference * loss_factor(wave) : reference;
}

}  // namespace

TransducerStatus RingTransducer::fnm_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([&] {
        const RingEdge<double> edge(*this, DelayBy::quotient, EdgeUnits::lengths);
        return solve_continuous_wave(*this, edge, wave, prefactor(*this, wave));
    });
}

// Decays with the path, unlike the disc's.
TransducerStatus RingTransducer::rayleigh_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_speed(*medium);
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([&] {
        // Q = 2 j rho f0 w: the other half of the ring is the factor 2.
        const std::complex<double> Q(0.0, 2 * medium->_rho_density * medium->_f0);
        const HalfAnnulus<double> half(integral->get_npoints(), std::fmax(inner_radius, 0.0),
                                       outer_radius);
        return solve_rayleigh(*this, half, wave, Q * complex_weight);
    });
}

}  // namespace kavro
