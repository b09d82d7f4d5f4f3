#include "excitation/pulse_integrals.h"

namespace kavro {
namespace {

using Complex = std::complex<double>;

// The integral of u^k e^(-x u) by its series, the sum of (-x)^n / (n! (n + k + 1)): for |x| up to
// some 3, where the closed forms cancel.
Complex moment_by_series(int k, Complex x) {
    Complex power = 1.0;
    Complex sum = 0.0;
    for (int n = 0; n < 40; ++n) {
        sum += power / static_cast<double>(n + k + 1);
        power *= -x / static_cast<double>(n + 1);
    }
    return sum;
}

}  // namespace

Complex exponential_mean(Complex x) {
    return std::norm(x) < 1.0 ? moment_by_series(0, x) : (1.0 - std::exp(-x)) / x;
}

Complex cubic_moment(Complex x) {
    if (std::norm(x) < 9.0) {
        return moment_by_series(3, x);
    }
    const Complex end = std::exp(-x);
    Complex moment = (1.0 - end) / x;
    for (int k = 1; k <= 3; ++k) {
        moment = (static_cast<double>(k) * moment - end) / x;
    }
    return moment;
}

}  // namespace kavro
