// The rectangle's transient pressure by time-space decomposition, in its precisions and variants.
#include "transducers/decomposition/time_space_decomposition.h"

#include <memory>

#include "transducers/rectangular/rectangular_edge.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {
namespace {

// The direct wave begins with a sample rounded down, although edge waves (and a disc's direct wave)
// round up: deliberate. Its argument is formed in double precision in every variant.
template <class Real>
DecompositionMethod<Real> method_of(Decomposition kind) {
    return {kind,
            [](const Transducer& element) -> std::unique_ptr<EdgeGenerator<Real>> {
                return std::make_unique<RectangularEdge<Real>>(
                    static_cast<const RectangularTransducer&>(element));
            },
            WindowRule::with_early_direct_wave<Real>, DirectArgument::element_delay_first};
}

}  // namespace

TransducerStatus RectangularTransducer::fnm_tsd() {
    Transducer* const element = this;
    return solve_by_decomposition({&element, 1}, method_of<double>(Decomposition::real));
}

TransducerStatus RectangularTransducer::fnm_fdtsd() {
    Transducer* const element = this;
    return solve_by_decomposition({&element, 1}, method_of<double>(Decomposition::complex));
}

TransducerStatus RectangularTransducer::fnm_tsd_low_precision() {
    Transducer* const element = this;
    return solve_in_single_precision({&element, 1}, method_of<float>(Decomposition::real));
}

}  // namespace kavro
