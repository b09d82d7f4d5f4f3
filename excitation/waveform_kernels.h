// Vector kernels behind the batch operations of the waveforms.
#pragma once

#include <complex>
#include <span>
#include <vector>

namespace kavro {

// Spatial factors of `count` delays; factor k of delay m at out[k * count + m].
void tone_burst_spatial_factors(const float* tau, int count, double omega0, float* out);
void tone_burst_spatial_factors(const double* tau, int count, double omega0, float* out);
void tone_burst_spatial_factors(const double* tau, int count, double omega0, double* out);
void hanning_spatial_factors(const float* tau, int count, double omega0, double omega_w,
                             float* out);
void hanning_spatial_factors(const double* tau, int count, double omega0, double omega_w,
                             float* out);
void hanning_spatial_factors(const double* tau, int count, double omega0, double omega_w,
                             double* out);

// Values at `count` instants.
void tone_burst_values(const double* t, int count, double omega, double w, double* out);
void hanning_values(const double* t, int count, double omega, double w, double* out);

// Sine and cosine of `count` arguments, to about one unit in the last place.
void sine_and_cosine(const double* x, int count, double* sine, double* cosine);

// A sum of harmonics of one frequency.
struct HarmonicSeries {
    double step = 0.0;                               // base angular frequency, rad/s
    std::vector<int> bins;                           // of each term, ascending
    std::vector<double> frequencies;                 // of each term, rad/s
    std::vector<double> weights;                     // of each term's spatial factors
    std::vector<std::complex<double>> coefficients;  // of each term's value
};

enum class HarmonicFactors {
    hartley,           // one per term: weight (cos + sin)
    cosine_sine,       // two per term: weight cos, weight sin
    unit_cosine_sine,  // two per term: cos, sin
};

void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const float* tau,
                              int count, float* out);
void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                              int count, float* out);
void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                              int count, double* out);

// Sum over the terms of Re(coefficient e^(j omega t)); zero outside 0 <= t <= w.
void harmonic_values(const HarmonicSeries& series, const double* t, int count, double w,
                     double* out);

}  // namespace kavro
