#include "oracle/spectrum.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace kavro_oracle {

std::vector<std::complex<double>> spectrum(std::span<const double> signal) {
    const std::size_t n = signal.size();
    std::vector<std::complex<double>> bins(n == 0 ? 0 : n / 2 + 1);
    for (std::size_t k = 0; k < bins.size(); ++k) {
        long double re = 0, im = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const long double turn =
                static_cast<long double>((k * i) % n) / static_cast<long double>(n);
            const long double angle = 2 * std::numbers::pi_v<long double> * turn;
            re += static_cast<long double>(signal[i]) * std::cos(angle);
            im -= static_cast<long double>(signal[i]) * std::sin(angle);
        }
        bins[k] = {static_cast<double>(re), static_cast<double>(im)};
    }
    return bins;
}

double band_limited(std::span<const double> signal, double ts, double t) {
    const auto n = static_cast<double>(signal.size());
    const std::vector<std::complex<double>> bins = spectrum(signal);
    double sum = 0.0;
    for (std::size_t k = 0; k < bins.size(); ++k) {
        const bool once = k == 0 || 2 * k == signal.size();
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(k) * t / (n * ts);
        const double term = bins[k].real() * std::cos(angle) - bins[k].imag() * std::sin(angle);
        sum += once ? term : 2.0 * term;
    }
    return sum / n;
}

}  // namespace kavro_oracle
