// The flat annulus's edge generator.
#pragma once

#include "transducers/circular/circular_edge.h"
#include "transducers/ring/ring_transducer.h"

namespace kavro {

// The samples of the outer rim, then those of the inner rim with the opposite sign; without a hole
// (an inner radius that is not positive) those of the disc, to the last bit.
template <class Real>
class RingEdge : public CircularEdge<Real> {
public:
    RingEdge(const RingTransducer& element, DelayBy delay_by, EdgeUnits units = EdgeUnits::times);
};

extern template class RingEdge<float>;
extern template class RingEdge<double>;

}  // namespace kavro
