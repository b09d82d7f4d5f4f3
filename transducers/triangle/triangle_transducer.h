// A flat triangle: a placeholder without solvers.
#pragma once

#include "../transducer.h"

namespace kavro {

// Abstract: the two KZK operations have no body here, so no triangle can be made until somebody
// derives from it. fnm_cw warns of a missing frequency, writes the element to the standard output
// stream, computes nothing and answers success on purpose: no output is touched.
class TriangleTransducer : public Transducer {
public:
    TriangleTransducer() = default;

    MethodSet methods() const override { return {Method::fnm_cw}; }
    Departures departures() const override;
    std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const override;
    TransducerStatus kzk_transient() override = 0;
    TransducerStatus kzk_cw() override = 0;

    TransducerStatus kzk_nonlinear() { return status_not_implemented; }
};

}  // namespace kavro
