#include <cmath>
#include <cstddef>

#include "oracle/four_wide.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

double time_at(const std::vector<double>& times, std::size_t i) {
    return i < times.size() ? times[i] : 0.0;
}

// Stores a row of double factors, rounded.
template <class Real>
void store(Real* out, std::size_t stride, const std::vector<double>& factors) {
    for (std::size_t k = 0; k < factors.size(); ++k) {
        out[k * stride] = static_cast<Real>(factors[k]);
    }
}

}  // namespace

void AnalyticPulse::spatial(double tau, double* out) const {
    store(out, 1, spatial_factors(tau));
}

void AnalyticPulse::spatial(float tau, float* out) const {
    store(out, 1, spatial_factors(static_cast<double>(tau)));
}

void AnalyticPulse::temporal(const std::vector<double>& times, double delay, double* out) const {
    for (std::size_t i = 0; i < times.size(); ++i) {
        store(out + i, times.size(), temporal_factors(times[i] - delay, times[0] - delay));
    }
}

void AnalyticPulse::temporal(const std::vector<double>& times, float delay, float* out) const {
    const auto wide = static_cast<double>(delay);
    for (std::size_t i = 0; i < times.size(); ++i) {
        store(out + i, times.size(), temporal_factors(times[i] - wide, times[0] - wide));
    }
}

// ---- tone burst

AnalyticPulse::Factors ToneBurst::spatial_factors(double tau) const {
    return {std::cos(omega0_ * tau), std::sin(omega0_ * tau)};
}

AnalyticPulse::Factors ToneBurst::temporal_factors(double t, double) const {
    return {std::sin(omega0_ * t), -std::cos(omega0_ * t)};
}

void ToneBurst::temporal(const std::vector<double>& times, float delay, float* out) const {
    const std::size_t n = times.size();
    const auto shifted = [&](std::size_t i) {
        return static_cast<float>(time_at(times, i) - static_cast<double>(delay));
    };
    if (n % 4 >= 2) {
        for (std::size_t i = n - 1; i >= n - n % 4 + 1; --i) {
            const double angle = static_cast<double>(shifted(i)) * omega0_;
            out[i] = static_cast<float>(std::sin(angle));
            out[n + i] = -static_cast<float>(std::cos(angle));
        }
    }
    if (n >= 4) {
        for (std::size_t i = 0; i < n; i += 4) {
            float s[4], c[4];
            for (std::size_t lane = 0; lane < 4; ++lane) {
                const float angle = shifted(i + lane) * static_cast<float>(omega0_);
                sincos_lane(angle, &s[lane], &c[lane]);
            }
            for (std::size_t lane = 0; lane < 4; ++lane) {
                out[i + lane] = s[lane];
            }
            for (std::size_t lane = 0; lane < 4; ++lane) {
                out[n + i + lane] = -c[lane];
            }
        }
    }
}

double ToneBurst::at(double t) const {
    return 0.0 < t && t < w_ ? std::sin(t * (f0_ * two_pi)) : 0.0;
}

double ToneBurst::derivative(double t) const {
    return 0.0 <= t && t <= w_ ? (f0_ * two_pi) * std::cos(t * (f0_ * two_pi)) : 0.0;
}

// ---- Hanning pulse

AnalyticPulse::Factors HanningPulse::spatial_factors(double tau) const {
    const double c1 = std::cos(omega0_ * tau), s1 = std::sin(omega0_ * tau);
    const double c2 = std::cos(omega_w_ * tau), s2 = std::sin(omega_w_ * tau);
    return {c1, s1, c2 * c1, c2 * s1, s2 * c1, s2 * s1};
}

AnalyticPulse::Factors HanningPulse::temporal_factors(double t, double) const {
    const double c1 = std::cos(omega0_ * t), s1 = std::sin(omega0_ * t);
    const double c2 = std::cos(omega_w_ * t), s2 = std::sin(omega_w_ * t);
    return {0.5 * s1, -0.5 * c1, -0.5 * c2 * s1, 0.5 * c2 * c1, -0.5 * s2 * s1, 0.5 * s2 * c1};
}

double HanningPulse::at(double t) const {
    if (!(0.0 < t && t < w_)) {
        return 0.0;
    }
    return std::sin(two_pi * f0_ * t) * ((1.0 - std::cos(t * two_pi / w_)) * 0.5);
}

double HanningPulse::derivative(double t) const {
    if (!(0.0 < t && t < w_)) {
        return 0.0;
    }
    const double a = two_pi * t / w_;
    return (pi / w_) * std::sin(a) * std::sin(two_pi * f0_ * t) +
           std::cos(two_pi * f0_ * t) * ((1.0 - std::cos(a)) * (f0_ * pi));
}

// ---- t-cubed pulse

AnalyticPulse::Factors TCubedPulse::spatial_factors(double tau) const {
    const double e = std::exp(B_ * tau);
    const double c = std::cos(omega0_ * tau), s = std::sin(omega0_ * tau);
    return {c * e, c * tau * e, c * tau * tau * e, c * tau * tau * tau * e,
            s * e, s * tau * e, s * tau * tau * e, s * tau * tau * tau * e};
}

// The exponential of the first sample stands for all of them.
AnalyticPulse::Factors TCubedPulse::temporal_factors(double t, double first) const {
    const double E = std::exp(B_ * first);
    const double s = std::sin(omega0_ * t), c = std::cos(omega0_ * t);
    return {t * t * t * E * s,  -3.0 * t * t * E * s, 3.0 * t * E * s,  -s * E,
            -t * t * t * E * c, 3.0 * t * t * E * c,  -3.0 * t * E * c, c * E};
}

void TCubedPulse::spatial(float tau, float* out) const {
    const auto wide = static_cast<double>(tau);
    const auto c = static_cast<float>(std::cos(omega0_ * wide));
    const auto s = static_cast<float>(std::sin(omega0_ * wide));
    const auto e = static_cast<float>(std::exp(B_ * wide));
    const float powers[4] = {e, tau * e, tau * (tau * e), tau * (tau * (tau * e))};
    for (int k = 0; k < 4; ++k) {
        out[k] = c * powers[k];
        out[4 + k] = s * powers[k];
    }
}

double TCubedPulse::at(double t) const {
    if (!(0.0 < t && t < w_)) {
        return 0.0;
    }
    return std::pow(t, 3.0) * std::exp(-B_ * t) * std::sin(f0_ * two_pi * t);
}

double TCubedPulse::derivative(double t) const {
    if (!(0.0 < t && t < w_)) {
        return 0.0;
    }
    const double omega = f0_ * two_pi;
    const double E = std::exp(-t * B_), s = std::sin(omega * t), c = std::cos(omega * t);
    const double p = std::pow(t, 3.0);
    return omega * p * E * c + (3.0 * t * t * E * s - B_ * p * E * s);
}

}  // namespace kavro_oracle
