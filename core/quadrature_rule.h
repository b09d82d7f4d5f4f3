// Quadrature rules that nobody changes any more.
#pragma once

#include <memory>
#include <vector>

namespace kavro {

struct QuadratureRule {
    std::vector<double> abscissas, weights;  // of the same length; Gauss rules in descending order

    int order() const { return static_cast<int>(abscissas.size()); }

    // From [-1, 1] to [a, b].
    QuadratureRule mapped(double a, double b) const;
};

// The Gauss-Legendre rule of n abscissas on [-1, 1]; empty for n below 1. Each is computed once and
// shared by all threads; very long ones are forgotten when nobody holds them. Throws Interrupted
// where the console port asks to stop: for the calling thread only.
std::shared_ptr<const QuadratureRule> gauss_rule(int n);

}  // namespace kavro
