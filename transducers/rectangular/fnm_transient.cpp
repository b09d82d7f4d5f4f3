#include "transducers/blocks/guarded.h"
#include "transducers/methods/direct_transient.h"
#include "transducers/rectangular/rectangular_edge.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// The windows' bounds are quotients by the time step.
TransducerStatus RectangularTransducer::fnm_transient() {
    if (!has_transient_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        const RectangularEdge<double> edge(*this);
        return solve_direct_transient(*this, edge, ArrivalWindow::outward_by_division);
    });
}

}  // namespace kavro
