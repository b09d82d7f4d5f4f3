// The disc's continuous-wave pressure by the fast nearfield method.
#include "transducers/methods/continuous_wave.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "core/constants.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "transducers/blocks/guarded.h"
#include "transducers/circular/circular_edge.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/circular/piston_apodization.h"

namespace kavro {
namespace {

// P = rho c (a / pi) w. With losses the exact one has the Rayleigh integral's factor, too.
std::complex<double> prefactor(const CircularTransducer& disc, const WaveParameters& wave) {
    const Medium& medium = *disc.medium;
    const std::complex<double> reference =
        medium._rho_density * medium._soundspeed * (disc.radius / pi) * disc.complex_weight;
    return disc.exact() ? reference * loss_factor(wave) : reference;
}

TransducerStatus solve_uniform(CircularTransducer& disc, const WaveParameters& wave) {
    disc.InitializeRotationMatrix();
    return guarded([&] {
        const CircularEdge<double> edge(disc, DelayBy::quotient, EdgeUnits::lengths);
        return solve_continuous_wave(disc, edge, wave, prefactor(disc, wave));
    });
}

// The disc of concentric rims of growing radius r_i, rim i weighted by the profile's slope there:
//
//     p = rho c (a / pi) w * sum over i, j of dr_i dphi_j q'(r_i) r_i (s cos phi_j - r_i) / D_ij
//         * ( e^(-(alpha + jk) R_ij) - e^(-(alpha + jk) z) )
//
// Each rim is one pass. The reference spreads the radii over [0, pi a], where the slope is 0 beyond
// the rim, and counts dphi_j pi times over, on purpose; exactly, radii lie on [0, a], and the sum
// is the profile's field.
class ApodizedDiscEdge : public EdgeGenerator<double> {
public:
    explicit ApodizedDiscEdge(const CircularTransducer& disc) {
        using piston_apodization::derivative;
        NumericalIntegration& rule = *disc.integral;
        rule.gauss_quadrature(0, pi);
        size_ = rule.get_npoints();
        require_room();
        InterruptCheck check;
        const double a = disc.radius;
        for (int i = 0; i < size_; ++i) {
            // Exactly, the prefactor's a/pi is taken back, and the sign is that of a step down.
            const double r = rule.get_abscissa(i) * (disc.exact() ? a / pi : a);
            const double radial_weight =
                disc.exact() ? -rule.get_weight(i) / pi : rule.get_weight(i) * a;
            const double slope = derivative(disc.get_piston_apodization_index(), r, a);
            if (slope != 0.0) {
                check.spend(std::int64_t{steps_of_sample} * size_);
                add_rim(rule, r, radial_weight * (disc.exact() ? 1.0 : pi) * (slope * r));
            }
        }
    }

    int size() const override { return size_; }
    int passes(const EdgeBlock<double>&) const override { return static_cast<int>(rims_.size()); }
    void sample(EdgeBlock<double>& block, int pass) const override {
        rims_[static_cast<std::size_t>(pass)].sample(block, 0);
    }

private:
    static constexpr int steps_of_sample = 8;  // a cosine

    // Throws std::bad_alloc where as many rims as abscissas do not fit into the memory.
    void require_room() const {
        constexpr std::size_t bytes_of_sample = 6 * sizeof(double);
        const auto n = static_cast<std::size_t>(size_);
        if (!fits_into_memory(n * n, bytes_of_sample)) {
            throw std::bad_alloc();
        }
    }

    void add_rim(const NumericalIntegration& rule, double radius, double weight) {
        rims_.emplace_back(rule, radius, weight);
    }

    int size_ = 0;
    std::vector<CircularEdge<double>> rims_;
};

}  // namespace

TransducerStatus CircularTransducer::fnm_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent() ? status_success : solve_uniform(*this, wave);
}

// With the uniform index the reference adds zero everywhere: a uniform profile has no slope. The
// exact one is then that of fnm_cw.
TransducerStatus CircularTransducer::fnm_cw_apodized() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    const WaveParameters wave = wave_of(*medium);
    const bool is_uniform = piston_apodization_index < 1 || piston_apodization_index > 4;
    if (exact() && is_uniform) {
        return solve_uniform(*this, wave);
    }
    InitializeRotationMatrix();
    return guarded([&] {
        const ApodizedDiscEdge edge(*this);
        return solve_continuous_wave(*this, edge, wave, prefactor(*this, wave));
    });
}

// The one operation without an amplitude test: an element of amplitude zero is computed in full.
TransducerStatus CircularTransducer::fnm_cw_sse() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_of(*medium);
    InitializeRotationMatrix();
    return guarded([&] {
        const CircularEdge<float> edge(*this, DelayBy::quotient, EdgeUnits::lengths);
        return solve_continuous_wave_single(*this, edge, wave, prefactor(*this, wave));
    });
}

}  // namespace kavro
