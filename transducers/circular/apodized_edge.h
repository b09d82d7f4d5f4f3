// The edge generator of a disc whose velocity depends on the radius.
#pragma once

#include <cstddef>
#include <vector>

#include "transducers/circular/circular_edge.h"
#include "transducers/circular/circular_transducer.h"

namespace kavro {

// The disc of concentric rims of growing radius r_i, rim i weighted by the profile's slope there:
//
//     p = rho c (a / pi) w * sum over i, j of dr_i dphi_j q'(r_i) r_i (s cos phi_j - r_i) / D_ij
//         * ( e^(-(alpha + jk) R_ij) - e^(-(alpha + jk) z) )
//
// Each rim is one pass. The reference spreads the radii over [0, pi a], where the slope is 0 beyond
// the rim, and counts dphi_j pi times over, on purpose; exactly, radii lie on [0, a], and the sum
// is the profile's field.
class ApodizedEdge : public EdgeGenerator<double> {
public:
    // The rule lies on [0, pi].
    ApodizedEdge(const CircularTransducer& disc, const QuadratureRule& rule);

    int size() const override { return size_; }
    int passes(const EdgeBlock<double>&) const override { return static_cast<int>(rims_.size()); }
    void sample(EdgeBlock<double>& block, int pass) const override {
        rims_[static_cast<std::size_t>(pass)].sample(block, 0);
    }

private:
    void require_room() const;

    int size_;
    std::vector<CircularEdge<double>> rims_;
};

}  // namespace kavro
