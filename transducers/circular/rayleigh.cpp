// The disc's Rayleigh integrals.
#include <cmath>
#include <complex>

#include "core/console.h"
#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_series.h"
#include "transducers/circular/circular_response.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/circular/piston_apodization.h"
#include "transducers/surface/half_annulus.h"

namespace kavro {
namespace {

enum class Weighting { uniform, apodized };

template <class Real>
HalfAnnulus<Real> half_of(const CircularTransducer& disc, Weighting weighting) {
    const int n = disc.integral->get_npoints();
    const double a = disc.radius;
    if (weighting == Weighting::uniform) {
        return {n, 0.0, a};
    }
    const int index = disc.get_piston_apodization_index();
    return {n, 0.0, a, [=](double r) { return piston_apodization::evaluate(index, r, a); }};
}

// Q = 2 j rho f0 w: the other half of the disc is the factor 2.
std::complex<double> prefactor(const CircularTransducer& disc) {
    const Medium& medium = *disc.medium;
    return std::complex<double>(0.0, 2 * medium._rho_density * medium._f0) * disc.complex_weight;
}

template <class Real>
TransducerStatus solve(CircularTransducer& disc, Weighting weighting, const WaveParameters& wave) {
    disc.InitializeRotationMatrix();
    return guarded([&] {
        return solve_rayleigh(disc, half_of<Real>(disc, weighting), wave, prefactor(disc));
    });
}

double first_value(const ExcitationFunction& v) {
    return v.at(std::nextafter(0.0, 1.0));
}

double last_value(const ExcitationFunction& v) {
    return std::isfinite(v.w) ? v.at(std::nextafter(v.w, 0.0)) : 0.0;
}

bool has_jumps(const ExcitationFunction& v) {
    return v.w > 0.0 && (first_value(v) != 0.0 || last_value(v) != 0.0);
}

// rho A [v(0) h(t - delay) - v(w) h(t - delay - w)] with the impulse response h.
TransducerStatus add_jumps(CircularTransducer& disc) {
    const double density = disc.medium->_rho_density;
    const double w = disc.excitation->w;
    const double first = density * first_value(*disc.excitation);
    const double last = density * last_value(*disc.excitation);
    return add_point_series(
        disc, [=, &disc](const CartesianCoordinate& p, SampleWindow samples, double* values) {
            if (p.z < 0.0) {
                return;
            }
            const CircularResponse h(disc.radius, disc.medium->_soundspeed,
                                     std::sqrt(p.x * p.x + p.y * p.y), p.z);
            for (int j = samples.begin; j < samples.end; ++j) {
                const double t = disc.time_samples->time_index_value(j) - disc.time_delay;
                values[j - samples.begin] = first * h(t) - last * h(t - w);
            }
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
    return is_silent() ? status_success : solve<float>(*this, Weighting::uniform, wave_of(*medium));
}

// p = rho / (2 pi) * sum over the half disc of 2 v'(t - R/c - delay) / R dA. A sampled waveform's
// reference derivative lacks the factor of the frequency. A waveform that begins or ends with a
// jump loses that jump's wave, as the derivative does not contain it; exactly, it is added.
TransducerStatus CircularTransducer::rayleigh_transient() {
    if (!has_transient_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        const double density = medium->_rho_density;
        const auto integral_over = half_of<double>(*this, Weighting::uniform);
        if (!exact() || !has_jumps(*excitation)) {
            return solve_rayleigh_transient(*this, integral_over, density / pi);
        }
        TransducerStatus status = status_success;
        {
            const console::ProgressPart part(0.0, 0.9);
            status = solve_rayleigh_transient(*this, integral_over, density / pi);
        }
        if (status == status_success) {
            const console::ProgressPart part(0.9, 1.0);
            status = add_jumps(*this);
        }
        return status;
    });
}

}  // namespace kavro
