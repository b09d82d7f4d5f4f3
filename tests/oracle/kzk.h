// Both nonlinear marches, disc and shell, written down loop by loop.
#pragma once

#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace kavro_oracle {

// What a march computes, as plain data in SI units. Unless told otherwise: water, 1 MHz, a disc of
// 5 mm, 13 planes of 5 points; a pulse of 3 periods in 20 samples each.
struct KzkBeam {
    bool shell = false;
    double radius = 5e-3;
    double roc = 40e-3;  // shell only
    double amplitude = 0.3;
    double speed = 1500.0, density = 1000.0;
    double beta = 3.5;         // nonlinearity parameter
    double attenuation = 0.1;  // dB/(cm MHz)
    double f0 = 1e6;
    double xmin = 0.0, xmax = 8e-3, zmin = 1e-3, zmax = 61e-3;
    int nx = 5, nz = 13;
    bool exact = false;  // not marched here
    float extent = 3.0f;
    float points_per_radius = 14.0f;

    // Of the transient march.
    std::function<double(double)> waveform;  // of seconds
    double duration = 3e-6;
    double deltat = 0.05e-6, tmin = -3e-6, tmax = 48e-6;
    std::vector<double> times;  // s
    std::vector<double> taus;   // rad
    float step = 0.0071f;
    float scheme = 1.0f;       // exactly 1: backward Euler
    float diffraction = 1.0f;  // exactly 1: on

    // Of the harmonic march.
    float growth = 0.0023f;
    int harmonics = 6;
    int source_phase = 0;  // disc only

    // Range of plane k.
    template <class Real>
    Real z(int k) const {
        const auto first = static_cast<Real>(zmin);
        return nz == 1 ? first
                       : static_cast<Real>(k) * (static_cast<Real>(zmax) - first) /
                                 (static_cast<Real>(nz) - Real(1)) +
                             first;
    }

    // Distance of point m from the axis, in source radii. The first one counts as on the axis.
    template <class Real>
    Real r(int m) const {
        const auto first = static_cast<Real>(xmin);
        const Real dx =
            nx > 1 ? (static_cast<Real>(xmax) - first) / static_cast<Real>(nx - 1) : Real(0);
        return m == 0 ? Real(0)
                      : std::fabs(static_cast<Real>(
                            static_cast<double>(static_cast<Real>(m) * dx + first) / radius));
    }
};

struct KzkTransientField {
    int rows = 0;                  // samples written of each point
    std::vector<double> pressure;  // point + n * points
};

// In single precision as described, or with every rounding to single left out.
template <class Real>
KzkTransientField kzk_transient(const KzkBeam& beam);

struct KzkHarmonics {
    std::vector<double> real, imag;         // ix + nx * iz + nx * nz * (n - 1)
    int first_stage = 0, second_stage = 0;  // steps
};

KzkHarmonics kzk_cw(const KzkBeam& beam);

}  // namespace kavro_oracle
