#include "excitation/tone_burst.h"

#include <array>
#include <cmath>

#include "core/constants.h"
#include "core/interrupted.h"
#include "core/simd/vector_math.h"
#include "excitation/pulse_integrals.h"
#include "excitation/waveform_kernels.h"

namespace kavro {
namespace {

constexpr int steps_of_sample = 8;

float single_precision_time(TimeSamples const& times, int i, float delay) {
    return static_cast<float>(times.time_index_value(i) - static_cast<double>(delay));
}

void write_sample(float* out, int ntimes, int i, double angle) {
    out[i] = static_cast<float>(std::sin(angle));
    out[ntimes + i] = -static_cast<float>(std::cos(angle));
}

}  // namespace

ToneBurst::ToneBurst(double centre_frequency, double pulse_width, double decay)
    : ExcitationFunction(centre_frequency, pulse_width, decay) {}

void ToneBurst::spatial_tsd(double* out, double const& tau) const {
    out[0] = std::cos(omega0 * tau);
    out[1] = std::sin(omega0 * tau);
}

void ToneBurst::spatial_tsd(float* out, float const& tau) const {
    const double angle = omega0 * static_cast<double>(tau);
    out[0] = static_cast<float>(std::cos(angle));
    out[1] = static_cast<float>(std::sin(angle));
}

void ToneBurst::temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                             double const& delay) const {
    InterruptCheck check;
    for (int i = 0; i < ntimes; ++i) {
        check.spend(steps_of_sample);
        const double angle = omega0 * (times->time_index_value(i) - delay);
        out[i] = std::sin(angle);
        out[ntimes + i] = -std::cos(angle);
    }
}

void ToneBurst::temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                             float const& delay) const {
    InterruptCheck check;
    if (exact()) {
        for (int i = 0; i < ntimes; ++i) {
            check.spend(steps_of_sample);
            const double t = times->time_index_value(i) - static_cast<double>(delay);
            write_sample(out, ntimes, i, t * omega0);
        }
        return;
    }
    const int remainder = ntimes % 4;
    for (int i = ntimes - 1; i > ntimes - remainder; --i) {
        const auto t = static_cast<double>(single_precision_time(*times, i, delay));
        write_sample(out, ntimes, i, t * omega0);
    }
    if (ntimes < 4) {
        return;
    }
    const __m128 frequency = _mm_set1_ps(static_cast<float>(omega0));
    for (int i = 0; i < ntimes; i += 4) {
        check.spend(steps_of_sample);
        std::array<float, 4> t;
        for (int lane = 0; lane < 4; ++lane) {
            t[static_cast<std::size_t>(lane)] = single_precision_time(*times, i + lane, delay);
        }
        __m128 sine;
        __m128 cosine;
        sincos_ps(_mm_mul_ps(_mm_loadu_ps(t.data()), frequency), &sine, &cosine);
        _mm_storeu_ps(out + i, sine);
        _mm_storeu_ps(out + ntimes + i, _mm_xor_ps(cosine, _mm_set1_ps(-0.0f)));
    }
}

double ToneBurst::at(double const& t) const {
    return 0.0 < t && t < w ? std::sin(t * (f0 * two_pi)) : 0.0;
}

double ToneBurst::derivative(double const& t) const {
    const double omega = f0 * two_pi;
    return 0.0 <= t && t <= w ? omega * std::cos(t * omega) : 0.0;
}

void ToneBurst::spatial_tsd_batch(double* out, const double* tau, int count) const {
    tone_burst_spatial_factors(tau, count, omega0, out);
}

void ToneBurst::spatial_tsd_batch(float* out, const float* tau, int count) const {
    tone_burst_spatial_factors(tau, count, omega0, out);
}

void ToneBurst::spatial_tsd_batch(float* out, const double* tau, int count) const {
    tone_burst_spatial_factors(tau, count, omega0, out);
}

void ToneBurst::value_temporal(double* out, TimeSamples const& times, double delay) const {
    temporal_tsd(out, &times, times.ntimes, delay);
}

void ToneBurst::at_batch(double* out, const double* t, int count) const {
    tone_burst_values(t, count, f0 * two_pi, w, out);
}

// Its main lobe ends there; the side lobes are those of the ends' jumps.
double ToneBurst::highest_frequency(double /* tolerance */) const {
    return f0 + 1.0 / w;
}

int ToneBurst::number_of_tsd_terms() const {
    return 2;
}

void ToneBurst::transform(std::complex<double>* out, const std::complex<double>* s,
                          int count) const {
    constexpr std::complex<double> j(0.0, 1.0);
    const double omega = f0 * two_pi;
    for (int i = 0; i < count; ++i) {
        out[i] =
            (exponential_integral(j * omega, s[i], w) - exponential_integral(-j * omega, s[i], w)) /
            (2.0 * j);
    }
}

bool ToneBurst::same_waveform(const ExcitationFunction& other) const {
    return dynamic_cast<const ToneBurst*>(&other) != nullptr && same_parameters(other);
}

}  // namespace kavro
