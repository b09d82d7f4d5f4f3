// The disc's transient pressure: by time-space decomposition, in its precisions and variants, and
// with the waveform evaluated directly.
#include "transducers/circular/time_space_decomposition.h"

#include <memory>

#include "transducers/blocks/guarded.h"
#include "transducers/circular/circular_edge.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/decomposition/time_space_decomposition.h"
#include "transducers/methods/direct_transient.h"

namespace kavro {
namespace {

template <class Real>
std::unique_ptr<EdgeGenerator<Real>> disc_edge(const Transducer& element, DelayBy delay_by) {
    return std::make_unique<CircularEdge<Real>>(static_cast<const CircularTransducer&>(element),
                                                delay_by);
}

TransducerStatus solve_double(std::span<Transducer* const> discs, Decomposition kind) {
    const DecompositionMethod<double> method{
        kind,
        [](const Transducer& element) { return disc_edge<double>(element, DelayBy::quotient); }};
    return solve_by_decomposition(discs, method);
}

TransducerStatus solve_single(std::span<Transducer* const> discs, DelayBy delay_by, Output output) {
    const auto edge = [delay_by](const Transducer& element) {
        return disc_edge<float>(element, delay_by);
    };
    return solve_in_single_precision(discs, {Decomposition::real, edge}, output);
}

}  // namespace

TransducerStatus CircularTransducer::fnm_tsd_sse() {
    Transducer* const element = this;
    return solve_single({&element, 1}, DelayBy::quotient, Output::accumulate);
}

TransducerStatus CircularTransducer::fnm_tsd_low_precision() {
    Transducer* const element = this;
    return solve_single({&element, 1}, DelayBy::product, Output::accumulate);
}

TransducerStatus CircularTransducer::fnm_tsd() {
    Transducer* const element = this;
    return solve_double({&element, 1}, Decomposition::real);
}

TransducerStatus CircularTransducer::fnm_fdtsd() {
    Transducer* const element = this;
    return solve_double({&element, 1}, Decomposition::complex);
}

// The start is rounded down, where the decomposition rounds it up: deliberate.
TransducerStatus CircularTransducer::fnm_transient() {
    if (!has_transient_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return solve_direct_transient(*this, CircularEdge<double>(*this, DelayBy::quotient),
                                      ArrivalWindow::outward);
    });
}

TransducerStatus fnm_tsd_sse_of_discs(std::span<Transducer* const> discs, Output output) {
    return solve_single(discs, DelayBy::quotient, output);
}

}  // namespace kavro
