// Losses that grow with a power of frequency, and the dispersion that causality asks of them.
#pragma once

#include <cmath>
#include <complex>

#include "core/constants.h"
#include "core/medium.h"

namespace kavro {

// The propagation factor over a path R is e^(-gamma(s) R) with s = eta + j omega (1/s). At eta = 0,
// gamma = alpha + j omega / c(omega): alpha = A omega^y in nepers per metre, and c(omega) follows
// from alpha by the relations of Kramers and Kronig, with the medium's speed of sound at the
// reference frequency. Speed rises with frequency; at y = 2 there is no dispersion.
class PowerLaw {
public:
    // With the reference frequency (Hz) of a medium that has none of its own.
    PowerLaw(const Medium& medium, double default_reference)
        : exponent_(exponent_of(medium)),
          reference_(two_pi * (medium._reference_frequency > 0.0 ? medium._reference_frequency
                                                                 : default_reference)) {
        if (medium._dBcmMHz != 0.0) {
            slope_ = medium._dBcmMHz * 100 / 8.685889638065037 * std::pow(two_pi * 1e6, -exponent_);
        }
    }

    // Whether such a law exists: an exponent in (0, 2], and a loss that is not negative. Without
    // losses any medium will do.
    static bool holds_for(const Medium& medium) {
        const double y = exponent_of(medium);
        if (medium._dBcmMHz == 0.0) {
            return true;
        }
        return y > 0.0 && y <= 2.0 && medium._dBcmMHz >= 0.0 && std::isfinite(medium._dBcmMHz) &&
               medium._reference_frequency >= 0.0 && std::isfinite(medium._reference_frequency);
    }

    double exponent() const { return exponent_; }
    double slope() const { return slope_; }  // A

    double attenuation(double omega) const {
        return slope_ == 0.0 ? 0.0 : slope_ * std::pow(omega, exponent_);
    }

    // gamma(s) - s / c, 1/m. For Im s >= 0; 0 at s = 0.
    std::complex<double> excess(std::complex<double> s) const {
        if (slope_ == 0.0 || s == 0.0) {
            return 0.0;
        }
        const std::complex<double> u = std::log(s / reference_);
        if (exponent_ == 1.0) {
            return -2.0 * slope_ / pi * s * u;
        }
        // Nothing cancels near y = 1.
        const double epsilon = exponent_ - 1.0;
        const double quarter = std::sin(pi * epsilon / 4.0);
        return -slope_ * std::pow(reference_, epsilon) * s *
               (expm1(epsilon * u) + 2.0 * quarter * quarter) / std::sin(pi * epsilon / 2.0);
    }

private:
    static double exponent_of(const Medium& medium) { return medium._b == 0.0 ? 1.0 : medium._b; }

    static std::complex<double> expm1(std::complex<double> x) {
        const double half = std::sin(x.imag() / 2.0);
        return {std::expm1(x.real()) * std::cos(x.imag()) - 2.0 * half * half,
                std::exp(x.real()) * std::sin(x.imag())};
    }

    double exponent_;
    double reference_;    // rad/s
    double slope_ = 0.0;  // A, (s/rad)^y / m
};

}  // namespace kavro
