// A flat disc.
#pragma once

#include "../transducer.h"

namespace kavro {

// A disc of the given radius in the plane z = 0 of its own frame, radiating towards +z. Lengths in
// metres.
class CircularTransducer : public Transducer {
public:
    double radius = 0.0;

    CircularTransducer() = default;
    explicit CircularTransducer(double radius);
    CircularTransducer(double radius, double time_delay);
    CircularTransducer(double radius, double amplitude, double phase);

    void debug(int level) override;
    void mex_debug(int level) override;
    double face_extent() const override { return 2.0 * radius; }

    TransducerStatus farfield_cw() override { return not_implemented(); }
    TransducerStatus fnm_cw() override;
    TransducerStatus fnm_cw_apodized() override;
    TransducerStatus fnm_cw_single() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse() override;
    TransducerStatus fnm_cw_sse2() override { return not_implemented(); }
    TransducerStatus radiator_cw() override { return not_implemented(); }
    TransducerStatus rayleigh_cw() override;
    TransducerStatus rayleigh_cw_apodized() override;
    TransducerStatus rayleigh_cw_sse() override;
    TransducerStatus impulse_begin_and_end_times() override;
    TransducerStatus impulse_response() override;
    TransducerStatus fnm_transient() override;
    TransducerStatus fnm_transient_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_fdtsd() override;
    TransducerStatus fnm_tsd() override;
    TransducerStatus fnm_tsd_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_tsd_low_precision() override;
    TransducerStatus fnm_tsd_sse() override;
    TransducerStatus rayleigh_transient() override;
    // The nonlinear marches store their results, they do not add.
    TransducerStatus kzk_transient() override;
    TransducerStatus kzk_cw() override;

    // Routines of the nonlinear marches; field layouts in transducers/kzk/harmonic_source.h, the
    // solvers of tridiagonal systems in transducers/kzk/tridiagonal.h. kzk_cw calls the virtual
    // ones, for a derived class to replace; the marches have faster versions of the others.
    void Tridiag(float first, float last, float* a, float* b, float* c, float* r, float* x,
                 float* bet, float* gam);
    void TRIDIA(double* matrix, int last, double* r, double* solution, double* bet, double* gam);
    // Absorption alpha_n and diffraction weight delta_n of each harmonic at the second range.
    // Returns the spreading g: 1 + range for a phase flag of at least 1, else 1. kzk_cw takes it
    // from the flag, not from here.
    virtual double COEFF(double next, double range, double* alpha, double* delta, int harmonics,
                         double absorption, int phase);
    // The nonlinear source of a field at a range.
    void NONLIN(double range, double* field, int last_column, int harmonics, double* source,
                double nonlinearity, int phase);
    // The field at the source: plane for a flag of at most 0, else with the phase r^2.
    virtual void INIT(int extent, double* field, int last_column, int harmonics, int phase);
};

}  // namespace kavro
