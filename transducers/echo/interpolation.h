// Interpolation of what varies with frequency as waves of limited delay do.
#pragma once

#include <complex>
#include <vector>

namespace kavro::echo {

// Weights of equidistant nodes k = 0 ... taps - 1 for the value at x (in steps of the nodes, and
// with losses complex), of waves e^(j theta k) with |theta| <= most.
std::vector<std::complex<double>> weights_at(std::complex<double> x, int taps, double most);

// The largest error of such a wave's value, of a magnitude of 1.
double error_of(const std::vector<std::complex<double>>& weights, std::complex<double> x,
                double most);

}  // namespace kavro::echo
