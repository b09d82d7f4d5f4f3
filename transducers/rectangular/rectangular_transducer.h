// A flat rectangle.
#pragma once

#include <cmath>

#include "../transducer.h"

namespace kavro {

// A rectangle in the plane z = 0 of its own frame, `width` along x and `height` along y, radiating
// towards +z. Lengths in metres.
//
// Its methods read the quadrature rule as it stands and want it on the reference interval [-1, 1]:
// a disc's leave it elsewhere, and radiator_cw resizes it, so refill it in between.
class RectangularTransducer : public Transducer {
public:
    double width = 0.0;
    double height = 0.0;

    RectangularTransducer() = default;
    RectangularTransducer(double width, double height);
    RectangularTransducer(double width, double height, double time_delay);
    RectangularTransducer(double width, double height, double amplitude, double phase);

    void debug(int level) override;
    void mex_debug(int level) override;
    double face_extent() const override { return std::hypot(width, height); }

    TransducerStatus farfield_cw() override;
    TransducerStatus fnm_cw() override;
    TransducerStatus fnm_cw_apodized() override { return not_implemented(); }
    TransducerStatus fnm_cw_single() override;
    TransducerStatus fnm_cw_sse() override;
    TransducerStatus fnm_cw_sse2() override;
    TransducerStatus radiator_cw() override;
    TransducerStatus rayleigh_cw() override;
    TransducerStatus rayleigh_cw_apodized() override { return not_implemented(); }
    TransducerStatus rayleigh_cw_sse() override;
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

    virtual TransducerStatus farfield_cw_lossless();  // as farfield_cw, without attenuation
};

}  // namespace kavro
