// The rectangle's transient pressure by time-space decomposition, in its precisions and variants.
#include "transducers/methods/time_space_decomposition.h"

#include <memory>

#include "transducers/methods/widened_edge.h"
#include "transducers/rectangular/rectangle_edge.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {
namespace {

// The direct wave begins with a sample rounded down, although edge waves (and a disc's direct wave)
// round up: deliberate. Its argument is formed in double precision in every variant.
template <class Real, class Geometry>
TransducerStatus solve(RectangularTransducer& rectangle, Decomposition kind) {
    const auto edge_of = [](const Transducer& element) -> std::unique_ptr<EdgeGenerator<Real>> {
        auto edge = std::make_unique<RectangleEdge<Geometry>>(
            static_cast<const RectangularTransducer&>(element));
        if constexpr (std::is_same_v<Real, Geometry>) {
            return edge;
        } else {
            return std::make_unique<WidenedEdge>(std::move(edge));
        }
    };
    Transducer* const element = &rectangle;
    return solve_by_decomposition<Real>(
        {&element, 1}, {kind, edge_of, WindowRule::with_early_direct_wave<Geometry>,
                        DirectArgument::element_delay_first});
}

}  // namespace

TransducerStatus RectangularTransducer::fnm_tsd() {
    return solve<double, double>(*this, Decomposition::real);
}

TransducerStatus RectangularTransducer::fnm_fdtsd() {
    return solve<double, double>(*this, Decomposition::complex);
}

// Geometry and windows in single precision; the sums in double where the waveform's factors need
// it.
TransducerStatus RectangularTransducer::fnm_tsd_low_precision() {
    return excitation == nullptr || excitation->single_precision_suffices()
               ? solve<float, float>(*this, Decomposition::real)
               : solve<double, float>(*this, Decomposition::real);
}

}  // namespace kavro
