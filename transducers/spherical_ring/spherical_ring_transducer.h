// A concave annulus of a sphere.
#pragma once

#include "../spherical/spherical_shape.h"

namespace kavro {

// The part between two rim radii of a bowl of radius of curvature `geometric_focus`. Lengths in
// metres.
class SphericalRingTransducer : public SphericalShape {
public:
    double inner_radius = 0.0;
    double outer_radius = 0.0;
    double geometric_focus = 0.0;

    SphericalRingTransducer() = default;
    SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus);
    SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                            double time_delay);
    SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                            double amplitude, double phase);

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{
        Method::fnm_cw,           Method::rayleigh_cw,   Method::impulse_begin_and_end_times,
        Method::impulse_response, Method::fnm_transient, Method::fnm_spectral,
        Method::fnm_fdtsd,        Method::fnm_tsd,       Method::fnm_tsd_low_precision,
        Method::kzk_transient,    Method::kzk_cw};

    MethodSet methods() const override { return offered; }
    SphericalCap cap() const override { return {geometric_focus, outer_radius, inner_radius}; }
};

}  // namespace kavro
