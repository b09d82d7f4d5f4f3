// What a shape tells a fast-nearfield method about a block of observation points.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/aligned_vector.h"
#include "core/cartesian_coordinate.h"
#include "transducers/blocks/lane_quadrature.h"

namespace kavro {

// What a method wants to know of the points beside coefficients and delays.
enum class EdgeDetail {
    none,
    arrivals,
    excess,       // R_i - R_0
    from_middle,  // R_i - R_m, R_m from the middle of the face: small for all points, however far
    gradient,     // as excess, and what the gradient of the pressure takes, see EdgeGradient
};

// Of continuous waves, in lengths. The gradient of the form below has a component along the
// direction in which the direct path changes, and one across it, to which the edge alone
// contributes: by the edge's normal, for the edge moves where the point does. With s the distance
// of the point from where all paths would be the same (a bowl's focus), kappa = 1/s:
//
//     grad p = -(alpha + jk) [ ahead * sum of g_i ( e^(-..R_i) (R_i' + kappa/(alpha + jk))
//                                                  - e^(-..R_0) (R_0' + kappa/(alpha + jk)) )
//                            + sum of (b_i across + c_i aside) e^(-..R_i) / R_i ],
//
// R_i' - R_0' = kappa E - E/R_i (R_0' + kappa E / 2) and E = R_i - R_0 (kappa is 0 of a flat face,
// whose ahead is its axis).
template <class Real>
struct EdgeGradient {
    AlignedVector<Real> across_coefficient, aside_coefficient;  // b_i, c_i; as coefficients lie
    bool has_aside = false;
    Lanes<Real> curvature{};                                // kappa (1/m)
    Lanes<Real> direct_slope{};                             // R_0', 1 or -1
    Lanes<CartesianCoordinate> ahead{}, across{}, aside{};  // in the element's frame

    // Of a flat face.
    void set_flat(const CartesianCoordinate& first, const CartesianCoordinate& second) {
        has_aside = true;
        curvature.fill(Real(0));
        direct_slope.fill(Real(1));
        ahead.fill({0.0, 0.0, 1.0});
        across.fill(first);
        aside.fill(second);
    }
};

// Every fast-nearfield pressure has the form
//
//     p(t) = sum over i of g_i [ v(t - tau_i) - v(t - zeta) ],
//
// with i over samples of the aperture's edge, g_i a coefficient of the geometry (quadrature weight
// and rho c included, Pa s/m), tau_i the delay from the edge sample and zeta that of the direct
// wave (s). Continuous wave asks for lengths instead (EdgeUnits::lengths): delays are path lengths
// then, R_i and R_0 (m), and coefficients lack rho c. Arrays over edge samples hold entry (i, lane)
// at i * block_lanes + lane.
template <class Real>
struct EdgeBlock {
    // The points, in the element's own frame, in the precision of the method (m).
    Lanes<Real> x, y, z;
    Lanes<CartesianCoordinate> unrounded;  // the same before rounding, of single-precision blocks

    int size;  // edge samples per point; a generator may need fewer for some blocks
    // Those that a lane has; more than `size` stands for all. The others have coefficient 0, the
    // direct wave's delay and no excess, and a consumer may leave them out.
    Lanes<std::int32_t> samples;
    LaneQuadrature quadrature;  // how a lane came to its own number
    // One entry more than there are edge samples: a consumer may treat the direct wave as the last
    // one.
    AlignedVector<Real> coefficient;  // g_i
    AlignedVector<Real> delay;        // tau_i
    Lanes<Real> coefficient_sum;      // of all g_i, in the order of i
    Lanes<Real> direct_delay;         // zeta
    // Before rounding (m), of generators that know them: R_0, R_m, and R_m - R_0 without
    // cancellation.
    Lanes<double> direct_path, middle_path, middle_excess;
    Lanes<Real> direct_begin;  // delay at which the direct wave's window begins
    // Delay whose wave ends the direct wave's window; methods that take that wave by its value know
    // the direct delay only.
    Lanes<Real> direct_end;
    Lanes<std::int32_t> reached;  // 0 for a point that receives nothing from the element

