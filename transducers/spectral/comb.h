// Equally spaced complex frequencies, and what a medium does at each.
#pragma once

#include <complex>
#include <vector>

#include "transducers/spectral/power_law.h"

namespace kavro {

// s_q = first + j q step. A wave of the delay tau in the lossless medium arrives with the factor
// e^(-(s + mu) tau), mu = c gamma - s. Along a run of frequencies mu is taken as a chord, so that
// the factor of one frequency follows from that of the one before by a product; the rest, mu less
// the chord, is left to the first order or, where it is small enough, out.
struct Comb {
    struct Run {
        int first, last;            // frequencies first <= q < last; the chord ends at q = last
        std::complex<double> rate;  // by which s + mu grows from one frequency to the next
        bool moment;                // the rest counts to the first order
    };

    std::complex<double> first;  // s_0, 1/s
    double step;                 // rad/s
    std::vector<Run> runs;       // through all frequencies and possibly a few more
    std::vector<std::complex<double>> mu, rest;
    std::vector<std::complex<double>> factor;  // of frequency q, what the result is multiplied with

    // Delays of a point stay within `spread` of the middle one; the sums' terms keep the tolerance.
    // A longer comb begins as a shorter one does, to the last bit.
    Comb(const PowerLaw& law, double speed, std::complex<double> first, double step, int count,
         double spread, double tolerance);

    int size() const { return static_cast<int>(mu.size()) - 1; }
    std::complex<double> s(int q) const { return first + std::complex<double>(0.0, q * step); }
};

}  // namespace kavro
