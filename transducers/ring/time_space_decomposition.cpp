// The flat annulus's transient pressure, decomposed and directly.
#include "transducers/decomposition/time_space_decomposition.h"

#include <memory>

#include "transducers/blocks/guarded.h"
#include "transducers/methods/direct_transient.h"
#include "transducers/ring/ring_edge.h"
#include "transducers/ring/ring_transducer.h"

namespace kavro {
namespace {

template <class Real>
std::unique_ptr<EdgeGenerator<Real>> ring_edge(const Transducer& element, DelayBy delay_by) {
    return std::make_unique<RingEdge<Real>>(static_cast<const RingTransducer&>(element), delay_by);
}

TransducerStatus solve_double(Transducer* ring, Decomposition kind) {
    const DecompositionMethod<double> method{
        kind,
        [](const Transducer& element) { return ring_edge<double>(element, DelayBy::quotient); }};
    return solve_by_decomposition({&ring, 1}, method);
}

}  // namespace

TransducerStatus RingTransducer::fnm_tsd() {
    return solve_double(this, Decomposition::real);
}

TransducerStatus RingTransducer::fnm_fdtsd() {
    return solve_double(this, Decomposition::complex);
}

TransducerStatus RingTransducer::fnm_tsd_low_precision() {
    Transducer* const element = this;
    const auto edge = [](const Transducer& ring) {
        return ring_edge<float>(ring, DelayBy::product);
    };
    return solve_in_single_precision({&element, 1}, {Decomposition::real, edge});
}

// Unlike the disc's, the window's start is rounded up: what lies before the first arrival could
// only be a residue of the two rims.
TransducerStatus RingTransducer::fnm_transient() {
    if (!has_transient_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return solve_direct_transient(*this, RingEdge<double>(*this, DelayBy::quotient),
                                      ArrivalWindow::inward);
    });
}

}  // namespace kavro
