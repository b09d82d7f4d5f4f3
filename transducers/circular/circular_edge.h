// The disc's edge generator.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "core/aligned_vector.h"
#include "transducers/shape.h"
#include "transducers/tolerance/demand.h"

namespace kavro {

// How a distance becomes a delay: by division by the speed of sound, or by a product with its
// reciprocal, which rounds differently.
enum class DelayBy { quotient, product };

// Samples of the rim at the abscissas phi_i of a Gauss rule on [0, pi]:
//
//     g_i = w_i (rho c a / pi) (r cos phi_i - a) / D_i,   D_i = r^2 + a^2 - 2 a r cos phi_i,
//     tau_i = sqrt(D_i + z^2) / c,   zeta = z / c
//
// for a point at distance r from the axis and height z over the face. Points behind the face
// (z < 0) receive nothing. The direct wave's window begins with the nearest rim point's delay where
// the foot of the point is on or outside the rim, so that it may be empty, and ends by the axial
// delay in both cases: deliberate.
//
// A disc with a hole is the difference of two discs: its second rim's samples follow those of the
// first, with the opposite sign. The direct wave's window begins with the nearest rim point over
// the hole, too, where all coefficients together give nothing.
//
// Arrivals: the nearest point of the face is the foot where that lies on the face, else the nearest
// rim point. In lengths, g_i lacks rho c and is a / pi short of it, a being the outer radius.
//
// Everything is rounded to Real where it is stored.
template <class Real>
class CircularEdge : public EdgeGenerator<Real> {
public:
    // Of an element with these rim radii (m): the outer one and, if there is one, the hole's. The
    // wanted rule lies on [0, pi]; for a tolerance, every point takes one of its own for each rim.
    CircularEdge(const Transducer& element, std::span<const double> radii, const Wanted& wanted,
                 DelayBy delay_by = DelayBy::quotient);

    // One rim of a radius (m), in lengths, with coefficients weight * w_i (r cos phi_i - a) / D_i.
    CircularEdge(const QuadratureRule& rule, double radius, double weight);

    int size() const override { return static_cast<int>(weight_.size()); }
    void sample(EdgeBlock<Real>& block, int pass) const override;

private:
    void add_rim(const QuadratureRule& rule, Real radius, double scale);
    void choose_rules(EdgeBlock<Real>& block) const;

    std::vector<Real> radii_;
    Real speed_;
    DelayBy delay_by_;
    std::vector<Real> scale_;     // of each rim: rho c a / pi
    AlignedVector<Real> cosine_;  // cos phi_i
    AlignedVector<Real> weight_;  // w_i rho c a / pi: over the abscissas of the outer, then of the
                                  // inner rim
    std::optional<QuadratureDemand> demand_;
};

extern template class CircularEdge<float>;
extern template class CircularEdge<double>;

}  // namespace kavro
