// The polygon's edge generator.
#pragma once

#include "core/aligned_vector.h"
#include "transducers/polygon/polygon_transducer.h"
#include "transducers/shape.h"

namespace kavro {

// Samples of the edges. With L the distance of the foot of a point from the line through an edge
// (positive on the face's side of it) a sample at the distance s along the edge from the foot of
// the perpendicular has
//
//     g = W L / (L^2 + s^2),   R = sqrt(z^2 + L^2 + s^2),   tau = R / c,   zeta = z / c,
//
// W the quadrature weight times -rho c / (2 pi), in lengths the weight alone. Where the foot of the
// perpendicular lies within the edge, that is cut in two there: the integrand is steepest at the
// foot, and each piece begins with it. Otherwise the edge is one piece.
//
// Two terms an abscissa and edge in the first case, one in the second; where a block has points of
// both kinds, those of the second carry one more of coefficient 0. Points behind the face (z < 0)
// receive nothing. The direct wave's window begins with the delay of the nearest point of the face.
class PolygonEdge : public EdgeGenerator<double> {
public:
    PolygonEdge(const PolygonTransducer& element, const Wanted& wanted);

    int size() const override {
        return 2 * static_cast<int>(polygon_.sides().size() * abscissa_.size());
    }
    void sample(EdgeBlock<double>& block, int pass) const override;

private:
    const PolygonTransducer& polygon_;
    double speed_ = 1.0;
    AlignedVector<double> abscissa_, weight_;  // on [0, 1]
};

}  // namespace kavro
