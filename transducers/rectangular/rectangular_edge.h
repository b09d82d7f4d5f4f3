// The rectangle's edge generator.
#pragma once

#include "core/aligned_vector.h"
#include "transducers/rectangular/rectangular_transducer.h"
#include "transducers/shape.h"

namespace kavro {

// Samples of the four edges. Lines through the foot of a point (x, y, z), parallel to the edges,
// divide the plane; along an edge at the signed distance L from the foot (negative where the face
// lies on the other side of it) a sample at the distance sqrt(q) from the foot of the perpendicular
// has
//
//     g = W L / (L^2 + q),   tau = sqrt(z^2 + L^2 + q) / c,   zeta = z / c,
//
// W the quadrature weight times -rho c / (2 pi). With t_i, w_i the reference Gauss rule:
//
// - an edge along x, the foot between its ends: two pieces from the foot of the perpendicular
//   outwards, of the lengths s = width/2 + x and width/2 - x; q = (s u_i)^2, W ~ s w_i / 2,
//   u_i = (t_i + 1) / 2;
// - the foot outside, or over the end: the edge in one piece; q = (t_i width/2 + x)^2,
//   W ~ w_i width/2;
//
// edges along y likewise. Four terms an abscissa and direction in the first case, two in the
// second; where a block has points of both kinds, those of the second carry two more of
// coefficient 0, placed so that each point's sums by fours are those of the point alone.
// fnm_cw_single rounds the abscissas to single precision before anything is formed of them; the
// four-wide methods leave out those beyond a multiple of four, unless the element is exact. Points
// behind the face (z < 0) receive nothing.
//
// The direct wave's window begins with the delay of the nearest point of the face, beside the face
// too, and ends by the axial delay. Distances become delays by a product with 1/c; that of the
// direct wave and the arrivals by a quotient in double precision. Everything is rounded to Real
// where it is stored. In lengths, g lacks -rho c / (2 pi).
template <class Real>
class RectangularEdge : public EdgeGenerator<Real> {
public:
    RectangularEdge(const RectangularTransducer& element, const Wanted& wanted);

    int size() const override { return 8 * static_cast<int>(piece_.size()); }
    void sample(EdgeBlock<Real>& block, int pass) const override;

private:
    Real half_width_;
    Real half_height_;
    Real speed_ = 1;
    AlignedVector<Real> piece_, piece_weight_;      // u_i^2; w_i / 2
    AlignedVector<Real> along_x_, along_x_weight_;  // t_i width/2; w_i width/2
    AlignedVector<Real> along_y_, along_y_weight_;
};

extern template class RectangularEdge<float>;
extern template class RectangularEdge<double>;

}  // namespace kavro
