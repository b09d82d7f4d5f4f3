// Integrals that the spectra of pulses are made of.
#pragma once

#include <complex>

namespace kavro {

// The integral of e^(-x u) over 0 <= u <= 1.
std::complex<double> exponential_mean(std::complex<double> x);

// The integral of u^3 e^(-x u) over 0 <= u <= 1.
std::complex<double> cubic_moment(std::complex<double> x);

// The integral of e^(bt) e^(-st) over 0 <= t <= w.
inline std::complex<double> exponential_integral(std::complex<double> b, std::complex<double> s,
                                                 double w) {
    return w * exponential_mean((s - b) * w);
}

}  // namespace kavro
