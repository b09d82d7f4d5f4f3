// The edge generator of spherical bowls, whole or with a hole.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "core/aligned_vector.h"
#include "transducers/shape.h"
#include "transducers/spherical/spherical_geometry.h"

namespace kavro {

template <class Real>
struct SphericalLanes;
struct RimScene;

// Which points a bowl's solution reaches.
enum class SphericalReach {
    facing,      // those that it does not turn its back to
    everywhere,  // all: the field behind is that of the bare surface, without its own shadow
    // Of those it faces, the ones at least d / 16 from the focus, and the others: where rim waves
    // and direct wave nearly cancel, single-precision coefficients of size d / s would leave a
    // thousandth and more.
    off_focus,
    near_focus,
};

// Samples of the rims at the abscissas phi_i of a Gauss rule on [0, pi], the outer rim's first.
// With s the distance of a point from the centre of curvature, m and n the sine and cosine of its
// angle against the axis, U = 1 - n, sigma = +1 before the focal plane and -1 beyond it, S, C, V =
// 1 - C of a rim, and kappa_i = 1 - cos phi_i:
//
//     D_i = (S - m)^2 + (V - U)^2 + 2 S m kappa_i,      N_i = C m - S n - C m kappa_i,
//     g_i = w_i (rho c a / pi) (sigma / s) N_i / (D_i (1 - D_i / 4)),
//     R_i^2 = R_0^2 + sigma d s D_i,   tau_i = R_i / c,   zeta = R_0 / c,
//
// R_0 = |d - s| before the focal plane, d + s beyond it. Inside the cone of focus and rim that is
// the direct wave's path; outside, where no direct wave arrives, subtracting it keeps the sum
// smooth. An inner rim counts with the opposite sign. The direct wave's coefficient is the sum of
// the g_i, never its limit -1, 0 or +1 times rho c d / s: close to the cone only the pair is
// accurate. Its window is held within the first and last arrival.
//
// A rim close to the hemisphere's is also close to the pole on the far side. Its g_i split in two
// then, D_i in the denominator for one pass and 4 - D_i for the other, which has R_1 = d + s or
// |d - s| instead of R_0; a share rho c d V sigma / 2s of the coefficient moves from one direct
// wave to the other. In lengths this share is one more edge sample of the second pass.
//
// Within 2^-18 d of the focus the time-domain pressure, which is even in r and smooth, is
// interpolated from the points r_0 = 2^-18 d and 2 r_0 of the same height, two passes (four with
// the split). In lengths nothing of the kind is needed.
//
// In single precision the geometry is in double until all that points and rims share is rounded.
template <class Real>
class SphericalEdge : public EdgeGenerator<Real> {
public:
    // The wanted rule lies on [0, pi]; for a tolerance, every point takes one of its own for each
    // rim.
    SphericalEdge(const Transducer& element, const SphericalGeometry& geometry,
                  SphericalReach reach, const Wanted& wanted);

    int size() const override;
    int passes(const EdgeBlock<Real>& block) const override;
    void sample(EdgeBlock<Real>& block, int pass) const override;

private:
    struct Pass {
        int neighbour;  // beside the focus: 0 or 1
        bool far_pole;
    };

    AxialPoint point_of(const EdgeBlock<Real>& block, std::size_t lane) const;
    bool is_next_to_focus(const SphericalPole& pole) const;
    bool reaches(const AxialPoint& point, double s) const;
    SphericalLanes<Real> tables(bool far_pass) const;
    bool has_share_as_sample() const;
    void place(EdgeBlock<Real>& block, std::size_t lane, Pass pass, SphericalLanes<Real>& lanes,
               RimScene* scene) const;
    RimScene scene() const;
    void set_gradient_frame(EdgeBlock<Real>& block, std::size_t lane, Pass pass,
                            const AxialPoint& point, const SphericalPole& pole) const;
    void see(const AxialPoint& point, const SphericalPole& pole, std::size_t lane,
             RimScene& scene) const;
    void choose_rules(EdgeBlock<Real>& block, const RimScene& scene,
                      const SphericalLanes<Real>& lanes) const;
    void finish(EdgeBlock<Real>& block, Pass pass, const SphericalLanes<Real>& lanes) const;

    SphericalGeometry geometry_;
    SphericalReach reach_;
    EdgeUnits units_;
    double density_speed_;  // rho c, or 1
    double speed_;          // c, or 1
    bool splits_;           // a rim is nearly the hemisphere's: two passes
    double share_ = 0.0;    // of the coefficient that moves between the poles, times s / sigma
    int abscissas_;
    AlignedVector<Real> kappa_;   // of one rim
    AlignedVector<Real> weight_;  // sign w_i rho c a / pi, rim after rim
    std::vector<Real> scale_;     // sign rho c a / pi
    std::optional<QuadratureDemand> demand_;
};

extern template class SphericalEdge<float>;
extern template class SphericalEdge<double>;

}  // namespace kavro
