// The Laplace transform of a waveform between its ends.
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

#include "core/constants.h"
#include "core/quadrature_rule.h"
#include "excitation/excitation_function.h"
#include "excitation/pulse_integrals.h"

namespace kavro {

void ExcitationFunction::transform(std::complex<double>* out, const std::complex<double>* s,
                                   int count) const {
    if (sampled_) {
        transform_sampled(out, s, count);
        return;
    }
    const QuadratureRule& rule = *gauss_rule(16);
    double fastest = 0.0;
    for (int i = 0; i < count; ++i) {
        fastest = std::max(fastest, std::abs(s[i]));
    }
    constexpr double most_panels = 1e5;
    const auto panels =
        static_cast<std::size_t>(std::fmin(100.0 + std::ceil(fastest * w / pi), most_panels));
    const double half = 0.5 * w / static_cast<double>(panels);
    std::vector<double> t(16 * panels), v(t.size());
    for (std::size_t m = 0; m < t.size(); ++m) {
        t[m] = half * (static_cast<double>(2 * (m / 16) + 1) + rule.abscissas[m % 16]);
    }
    at_batch(v.data(), t.data(), static_cast<int>(t.size()));
    for (int i = 0; i < count; ++i) {
        std::complex<double> sum = 0.0;
        for (std::size_t m = 0; m < t.size(); ++m) {
            sum += rule.weights[m % 16] * v[m] * std::exp(-s[i] * t[m]);
        }
        out[i] = half * sum;
    }
}

// The signal's Fourier series, cut to 0 ... w: a sum of exponentials. Far from its own frequency,
// a term is (1 - e^(-(s - b) w)) / (s - b), whose exponentials are the product of two that are made
// once.
void ExcitationFunction::transform_sampled(std::complex<double>* out, const std::complex<double>* s,
                                           int count) const {
    constexpr std::complex<double> j(0.0, 1.0);
    std::vector<std::complex<double>> ends(harmonics_.frequencies.size());
    for (std::size_t k = 0; k < ends.size(); ++k) {
        ends[k] = std::exp(j * (harmonics_.frequencies[k] * w));
    }
    for (int i = 0; i < count; ++i) {
        const std::complex<double> end = std::exp(-s[i] * w);
        const auto term = [&](std::complex<double> b, std::complex<double> grown) {
            const std::complex<double> difference = s[i] - b;
            return std::norm(difference * w) < 1.0 ? exponential_integral(b, s[i], w)
                                                   : (1.0 - end * grown) / difference;
        };
        std::complex<double> sum = 0.0;
        for (std::size_t k = 0; k < ends.size(); ++k) {
            const std::complex<double> b = j * harmonics_.frequencies[k];
            const std::complex<double> C = harmonics_.coefficients[k];
            sum += C * term(b, ends[k]) + std::conj(C) * term(std::conj(b), std::conj(ends[k]));
        }
        out[i] = 0.5 * sum;
    }
}

}  // namespace kavro
