// The discrete Fourier transform of a real signal.
#pragma once

#include <complex>
#include <span>
#include <vector>

namespace kavro {

// Bins 0 ... N/2 of the unnormalised transform X_k = sum over n of x_n e^(-2 pi j k n / N); none
// for an empty signal. May be called from several threads at once.
std::vector<std::complex<double>> discrete_spectrum(std::span<const double> signal);

}  // namespace kavro
