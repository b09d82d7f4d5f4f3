// A concave spherical shell (bowl).
#pragma once

#include "transducers/transducer.h"

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
    TransducerStatus kzk_transient() override { return not_implemented(); }
    TransducerStatus kzk_cw() override { return not_implemented(); }

    virtual TransducerStatus farfield_cw_lossless() { return not_implemented(); }
};

}  // namespace kavro
