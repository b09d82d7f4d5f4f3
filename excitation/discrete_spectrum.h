// The discrete Fourier transform of a real signal, and back; sums of cosines or of sines.
#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace kavro {

// Bins 0 ... N/2 of the unnormalised transform X_k = sum over n of x_n e^(-2 pi j k n / N); none
// for an empty signal. May be called from several threads at once.
std::vector<std::complex<double>> discrete_spectrum(std::span<const double> signal);

// The way back, unnormalised, for several signals side by side: value n of signal i, at n * signals
// + i, is the sum over k = 0 ... N - 1 of X_k e^(2 pi j k n / N) with X_(N-k) the conjugate of X_k.
// Made once for a length; may be applied by several threads at once.
class InverseTransform {
public:
    InverseTransform(int length, int signals);  // throws std::bad_alloc

    // Real parts of the bins 0 ... N/2, bin k of signal i at k * signals + i, behind them the
    // imaginary parts; they are overwritten. Both start on cache lines.
    void operator()(double* bins, double* values) const;

private:
    struct Destroy {
        void operator()(void* plan) const;
    };

    std::size_t bins_;  // of all signals
    std::unique_ptr<void, Destroy> plan_;
};

// A line of samples as a sum of cosines or of sines, and back. Along a line of N steps a sum is
// even or odd about each of its ends; a sample lies on an end about which the sum is even, and none
// on one about which it is odd, where it is zero. Made once for a length; may be applied by several
// threads at once.
class HarmonicTransform {
public:
    // Throws std::bad_alloc. Two samples at least where both ends are even, else one.
    HarmonicTransform(int samples, bool first_is_even, bool last_is_even);

    // In place. Coefficients are scaled such that a way there and back changes nothing.
    void analyse(double* samples) const;
    void synthesise(double* coefficients) const;

private:
    struct Destroy {
        void operator()(void* plan) const;
    };

    int samples_;
    double scale_;
    std::unique_ptr<void, Destroy> analysis_, synthesis_;
};

}  // namespace kavro
