// The discrete Fourier transform as the sum it is, and the signal between its samples.
#pragma once

#include <complex>
#include <span>
#include <vector>

namespace kavro_oracle {

// Bins 0 ... N/2 of X_k = sum over n of x_n e^(-2 pi j k n / N).
std::vector<std::complex<double>> spectrum(std::span<const double> signal);

// The periodic band-limited interpolation of samples ts apart: every bin at its own frequency,
// zero and Nyquist once, all others twice (for their mirror images). Unlimited in time.
double band_limited(std::span<const double> signal, double ts, double t);

}  // namespace kavro_oracle
