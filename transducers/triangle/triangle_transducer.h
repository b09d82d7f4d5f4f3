// A flat triangle: a placeholder without solvers.
#pragma once

#include "../transducer.h"

namespace kavro {

// Abstract: the two KZK operations have no body here, so no triangle can be made until somebody
// derives from it.
class TriangleTransducer : public Transducer {
public:
    TriangleTransducer() = default;

    TransducerStatus farfield_cw() override { return not_implemented(); }
    TransducerStatus fnm_cw() override;
    TransducerStatus fnm_cw_apodized() override { return not_implemented(); }
    TransducerStatus fnm_cw_single() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse() override { return not_implemented(); }
    TransducerStatus fnm_cw_sse2() override { return not_implemented(); }
    TransducerStatus radiator_cw() override { return not_implemented(); }
    TransducerStatus rayleigh_cw() override { return not_implemented(); }
    TransducerStatus rayleigh_cw_apodized() override { return not_implemented(); }
    TransducerStatus rayleigh_cw_sse() override { return not_implemented(); }
    TransducerStatus impulse_begin_and_end_times() override { return not_implemented(); }
    TransducerStatus impulse_response() override { return not_implemented(); }
    TransducerStatus fnm_transient() override { return not_implemented(); }
    TransducerStatus fnm_transient_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_fdtsd() override { return not_implemented(); }
    TransducerStatus fnm_tsd() override { return not_implemented(); }
    TransducerStatus fnm_tsd_behind_source() override { return not_implemented(); }
    TransducerStatus fnm_tsd_low_precision() override { return not_implemented(); }
    TransducerStatus fnm_tsd_sse() override { return not_implemented(); }
    TransducerStatus rayleigh_transient() override { return not_implemented(); }

    virtual TransducerStatus kzk_nonlinear() { return not_implemented(); }
};

}  // namespace kavro
