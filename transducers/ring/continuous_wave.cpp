// The flat annulus's continuous-wave pressure: by the fast nearfield method and as a Rayleigh
// integral.
#include "transducers/methods/continuous_wave.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

#include "core/constants.h"
#include "transducers/methods/guarded.h"
#include "transducers/methods/surface_rows.h"
#include "transducers/ring/ring_edge.h"
#include "transducers/ring/ring_transducer.h"

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

// Midpoint rule in radius and angle over the half 0 <= phi <= pi, a circle to a row.
class HalfRing : public SurfaceRows<double> {
public:
    explicit HalfRing(const RingTransducer& ring)
        : n_(ring.integral->get_npoints()),
          inner_(std::fmax(ring.inner_radius, 0.0)),
          dr_((ring.outer_radius - inner_) / n_),
          dphi_(pi / n_) {
        for (int j = 0; j < n_; ++j) {
            cosine_.push_back(std::cos((j + 0.5) * dphi_));
            sine_.push_back(std::sin((j + 0.5) * dphi_));
        }
    }

    int rows() const override { return n_; }
    int samples_per_row() const override { return n_; }

    void fill(int i, SurfaceRow<double>& row) const override {
        const double r = inner_ + (i + 0.5) * dr_;
        for (std::size_t j = 0; j < cosine_.size(); ++j) {
            row.x[j] = r * cosine_[j];
            row.y[j] = r * sine_[j];
            row.z[j] = 0.0;
            row.weight[j] = 1.0;
        }
        row.row_weight = dr_ * r * dphi_;
    }

private:
    int n_;
    double inner_, dr_, dphi_;
    std::vector<double> cosine_, sine_;
};

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
        return solve_rayleigh(*this, HalfRing(*this), wave, Q * complex_weight);
    });
}

}  // namespace kavro
