#include <cmath>
#include <cstddef>

#include "oracle/literal_waveforms.h"
#include "oracle/spectrum.h"

namespace kavro_oracle {
namespace {

// The phase of a + jb, by hand.
double phase_of(Complex c) {
    const double a = c.real();
    const double b = c.imag();
    const double half_pi = 1.570796326794895;
    if (a > 0.0) {
        return std::atan(b / a);
    }
    if (a < 0.0) {
        return b >= 0.0 ? std::atan(b / a) + pi : std::atan(b / a) - pi;
    }
    return b > 0.0 ? half_pi : (b < 0.0 ? -half_pi : 0.0);
}

}  // namespace

SampledSignal::SampledSignal(std::span<const double> signal, double ts, double w,
                             double clip_threshold)
    : N_(static_cast<double>(signal.size())), w_(w) {
    const std::vector<Complex> bins = spectrum(signal);
    const auto length = static_cast<int>(signal.size());
    // An odd length loses its last bin.
    const int candidates = static_cast<int>(bins.size()) - length % 2;
    nyquist_index = length / 2;
    dc_index = -1;
    const double thr =
        clip_threshold < 0.0 ? std::pow(10.0, clip_threshold / 10.0) : clip_threshold;
    double largest = 0.0;
    for (int k = 0; k < candidates; ++k) {
        largest = std::fmax(largest, std::abs(bins[static_cast<std::size_t>(k)]));
    }
    if (thr == 0.0) {
        n_terms = candidates;
        dc_index = 0;
    }
    for (int k = 0; k < candidates; ++k) {
        const Complex bin = bins[static_cast<std::size_t>(k)];
        if (!(thr < std::abs(bin) / largest)) {
            continue;
        }
        const auto j = static_cast<int>(coefficients.size());
        coefficients.push_back(bin);
        frequencies.push_back(k * (2.0 * (1.0 / N_) * pi / ts));
        if (k == nyquist_index) {
            nyquist_index = j;
        } else if (k == dc_index) {
            dc_index = j;
        }
    }
    if (thr != 0.0) {
        n_terms = static_cast<int>(coefficients.size());
    }
    // Bins that were counted but not copied stay zero.
    coefficients.resize(static_cast<std::size_t>(n_terms));
    frequencies.resize(static_cast<std::size_t>(n_terms));
}

void SampledSignal::spatial(double tau, double* out) const {
    for (int k = 0; k < n_terms; ++k) {
        const double angle = frequencies[static_cast<std::size_t>(k)] * tau;
        out[k] = std::cos(angle) + std::sin(angle);
        if (!counts_once(k)) {
            out[k] *= 2.0;
        }
    }
}

void SampledSignal::spatial(float tau, float* out) const {
    std::vector<double> factors(static_cast<std::size_t>(n_terms));
    spatial(static_cast<double>(tau), factors.data());
    for (int k = 0; k < n_terms; ++k) {
        out[k] = static_cast<float>(factors[static_cast<std::size_t>(k)]);
    }
}

void SampledSignal::spatial(double tau, Complex* out) const {
    for (int k = 0; k < n_terms; ++k) {
        const double angle = frequencies[static_cast<std::size_t>(k)] * tau;
        out[k] = {std::cos(angle), -std::sin(angle)};
        if (!counts_once(k)) {
            out[k] *= 2.0;
        }
    }
}

void SampledSignal::temporal(const std::vector<double>& times, double delay, double* out) const {
    for (std::size_t i = 0; i < times.size(); ++i) {
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            const double angle = frequencies[k] * (times[i] - delay);
            const double a = coefficients[k].real(), b = coefficients[k].imag();
            const double s = std::sin(angle), c = std::cos(angle);
            out[k * times.size() + i] = (a * s + b * c + (a * c - b * s)) / N_;
        }
    }
}

void SampledSignal::temporal(const std::vector<double>& times, float delay, float* out) const {
    const auto inverse = static_cast<float>(1.0 / N_);
    for (std::size_t i = 0; i < times.size(); ++i) {
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            const double angle = frequencies[k] * (times[i] - static_cast<double>(delay));
            const double a = coefficients[k].real(), b = coefficients[k].imag();
            const double s = std::sin(angle), c = std::cos(angle);
            const double sum = a * s + b * c + (a * c - b * s);
            out[k * times.size() + i] = static_cast<float>(sum * static_cast<double>(inverse));
        }
    }
}

void SampledSignal::temporal(const std::vector<double>& times, double delay, Complex* out) const {
    for (std::size_t i = 0; i < times.size(); ++i) {
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            const double angle = frequencies[k] * (times[i] - delay);
            out[k * times.size() + i] =
                coefficients[k] * Complex(std::cos(angle), std::sin(angle)) / N_;
        }
    }
}

double SampledSignal::at(double t) const {
    if (t < 0.0 || t > w_ || n_terms < 1) {
        return 0.0;
    }
    double sum = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        const Complex c = coefficients[k];
        sum += 2.0 * std::abs(c) * std::cos(frequencies[k] * t + phase_of(c)) / N_;
    }
    return sum;
}

double SampledSignal::derivative(double t) const {
    if (t < 0.0 || t > w_ || n_terms < 1) {
        return 0.0;
    }
    double sum = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        const Complex c = coefficients[k];
        sum += -2.0 * std::abs(c) * std::sin(frequencies[k] * t + phase_of(c)) / N_;
    }
    return sum;
}

}  // namespace kavro_oracle
