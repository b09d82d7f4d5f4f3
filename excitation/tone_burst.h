// A sine that is switched on for the duration of the pulse.
#pragma once

#include <emmintrin.h>

#include "excitation_function.h"

namespace kavro {

// v(t) = sin(2 pi f0 t), 0 < t < w. Two terms; the decomposition is that of the endless sine, the
// solvers' sample windows cut it.
//
// `derivative` includes both ends of the pulse and `at` neither, on purpose.
//
// The reference single-precision temporal factors go in groups of four samples on purpose: with a
// sample count that is not a multiple of four the last group spills sines into the first samples of
// the second row, and up to three values past the matrix (the caller provides the room); fewer than
// four samples leave holes. `set_exact(true)` makes every sample right.
class ToneBurst final : public ExcitationFunction {
public:
    ToneBurst(double f0, double pulse_width, double B);  // Hz, s; B is not used

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
    void spatial_tsd_batch(double* out, const double* tau, int count) const override;
    void spatial_tsd_batch(float* out, const float* tau, int count) const override;
    void spatial_tsd_batch(float* out, const double* tau, int count) const override;
    void at_batch(double* out, const double* t, int count) const override;
    int number_of_value_terms() const override { return number_of_tsd_terms(); }
    bool value_uses_spatial_tsd() const override { return true; }
    void value_temporal(double* out, TimeSamples const& times, double delay) const override;
};

}  // namespace kavro
