// A sine under a window that rises with the cube of time and decays exponentially.
#pragma once

#include <emmintrin.h>

#include "excitation_function.h"

namespace kavro {

// v(t) = t^3 e^(-B t) sin(2 pi f0 t), 0 < t < w. Eight terms.
//
// The reference temporal factors carry the constant e^(B t) of the first sample in place of each
// sample's e^(-B t), on purpose. `set_exact(true)` makes the decomposition equal to `at`.
class TCubedPulse final : public ExcitationFunction {
public:
    TCubedPulse(double f0, double pulse_width, double B);  // Hz, s, 1/s

    void spatial_tsd(double* out, double const& tau) const override;
    void spatial_tsd(float* out, float const& tau) const override;
    void spatial_tsd(__m128*, __m128) const {}  // writes nothing on purpose
    void temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                      double const& delay) const override;
    void temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                      float const& delay) const override;
    double at(double const& t) const override;
    double derivative(double const& t) const override;
    int number_of_tsd_terms() const override;
    double highest_frequency(double tolerance) const override;
    bool same_waveform(const ExcitationFunction& other) const override;
    void transform(std::complex<double>* out, const std::complex<double>* s,
                   int count) const override;
    // The exact factors e^(B tau) tau^m and t^m e^(-B t) cancel to (B tau)^-3 of their size and
    // soon leave the range of single precision.
    bool single_precision_suffices() const override { return !exact(); }
    // The exact factors of the earliest delay are e^(B spread) times smaller than those of the
    // latest, which the sums are scaled to, and the cubes cancel to (B latest)^-3.
    bool decomposition_holds(double spread, double latest) const override;
};

}  // namespace kavro
