// Both nonlinear marches, disc and shell, written down loop by loop.
#pragma once

#include <functional>
#include <vector>

namespace kavro_oracle {

// What a march computes, as plain data in SI units.
struct KzkBeam {
    bool shell = false;
    double radius = 5e-3;
    double roc = 50e-3;  // shell only
    double amplitude = 0.0;
    double speed = 1500.0, density = 1000.0;
    double beta = 0.0;         // nonlinearity parameter
    double attenuation = 0.0;  // dB/(cm MHz)
    double f0 = 1e6;
    double xmin = 0.0, xmax = 0.0, zmin = 0.0, zmax = 0.0;
    int nx = 1, nz = 1;
    bool exact = false;  // the first point of each plane where it is, not on the axis
    float extent = 2.0f;
    float points_per_radius = 10.0f;

    // Of the transient march.
    std::function<double(double)> waveform;  // of seconds
    double duration = 0.0;
    double deltat = 0.0, tmin = 0.0, tmax = 0.0;
    std::vector<double> times;  // s
    std::vector<double> taus;   // rad
    float step = 0.01f;
    float scheme = 1.0f;       // exactly 1: backward Euler
    float diffraction = 1.0f;  // exactly 1: on

    // Of the harmonic march.
    float growth = 0.001f;
    int harmonics = 1;
    int source_phase = 0;  // disc only
};

struct KzkTransientField {
    int rows = 0;                  // samples written of each point
    double step = 0;               // rad, of the retarded time
    std::vector<double> pressure;  // point + n * points
    int steps = 0, shortened = 0;
    bool shock = false;
    std::vector<double> recorded_at;  // normalised range of each plane reached
};

// In single precision as described, or with every rounding to single left out.
template <class Real>
KzkTransientField kzk_transient(const KzkBeam& beam);

struct KzkHarmonics {
    std::vector<double> real, imag;         // ix + nx * iz + nx * nz * (n - 1)
    int first_stage = 0, second_stage = 0;  // steps
};

KzkHarmonics kzk_cw(const KzkBeam& beam);

// The tridiagonal solver of the transient march.
template <class Real>
void tridiagonal(float first, float last, const Real* a, const Real* b, const Real* c,
                 const Real* r, Real* x, Real* bet, Real* gam);

// The 2 x 2 block tridiagonal solver of the harmonic march: 12 doubles per row (lower, diagonal and
// upper block, row by row), rows 0 to last. The solution replaces the right-hand side.
void block_tridiagonal(const double* matrix, int last, double* r, double* bet, double* gam);

}  // namespace kavro_oracle
