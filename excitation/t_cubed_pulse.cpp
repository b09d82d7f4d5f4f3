#include "excitation/t_cubed_pulse.h"

#include <algorithm>
#include <cmath>

#include "core/constants.h"
#include "core/interrupted.h"
#include "excitation/pulse_integrals.h"

namespace kavro {
namespace {

// The exponential and the powers of tau in the precision of the factors.
template <class Real>
void write_spatial_factors(const TCubedPulse& pulse, Real* out, Real tau) {
    const auto wide_tau = static_cast<double>(tau);
    const auto c = static_cast<Real>(std::cos(pulse.omega0 * wide_tau));
    const auto s = static_cast<Real>(std::sin(pulse.omega0 * wide_tau));
    auto power = static_cast<Real>(std::exp(pulse.B * wide_tau));
    for (int k = 0; k < 4; ++k) {
        out[k] = c * power;
        out[4 + k] = s * power;
        power = tau * power;
    }
}

template <class Real>
void write_temporal_factors(const TCubedPulse& pulse, Real* out, TimeSamples const& times,
                            int ntimes, double delay) {
    const auto row = static_cast<std::size_t>(ntimes);
    // Once, from the first sample and with a growing exponent, on purpose.
    const double first_sample_factor = std::exp(pulse.B * (times.time_index_value(0) - delay));
    constexpr int steps_of_sample = 16;
    InterruptCheck check;
    for (int i = 0; i < ntimes; ++i) {
        check.spend(steps_of_sample);
        const double t = times.time_index_value(i) - delay;
        const double E = pulse.exact() ? std::exp(-pulse.B * t) : first_sample_factor;
        const double s = std::sin(pulse.omega0 * t);
        const double c = std::cos(pulse.omega0 * t);
        Real* sample = out + i;
        sample[0] = static_cast<Real>(t * t * t * E * s);
        sample[row] = static_cast<Real>(-3.0 * (t * t) * E * s);
        sample[2 * row] = static_cast<Real>(3.0 * t * E * s);
        sample[3 * row] = static_cast<Real>(-s * E);
        sample[4 * row] = static_cast<Real>(-(t * t * t) * E * c);
        sample[5 * row] = static_cast<Real>(3.0 * (t * t) * E * c);
        sample[6 * row] = static_cast<Real>(-3.0 * t * E * c);
        sample[7 * row] = static_cast<Real>(c * E);
    }
}

}  // namespace

TCubedPulse::TCubedPulse(double centre_frequency, double pulse_width, double decay)
    : ExcitationFunction(centre_frequency, pulse_width, decay) {}

void TCubedPulse::spatial_tsd(double* out, double const& tau) const {
    write_spatial_factors(*this, out, tau);
}

void TCubedPulse::spatial_tsd(float* out, float const& tau) const {
    write_spatial_factors(*this, out, tau);
}

void TCubedPulse::temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                               double const& delay) const {
    write_temporal_factors(*this, out, *times, ntimes, delay);
}

void TCubedPulse::temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                               float const& delay) const {
    write_temporal_factors(*this, out, *times, ntimes, static_cast<double>(delay));
}

double TCubedPulse::at(double const& t) const {
    if (!(0.0 < t && t < w)) {
        return 0.0;
    }
    return std::pow(t, 3.0) * std::exp(-B * t) * std::sin(f0 * two_pi * t);
}

double TCubedPulse::derivative(double const& t) const {
    if (!(0.0 < t && t < w)) {
        return 0.0;
    }
    const double omega = f0 * two_pi;
    const double E = std::exp(-t * B);
    const double s = std::sin(omega * t);
    const double c = std::cos(omega * t);
    const double p = std::pow(t, 3.0);
    return omega * p * E * c + (3.0 * t * t * E * s - B * p * E * s);
}

bool TCubedPulse::decomposition_holds(double spread, double latest) const {
    // Keeps 10^-10 of the peak.
    return !exact() || (std::fabs(B) * spread <= 12.0 && std::fabs(B) * latest <= 100.0);
}

// Of the envelope's spectrum, which falls with the fourth power of the frequency over B.
double TCubedPulse::highest_frequency(double tolerance) const {
    return f0 + B / two_pi * std::min(12.0, std::pow(tolerance, -0.25));
}

int TCubedPulse::number_of_tsd_terms() const {
    return 8;
}

void TCubedPulse::transform(std::complex<double>* out, const std::complex<double>* s,
                            int count) const {
    constexpr std::complex<double> j(0.0, 1.0);
    const double omega = f0 * two_pi;
    const double scale = w * w * w * w;
    for (int i = 0; i < count; ++i) {
        const std::complex<double> decay = s[i] + B;
        out[i] = scale *
                 (cubic_moment((decay - j * omega) * w) - cubic_moment((decay + j * omega) * w)) /
                 (2.0 * j);
    }
}

bool TCubedPulse::same_waveform(const ExcitationFunction& other) const {
    return dynamic_cast<const TCubedPulse*>(&other) != nullptr && same_parameters(other);
}

}  // namespace kavro
