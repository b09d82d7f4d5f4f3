// Small scalar functions shared by the solvers.
#pragma once

#include <complex>

namespace kavro {

// 0 where |x| <= 1e-10, otherwise +1 or -1.
double sign(double x);

// e^z. The exponential is evaluated only where the real part is not 0, sine and cosine only where
// the imaginary part is not 0: most evaluations are lossless or on an axis.
std::complex<double> smart_exp(std::complex<double> z);
std::complex<double> smart_exp(double re, double im);
void smart_exp(double re, double im, double& out_re, double& out_im);
std::complex<float> smart_exp(std::complex<float> z);
std::complex<float> smart_exp(float re, float im);

// Sinc of a + ib; 1 at the origin. e^(-b) enters with weight 1 and e^b with 1/2 on purpose: for
// b != 0 this is not the textbook pair of hyperbolic functions.
std::complex<double> fast_sinc(double a, double b);
std::complex<double> fast_sinc(std::complex<double> z);

}  // namespace kavro
