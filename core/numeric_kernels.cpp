#include "core/numeric_kernels.h"

#include <cmath>

namespace kavro {
namespace {

template <class Real>
std::complex<Real> guarded_exp(Real re, Real im) {
    const Real magnitude = re != Real(0) ? std::exp(re) : Real(1);
    if (im == Real(0)) {
        return {magnitude, Real(0)};
    }
    const Real cosine = std::cos(im);
    const Real sine = std::sin(im);
    return re != Real(0) ? std::complex<Real>(magnitude * cosine, magnitude * sine)
                         : std::complex<Real>(cosine, sine);
}

}  // namespace

double sign(double x) {
    return std::abs(x) <= 1e-10 ? 0.0 : x / std::abs(x);
}

std::complex<double> smart_exp(double re, double im) {
    return guarded_exp(re, im);
}

std::complex<double> smart_exp(std::complex<double> z) {
    return guarded_exp(z.real(), z.imag());
}

void smart_exp(double re, double im, double& out_re, double& out_im) {
    const std::complex<double> value = guarded_exp(re, im);
    out_re = value.real();
    out_im = value.imag();
}

std::complex<float> smart_exp(std::complex<float> z) {
    return guarded_exp(z.real(), z.imag());
}

std::complex<float> smart_exp(float re, float im) {
    return guarded_exp(re, im);
}

std::complex<double> fast_sinc(double a, double b) {
    if (a == 0.0 && b == 0.0) {
        return {1.0, 0.0};
    }
    const double s = std::sin(a);
    const double c = std::cos(a);
    const double growing = std::exp(b);
    const double decaying = std::exp(-b);
    const double q = 1.0 / (b * b + a * a);
    const double re = s * decaying + s * (growing * 0.5);
    const double im = growing * 0.5 * c - c * decaying;
    return {(im * b + re * a) * q, (im * a - re * b) * q};
}

std::complex<double> fast_sinc(std::complex<double> z) {
    return fast_sinc(z.real(), z.imag());
}

}  // namespace kavro
