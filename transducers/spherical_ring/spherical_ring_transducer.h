// A concave annulus of a sphere.
#pragma once

#include "../transducer.h"

namespace kavro {

// The part between two rim radii of a bowl of radius of curvature `geometric_focus`. Lengths in
// metres.
class SphericalRingTransducer : public Transducer {
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

    void debug(int level) override;
    void mex_debug(int level) override;
    double face_extent() const override { return 2.0 * outer_radius; }

    TransducerStatus farfield_cw() override { return not_implemented(); }
    TransducerStatus fnm_cw() override;
    TransducerStatus fnm_cw_apodized() override { return not_implemented(); }
    TransducerStatus fnm_cw_single() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse2() override { return not_implemented(); }
    TransducerStatus radiator_cw() override { return not_implemented(); }
    TransducerStatus rayleigh_cw() override;
    TransducerStatus rayleigh_cw_apodized() override { return not_implemented(); }
    TransducerStatus rayleigh_cw_sse() override { return not_implemented(); }
    TransducerStatus impulse_begin_and_end_times() override;
    TransducerStatus impulse_response() override;
    TransducerStatus fnm_transient() override;
    TransducerStatus fnm_transient_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_fdtsd() override;
    TransducerStatus fnm_tsd() override;
    TransducerStatus fnm_tsd_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_tsd_low_precision() override;
    TransducerStatus fnm_tsd_sse() override { return not_implemented(); }
    TransducerStatus rayleigh_transient() override { return not_implemented(); }
    TransducerStatus kzk_transient() override { return not_implemented(); }
    TransducerStatus kzk_cw() override { return not_implemented(); }
};

}  // namespace kavro
