// A flat annulus.
#pragma once

#include "../../core/constants.h"
#include "../transducer.h"

namespace kavro {

// The part of the plane z = 0 of its own frame between two radii, radiating towards +z. Lengths in
// metres.
class RingTransducer : public Transducer {
public:
    double inner_radius = 0.0;
    double outer_radius = 0.0;

    RingTransducer() = default;
    RingTransducer(double inner_radius, double outer_radius);
    RingTransducer(double inner_radius, double outer_radius, double time_delay);
    RingTransducer(double inner_radius, double outer_radius, double amplitude, double phase);

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{
        Method::fnm_cw,           Method::rayleigh_cw,   Method::impulse_begin_and_end_times,
        Method::impulse_response, Method::fnm_transient, Method::fnm_spectral,
        Method::fnm_fdtsd,        Method::fnm_tsd,       Method::fnm_tsd_low_precision};

    MethodSet methods() const override { return offered; }
    Departures departures() const override;
    double face_extent() const override { return 2.0 * outer_radius; }
    double face_area() const override {
        return pi * (outer_radius * outer_radius - inner_radius * inner_radius);
    }
    ApertureDistances distances(const CartesianCoordinate& point) const override;
    RuleInterval rule_interval(Method method) const override;
    std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const override;
    std::unique_ptr<EdgeGenerator<float>> single_edge(const Wanted& wanted) const override;
    EdgeScale edge_scale(Method method) const override;
    FarPattern far_pattern(double wavenumber) const override;
    std::unique_ptr<SurfaceRows<double>> surface(const Wanted& wanted) const override;
    void write_impulse_response(const CartesianCoordinate& point, SampleWindow samples,
                                double later, double* values) const override;
};

}  // namespace kavro
