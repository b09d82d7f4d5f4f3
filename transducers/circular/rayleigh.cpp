// The disc's Rayleigh integrals.
#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

#include "core/constants.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/circular/piston_apodization.h"
#include "transducers/methods/guarded.h"
#include "transducers/methods/surface_rows.h"

namespace kavro {
namespace {

enum class Weighting { uniform, apodized };

// Midpoint rule in radius and angle over the half disc 0 <= phi <= pi, a ring to a row.
template <class Real>
class HalfDisc : public SurfaceRows<Real> {
public:
    HalfDisc(const CircularTransducer& disc, Weighting weighting)
        : n_(disc.integral->get_npoints()),
          dr_(disc.radius / n_),
          dphi_(pi / n_),
          a_(disc.radius),
          index_(weighting == Weighting::apodized ? disc.get_piston_apodization_index() : 0) {
        for (int j = 0; j < n_; ++j) {
            cosine_.push_back(std::cos((j + 0.5) * dphi_));
            sine_.push_back(std::sin((j + 0.5) * dphi_));
        }
    }

    int rows() const override { return n_; }
    int samples_per_row() const override { return n_; }

    void fill(int i, SurfaceRow<Real>& row) const override {
        const double r = (i + 0.5) * dr_;
        for (std::size_t j = 0; j < cosine_.size(); ++j) {
            row.x[j] = static_cast<Real>(r * cosine_[j]);
            row.y[j] = static_cast<Real>(r * sine_[j]);
            row.z[j] = Real(0);
            row.weight[j] = Real(1);
        }
        row.row_weight = dr_ * r * dphi_ * piston_apodization::evaluate(index_, r, a_);
    }

private:
    int n_;
    double dr_, dphi_, a_;
    int index_;
    std::vector<double> cosine_, sine_;
};

// Q = 2 j rho f0 w: the other half of the disc is the factor 2.
std::complex<double> prefactor(const CircularTransducer& disc) {
    const Medium& medium = *disc.medium;
    return std::complex<double>(0.0, 2 * medium._rho_density * medium._f0) * disc.complex_weight;
}

template <class Real>
TransducerStatus solve(CircularTransducer& disc, Weighting weighting, const WaveParameters& wave) {
    disc.InitializeRotationMatrix();
    return guarded([&] {
        return solve_rayleigh(disc, HalfDisc<Real>(disc, weighting), wave, prefactor(disc));
    });
}

// The reference's amplitude grows with the path, on purpose; exactly, it decays.
WaveParameters growing_unless_exact(const CircularTransducer& disc, WaveParameters wave) {
    if (!disc.exact()) {
        wave.attenuation = -wave.attenuation;
    }
    return wave;
}

}  // namespace

TransducerStatus CircularTransducer::rayleigh_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_speed(*medium);
    if (is_silent()) {
        return status_success;
    }
    return solve<double>(*this, Weighting::uniform, growing_unless_exact(*this, wave));
}

TransducerStatus CircularTransducer::rayleigh_cw_apodized() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    return solve<double>(*this, Weighting::apodized, growing_unless_exact(*this, wave_of(*medium)));
}

// Decays, unlike the double-precision integrals: deliberate.
TransducerStatus CircularTransducer::rayleigh_cw_sse() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    return is_silent() ? status_success
                       : solve<float>(*this, Weighting::uniform, wave_of(*medium));
}

// p = rho / (2 pi) * sum over the half disc of 2 v'(t - R/c - delay) / R dA. A sampled waveform's
// reference derivative lacks the factor of the frequency.
TransducerStatus CircularTransducer::rayleigh_transient() {
    if (!has_transient_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return solve_rayleigh_transient(*this, HalfDisc<double>(*this, Weighting::uniform),
                                        medium->_rho_density / pi);
    });
}

}  // namespace kavro
