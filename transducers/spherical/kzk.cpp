// The nonlinear beams of bowls, whole or with a hole: their parameters of the two marches, and the
// harmonic march's routines. Ranges are counted in the radius of curvature.
#include <memory>
#include <utility>

#include "core/constants.h"
#include "core/interrupted.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/transient_march.h"
#include "transducers/kzk/tridiagonal.h"
#include "transducers/spherical/spherical_transducer.h"

namespace kavro {
namespace {

// The gain enters once, not squared; there is no scaling with the range.
void set_coefficients(double* alpha, double* delta, int harmonics, double absorption, double gain) {
    InterruptCheck check;
    for (int n = 1; n <= harmonics; ++n) {
        check.spend(4);
        alpha[n - 1] = n * absorption * n;
        delta[n - 1] = -1.0 / (4.0 * n * gain);
    }
}

}  // namespace

std::unique_ptr<kzk::TransientShape> SphericalShape::transient_march() const {
    const double radius = cap().outer_radius;
    const double roc = cap().curvature_radius;
    const double c = medium->_soundspeed;
    const auto f0 = static_cast<double>(static_cast<float>(excitation->f0));
    const auto omega0 = static_cast<double>(static_cast<float>(two_pi * f0));
    const auto u0 = static_cast<double>(static_cast<float>(amplitude));
    kzk::TransientShape shape;
    shape.radius = radius;
    shape.hole = cap().inner_radius / radius;
    shape.scale_length = roc;
    shape.curvature = -1.0;
    shape.rayleigh = static_cast<float>(radius * omega0 * radius * 0.5 / c);
    shape.gain = static_cast<float>(static_cast<double>(shape.rayleigh) / roc);
    shape.source_lead = shape.gain;
    shape.nonlinearity = static_cast<float>(roc * medium->_beta * omega0 * u0 / (c * c));
    shape.absorption = static_cast<float>((f0 / 1e6) * (medium->_dBcmMHz * roc * 100 / 8.686));
    shape.last_range = static_cast<float>(coordinate_grid->zmax * static_cast<double>(shape.gain) /
                                          static_cast<double>(shape.rayleigh));
    shape.coefficients_in_double = true;
    shape.shock_is_warning = true;
    shape.shock_message = "dSigma is too small.";
    return std::make_unique<kzk::TransientShape>(std::move(shape));
}

std::unique_ptr<kzk::HarmonicShape> SphericalShape::harmonic_march() {
    const double radius = cap().outer_radius;
    const double roc = cap().curvature_radius;
    const double c = medium->_soundspeed;
    const auto omega0 = static_cast<double>(kzk::angular_frequency(*medium));
    const auto u0 = static_cast<double>(static_cast<float>(amplitude));
    const auto rayleigh = static_cast<float>(radius * omega0 * radius * 0.5 / c);
    const double gain = static_cast<double>(rayleigh) / roc;
    kzk::HarmonicShape shape;
    shape.radius = radius;
    shape.hole = cap().inner_radius / radius;
    shape.scale_length = roc;
    shape.gain = gain;
    shape.curvature = -1.0;
    shape.range_of = [roc](float z) { return static_cast<float>(static_cast<double>(z) / roc); };
    shape.absorption = (medium->_f0 / 1e6) * (roc * medium->_dBcmMHz * 100 / 8.686);
    shape.nonlinearity = roc * medium->_beta * omega0 * u0 / (c * c);
    shape.spreading = [](double) { return 1.0; };
    shape.initial = [gain, hole = shape.hole](int extent, double* field, int last_column,
                                              int harmonics) {
        kzk::initial_field(field, extent, last_column, harmonics, gain, true, hole);
    };
    shape.coefficients = [gain, A = shape.absorption](double, double, double* alpha, double* delta,
                                                      int harmonics) {
        set_coefficients(alpha, delta, harmonics, A, gain);
    };
    return std::make_unique<kzk::HarmonicShape>(std::move(shape));
}

std::unique_ptr<kzk::HarmonicShape> SphericalTransducer::harmonic_march() {
    std::unique_ptr<kzk::HarmonicShape> shape = SphericalShape::harmonic_march();
    SphericalTransducer& shell = *this;
    shape->initial = [&shell, gain = shape->gain](int extent, double* field, int last_column,
                                                  int harmonics) {
        shell.INIT(extent, field, last_column, harmonics, gain);
    };
    shape->coefficients = [&shell, gain = shape->gain, A = shape->absorption](
                              double next, double eval, double* alpha, double* delta,
                              int harmonics) {
        shell.COEFF(next, eval, alpha, delta, harmonics, A, gain);
    };
    return shape;
}

void SphericalTransducer::Tridiag(float first, float last, float* a, float* b, float* c, float* r,
                                  float* x, float* bet, float* gam) {
    kzk::solve_tridiagonal(first, last, a, b, c, r, x, bet, gam);
}

void SphericalTransducer::TRIDIA(double* matrix, int last, double* r, double* solution, double* bet,
                                 double* gam) {
    kzk::solve_block_tridiagonal(matrix, last, r, solution, bet, gam);
}

double SphericalTransducer::COEFF(double, double, double* alpha, double* delta, int harmonics,
                                  double absorption, double gain) {
    set_coefficients(alpha, delta, harmonics, absorption, gain);
    return 1.0;
}

void SphericalTransducer::NONLIN(double, double* field, int last_column, int harmonics,
                                 double* source, double nonlinearity) {
    kzk::nonlinear_source(field, last_column, harmonics, source, nonlinearity, 1.0);
}

void SphericalTransducer::INIT(int extent, double* field, int last_column, int harmonics,
                               double gain) {
    kzk::initial_field(field, extent, last_column, harmonics, gain, true);
}

}  // namespace kavro
