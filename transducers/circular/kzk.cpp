// The disc's nonlinear beams: its parameters of the two marches, and the harmonic march's routines.
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>

#include "core/constants.h"
#include "core/interrupted.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/transient_march.h"
#include "transducers/kzk/tridiagonal.h"

namespace kavro {
std::unique_ptr<kzk::TransientShape> CircularTransducer::transient_march() const {
    const CircularTransducer& disc = *this;
    const Medium* medium = disc.medium;
    const double a = disc.radius;
    const double c = medium->_soundspeed;
    const auto f0 = static_cast<double>(static_cast<float>(disc.excitation->f0));
    const auto omega0 = static_cast<double>(static_cast<float>(two_pi * f0));
    const auto u0 = static_cast<double>(static_cast<float>(disc.amplitude));
    kzk::TransientShape shape;
    shape.radius = a;
    shape.scale_length = a * omega0 * a * 0.5 / c;
    shape.rayleigh = static_cast<float>(a * omega0 * a * 0.5 / c);
    shape.nonlinearity =
        static_cast<float>(medium->_beta * a * a * omega0 * omega0 * u0 * 0.5 / (c * c * c));
    shape.absorption = static_cast<float>(
        (f0 / 1e6) * (static_cast<double>(shape.rayleigh) * medium->_dBcmMHz * 100.0 / 8.686));
    shape.last_range = static_cast<float>(disc.coordinate_grid->zmax / (a * a * 0.5 / c * omega0));
    shape.prints_nonlinearity = true;
    shape.shock_message = "too small dSigma";
    return std::make_unique<kzk::TransientShape>(std::move(shape));
}

std::unique_ptr<kzk::HarmonicShape> CircularTransducer::harmonic_march() {
    CircularTransducer& disc = *this;
    const Medium* medium = disc.medium;
    const double a = disc.radius;
    const double c = medium->_soundspeed;
    const auto omega0 = static_cast<double>(kzk::angular_frequency(*medium));
    const auto u0 = static_cast<double>(static_cast<float>(disc.amplitude));
    const int phase = disc.integral->kzk_parameters.source_phase;
    const auto rayleigh = static_cast<float>(a * omega0 * a * 0.5 / c);
    kzk::HarmonicShape shape;
    shape.radius = a;
    shape.scale_length = a * omega0 * a * 0.5 / c;
    shape.range_of = [rayleigh](float z) { return z / rayleigh; };
    shape.absorption =
        (medium->_f0 / 1e6) * (static_cast<double>(rayleigh) * medium->_dBcmMHz * 100 / 8.686);
    shape.nonlinearity = medium->_beta * a * a * omega0 * omega0 * u0 * 0.5 / (c * c * c);
    shape.spreading = [phase](double range) { return phase > 0 ? 1.0 + range : 1.0; };
    shape.initial = [&disc, phase](int extent, double* field, int last_column, int harmonics) {
        disc.INIT(extent, field, last_column, harmonics, phase);
    };
    shape.coefficients = [&disc, phase, A = shape.absorption](double next, double eval,
                                                              double* alpha, double* delta,
                                                              int harmonics) {
        disc.COEFF(next, eval, alpha, delta, harmonics, A, phase);
    };
    return std::make_unique<kzk::HarmonicShape>(std::move(shape));
}

void CircularTransducer::Tridiag(float first, float last, float* a, float* b, float* c, float* r,
                                 float* x, float* bet, float* gam) {
    kzk::solve_tridiagonal(first, last, a, b, c, r, x, bet, gam);
}

void CircularTransducer::TRIDIA(double* matrix, int last, double* r, double* solution, double* bet,
                                double* gam) {
    kzk::solve_block_tridiagonal(matrix, last, r, solution, bet, gam);
}

double CircularTransducer::COEFF(double, double range, double* alpha, double* delta, int harmonics,
                                 double absorption, int phase) {
    const double g = phase >= 1 ? 1.0 + range : 1.0;
    InterruptCheck check;
    for (int n = 1; n <= harmonics; ++n) {
        check.spend(4);
        alpha[n - 1] = n * absorption * n;
        delta[n - 1] = -1.0 / (4.0 * n * (g * g));
    }
    return g;
}

void CircularTransducer::NONLIN(double range, double* field, int last_column, int harmonics,
                                double* source, double nonlinearity, int phase) {
    kzk::nonlinear_source(field, last_column, harmonics, source, nonlinearity,
                          phase >= 1 ? 1.0 + range : 1.0);
}

void CircularTransducer::INIT(int extent, double* field, int last_column, int harmonics,
                              int phase) {
    kzk::initial_field(field, extent, last_column, harmonics, phase > 0 ? 1.0 : 0.0, phase > 0);
}

}  // namespace kavro
