// A flat rectangle.
#pragma once

#include <cmath>

#include "../transducer.h"

namespace kavro {

// A rectangle in the plane z = 0 of its own frame, `width` along x and `height` along y, radiating
// towards +z. Lengths in metres.
//
// In reference mode its methods read the quadrature rule as it stands and want it on the reference
// interval [-1, 1]: a disc's leave it elsewhere, and radiator_cw resizes it, so refill it in
// between.
class RectangularTransducer : public Transducer {
public:
    double width = 0.0;
    double height = 0.0;

    RectangularTransducer() = default;
    RectangularTransducer(double width, double height);
    RectangularTransducer(double width, double height, double time_delay);
    RectangularTransducer(double width, double height, double amplitude, double phase);

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{
        Method::farfield_cw,      Method::farfield_cw_lossless,
        Method::fnm_cw,           Method::fnm_cw_single,
        Method::fnm_cw_sse,       Method::fnm_cw_sse2,
        Method::radiator_cw,      Method::rayleigh_cw,
        Method::rayleigh_cw_sse,  Method::impulse_begin_and_end_times,
        Method::impulse_response, Method::fnm_transient,
        Method::fnm_spectral,     Method::fnm_fdtsd,
        Method::fnm_tsd,          Method::fnm_tsd_low_precision};

    MethodSet methods() const override { return offered; }
    Departures departures() const override;
    double face_extent() const override { return std::hypot(width, height); }
    double face_area() const override { return width * height; }
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
    std::unique_ptr<Share> own_share(const OwnMethod& own) const override;

    // As farfield_cw, without attenuation.
    TransducerStatus farfield_cw_lossless() { return solve_alone(Method::farfield_cw_lossless); }
};

}  // namespace kavro
