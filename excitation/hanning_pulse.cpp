#include "excitation/hanning_pulse.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/constants.h"
#include "core/interrupted.h"
#include "excitation/pulse_integrals.h"
#include "excitation/waveform_kernels.h"

namespace kavro {
namespace {

template <class Real>
void write_spatial_factors(const HanningPulse& pulse, Real* out, double tau) {
    const double c1 = std::cos(pulse.omega0 * tau);
    const double s1 = std::sin(pulse.omega0 * tau);
    const double c2 = std::cos(pulse.omega_w * tau);
    const double s2 = std::sin(pulse.omega_w * tau);
    out[0] = static_cast<Real>(c1);
    out[1] = static_cast<Real>(s1);
    out[2] = static_cast<Real>(c2 * c1);
    out[3] = static_cast<Real>(c2 * s1);
    out[4] = static_cast<Real>(s2 * c1);
    out[5] = static_cast<Real>(s2 * s1);
}

template <class Real>
void write_temporal_factors(const HanningPulse& pulse, Real* out, TimeSamples const& times,
                            int ntimes, double delay) {
    constexpr int samples_at_a_time = 4096;
    constexpr int steps_of_sample = 8;
    const auto row = static_cast<std::size_t>(ntimes);
    const auto part = static_cast<std::size_t>(std::min(ntimes, samples_at_a_time));
    std::vector<double> carrier(part), window(part), s1(part), c1(part), s2(part), c2(part);
    InterruptCheck check;
    for (int begin = 0; begin < ntimes;) {
        const int count = std::min(ntimes - begin, samples_at_a_time);
        check.spend(std::int64_t{steps_of_sample} * count);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            const double t = times.time_index_value(begin + static_cast<int>(i)) - delay;
            carrier[i] = pulse.omega0 * t;
            window[i] = pulse.omega_w * t;
        }
        sine_and_cosine(carrier.data(), count, s1.data(), c1.data());
        sine_and_cosine(window.data(), count, s2.data(), c2.data());
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            Real* sample = out + begin + i;
            sample[0] = static_cast<Real>(0.5 * s1[i]);
            sample[row] = static_cast<Real>(-0.5 * c1[i]);
            sample[2 * row] = static_cast<Real>(-0.5 * c2[i] * s1[i]);
            sample[3 * row] = static_cast<Real>(0.5 * c2[i] * c1[i]);
            sample[4 * row] = static_cast<Real>(-0.5 * s2[i] * s1[i]);
            sample[5 * row] = static_cast<Real>(0.5 * s2[i] * c1[i]);
        }
        begin += count;
    }
}

}  // namespace

HanningPulse::HanningPulse(double centre_frequency, double pulse_width, double decay)
    : ExcitationFunction(centre_frequency, pulse_width, decay) {}

void HanningPulse::spatial_tsd(double* out, double const& tau) const {
    write_spatial_factors(*this, out, tau);
}

void HanningPulse::spatial_tsd(float* out, float const& tau) const {
    write_spatial_factors(*this, out, static_cast<double>(tau));
}

void HanningPulse::temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                                double const& delay) const {
    write_temporal_factors(*this, out, *times, ntimes, delay);
}

void HanningPulse::temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                                float const& delay) const {
    write_temporal_factors(*this, out, *times, ntimes, static_cast<double>(delay));
}

double HanningPulse::at(double const& t) const {
    if (!(0.0 < t && t < w)) {
        return 0.0;
    }
    return std::sin(two_pi * f0 * t) * ((1.0 - std::cos(t * two_pi / w)) * 0.5);
}

double HanningPulse::derivative(double const& t) const {
    if (!(0.0 < t && t < w)) {
        return 0.0;
    }
    const double a = two_pi * t / w;
    const double carrier = two_pi * f0 * t;
    return pi / w * std::sin(a) * std::sin(carrier) +
           std::cos(carrier) * ((1.0 - std::cos(a)) * (f0 * pi));
}

void HanningPulse::spatial_tsd_batch(double* out, const double* tau, int count) const {
    hanning_spatial_factors(tau, count, omega0, omega_w, out);
}

void HanningPulse::spatial_tsd_batch(float* out, const float* tau, int count) const {
    hanning_spatial_factors(tau, count, omega0, omega_w, out);
}

void HanningPulse::spatial_tsd_batch(float* out, const double* tau, int count) const {
    hanning_spatial_factors(tau, count, omega0, omega_w, out);
}

void HanningPulse::value_temporal(double* out, TimeSamples const& times, double delay) const {
    temporal_tsd(out, &times, times.ntimes, delay);
}

void HanningPulse::at_batch(double* out, const double* t, int count) const {
    hanning_values(t, count, two_pi * f0, w, out);
}

// The main lobe ends 2 / w beyond f0.
double HanningPulse::highest_frequency(double tolerance) const {
    const double share = std::min(1.0, 0.6 + 0.2 * std::log10(0.1 / tolerance));
    return f0 + 2.0 / w * share;
}

int HanningPulse::number_of_tsd_terms() const {
    return 6;
}

void HanningPulse::transform(std::complex<double>* out, const std::complex<double>* s,
                             int count) const {
    // The carrier and its two neighbours, a window's frequency apart.
    constexpr std::complex<double> j(0.0, 1.0);
    const double carrier = two_pi * f0;
    const double window = two_pi / w;
    for (int i = 0; i < count; ++i) {
        const auto pair = [&](double omega) {
            return (exponential_integral(j * omega, s[i], w) -
                    exponential_integral(-j * omega, s[i], w)) /
                   (2.0 * j);
        };
        out[i] = 0.5 * pair(carrier) - 0.25 * (pair(carrier + window) + pair(carrier - window));
    }
}

bool HanningPulse::same_waveform(const ExcitationFunction& other) const {
    return dynamic_cast<const HanningPulse*>(&other) != nullptr && same_parameters(other);
}

}  // namespace kavro
