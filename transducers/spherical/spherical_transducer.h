// A concave spherical shell (bowl).
#pragma once

#include "../transducer.h"

namespace kavro {

// A bowl with its apex at the origin of its own frame, open towards +z: rim radius `radius`, radius
// of curvature `roc`. Lengths in metres.
class SphericalTransducer : public Transducer {
public:
    double radius = 0.0;
    double roc = 0.0;

    SphericalTransducer() = default;
    SphericalTransducer(double radius, double roc);
    SphericalTransducer(double radius, double roc, double time_delay);
    SphericalTransducer(double radius, double roc, double amplitude, double phase);

    void debug(int level) override;
    void mex_debug(int level) override;
    double face_extent() const override { return 2.0 * radius; }

    TransducerStatus farfield_cw() override { return not_implemented(); }
    TransducerStatus fnm_cw() override;
    TransducerStatus fnm_cw_apodized() override { return not_implemented(); }
    TransducerStatus fnm_cw_single() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse() override;
    TransducerStatus fnm_cw_sse2() override { return not_implemented(); }
    TransducerStatus radiator_cw() override { return not_implemented(); }
    TransducerStatus rayleigh_cw() override;
    TransducerStatus rayleigh_cw_apodized() override { return not_implemented(); }
    TransducerStatus rayleigh_cw_sse() override;
    TransducerStatus impulse_begin_and_end_times() override;
    TransducerStatus impulse_response() override;
    TransducerStatus fnm_transient() override;
    TransducerStatus fnm_transient_behind_source() override;
    TransducerStatus fnm_fdtsd() override;
    TransducerStatus fnm_tsd() override;
    TransducerStatus fnm_tsd_behind_source() override;
    TransducerStatus fnm_tsd_low_precision() override;
    TransducerStatus fnm_tsd_sse() override { return not_implemented(); }
    TransducerStatus rayleigh_transient() override { return not_implemented(); }
    // The nonlinear marches store their results, they do not add.
    TransducerStatus kzk_transient() override;
    TransducerStatus kzk_cw() override;

    virtual TransducerStatus farfield_cw_lossless() { return not_implemented(); }

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
