#include "transducers/ring/ring_edge.h"

#include <array>
#include <cstddef>

namespace kavro {
namespace {

struct Radii {
    std::array<double, 2> values;
    std::size_t count;

    explicit Radii(const RingTransducer& element)
        : values{element.outer_radius, element.inner_radius},
          count(element.inner_radius > 0.0 ? 2 : 1) {}
    std::span<const double> rims() const { return {values.data(), count}; }
};

}  // namespace

template <class Real>
RingEdge<Real>::RingEdge(const RingTransducer& element, DelayBy delay_by, EdgeUnits units)
    : CircularEdge<Real>(element, Radii(element).rims(), delay_by, units) {}

template class RingEdge<float>;
template class RingEdge<double>;

}  // namespace kavro