    EdgeDetail detail;
    Lanes<Real> first_arrival, last_arrival;  // EdgeDetail::arrivals: delays of the nearest and the
                                              // farthest point of the aperture
    // EdgeDetail::excess, from_middle, gradient: the path difference, formed without cancellation
    // (m)
    AlignedVector<Real> excess;
    EdgeGradient<Real> gradient;  // EdgeDetail::gradient

    explicit EdgeBlock(int edge_samples, EdgeDetail wanted = EdgeDetail::none)
        : x{},
          y{},
          z{},
          unrounded{},
          size(edge_samples),
          samples{},
          coefficient((static_cast<std::size_t>(edge_samples) + 1) * block_lanes),
          delay(coefficient.size()),
          coefficient_sum{},
          direct_delay{},
          direct_path{},
          middle_path{},
          middle_excess{},
          direct_begin{},
          direct_end{},
          reached{},
          detail(wanted),
          first_arrival{},
          last_arrival{},
          excess(has_excess() ? coefficient.size() : 0) {
        samples.fill(every_sample);
        grow(edge_samples);
    }

    // Whether R_i - R_0 is wanted.
    bool has_excess() const {
        return detail == EdgeDetail::excess || detail == EdgeDetail::gradient;
    }
    bool has_gradient() const { return detail == EdgeDetail::gradient; }

    // Of a flat face's single-precision block: the paths that need not be rounded.
    void set_flat_paths() {
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const CartesianCoordinate& p = unrounded[lane];
            const double r_squared = p.x * p.x + p.y * p.y;
            direct_path[lane] = p.z;
            middle_path[lane] = std::sqrt(r_squared + p.z * p.z);
            const double both = middle_path[lane] + p.z;
            middle_excess[lane] = both > 0.0 ? r_squared / both : 0.0;
        }
    }

    // Ready for another generator of so many edge samples.
    void resize(int edge_samples) {
        grow(edge_samples);
        samples.fill(every_sample);
        quadrature.rules.clear();
    }

    // Makes room for so many.
    void grow(int edge_samples) {
        size = edge_samples;
        const auto needed = (static_cast<std::size_t>(edge_samples) + 1) * block_lanes;
        if (needed > coefficient.size()) {
            coefficient.resize(needed);
            delay.resize(needed);
            excess.resize(excess.empty() ? 0 : needed);
        }
        if (has_gradient() && needed > gradient.across_coefficient.size()) {
            gradient.across_coefficient.resize(needed);
            gradient.aside_coefficient.resize(needed);
        }
    }

    int samples_of(std::size_t lane) const { return std::min(size, samples[lane]); }

private:
    static constexpr std::int32_t every_sample = std::numeric_limits<std::int32_t>::max();
};

// Times, for the transient methods, or lengths, for continuous wave: the speed of sound counts as 1
// then, and rho c is left to the method.
enum class EdgeUnits { times, lengths };

// What a generator keeps for each edge sample, about.
inline constexpr std::size_t bytes_of_sample = 64;

// A shape is one edge generator: from points in its own frame it fills the block. A method is a
// consumer of edge blocks. Generators are immutable and used from several threads at once.
//
// The field of some points is the sum of several such forms, each with a direct wave of its own. A
// consumer adds up all passes; points that take no part in one are not reached in it.
template <class Real>
class EdgeGenerator {
public:
    virtual ~EdgeGenerator() = default;
    // Edge samples per point, the most of all passes; 0 where every lane has a number of its own,
    // for which `sample` makes room.
    virtual int size() const = 0;
    virtual int passes(const EdgeBlock<Real>& /* its points */) const { return 1; }
    virtual void sample(EdgeBlock<Real>& block, int pass) const = 0;
};

}  // namespace kavro
