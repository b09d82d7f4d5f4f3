// A concave spherical shell (bowl).
#pragma once

#include "spherical_shape.h"

namespace kavro {

// A bowl with its apex at the origin of its own frame, open towards +z: rim radius `radius`, radius
// of curvature `roc`. Lengths in metres.
class SphericalTransducer : public SphericalShape {
public:
    double radius = 0.0;
    double roc = 0.0;

    SphericalTransducer() = default;
    SphericalTransducer(double radius, double roc);
    SphericalTransducer(double radius, double roc, double time_delay);
    SphericalTransducer(double radius, double roc, double amplitude, double phase);

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{Method::fnm_cw,
                                       Method::fnm_cw_sse,
                                       Method::rayleigh_cw,
                                       Method::rayleigh_cw_sse,
                                       Method::impulse_begin_and_end_times,
                                       Method::impulse_response,
                                       Method::fnm_transient,
                                       Method::fnm_transient_behind_source,
                                       Method::fnm_spectral,
                                       Method::fnm_fdtsd,
                                       Method::fnm_tsd,
                                       Method::fnm_tsd_behind_source,
                                       Method::fnm_tsd_low_precision,
                                       Method::kzk_transient,
                                       Method::kzk_cw};

    MethodSet methods() const override { return offered; }

    std::unique_ptr<kzk::HarmonicShape> harmonic_march() override;

    TransducerStatus farfield_cw_lossless() { return solve_alone(Method::farfield_cw_lossless); }

    SphericalCap cap() const override { return {roc, radius, 0.0}; }

    // Routines of the nonlinear marches; field layouts in transducers/kzk/harmonic_source.h, the
    // solvers of tridiagonal systems in transducers/kzk/tridiagonal.h. kzk_cw calls the virtual
    // ones, for a derived class to replace; the marches have faster versions of the others.
    void Tridiag(float first, float last, float* a, float* b, float* c, float* r, float* x,
                 float* bet, float* gam);
    void TRIDIA(double* matrix, int last, double* r, double* solution, double* bet, double* gam);
    // Absorption alpha_n and diffraction weight delta_n of each harmonic; ranges are not read.
    // Returns the spreading, 1, which kzk_cw does not read.
    virtual double COEFF(double next, double range, double* alpha, double* delta, int harmonics,
                         double absorption, double gain);
    // The nonlinear source of a field; the range is not read.
    void NONLIN(double range, double* field, int last_column, int harmonics, double* source,
                double nonlinearity);
    // The field at the source, with the phase gain r^2.
    virtual void INIT(int extent, double* field, int last_column, int harmonics, double gain);
};

}  // namespace kavro
