// A flat disc.
#pragma once

#include "../../core/constants.h"
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

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{Method::fnm_cw,
                                       Method::fnm_cw_apodized,
                                       Method::fnm_cw_sse,
                                       Method::rayleigh_cw,
                                       Method::rayleigh_cw_apodized,
                                       Method::rayleigh_cw_sse,
                                       Method::fnm_transient,
                                       Method::fnm_spectral,
                                       Method::fnm_fdtsd,
                                       Method::fnm_tsd,
                                       Method::fnm_tsd_sse,
                                       Method::fnm_tsd_low_precision,
                                       Method::rayleigh_transient,
                                       Method::impulse_begin_and_end_times,
                                       Method::impulse_response,
                                       Method::kzk_transient,
                                       Method::kzk_cw};

    MethodSet methods() const override { return offered; }
    Departures departures() const override;
    double face_extent() const override { return 2.0 * radius; }
    double face_area() const override { return pi * radius * radius; }
    ApertureDistances distances(const CartesianCoordinate& point) const override;
    RuleInterval rule_interval(Method method) const override;
    std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const override;
    std::unique_ptr<EdgeGenerator<float>> single_edge(const Wanted& wanted) const override;
    EdgeScale edge_scale(Method method) const override;
    FarPattern far_pattern(double wavenumber) const override;
    std::unique_ptr<SurfaceRows<double>> surface(const Wanted& wanted) const override;
    std::unique_ptr<SurfaceRows<float>> single_surface(const Wanted& wanted) const override;
    void write_impulse_response(const CartesianCoordinate& point, SampleWindow samples,
                                double later, double* values) const override;

    std::unique_ptr<kzk::TransientShape> transient_march() const override;
    std::unique_ptr<kzk::HarmonicShape> harmonic_march() override;

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
