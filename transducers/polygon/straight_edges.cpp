#include "transducers/polygon/straight_edges.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>

#include "core/constants.h"
#include "core/rule_ladder.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/polygon/straight_edges.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "transducers/blocks/edge_rules-inl.h"
#include "transducers/polygon/straight_edge-inl.h"

#ifndef KAVRO_STRAIGHT_EDGES_TABLES
#define KAVRO_STRAIGHT_EDGES_TABLES
namespace kavro {

template <class Real>
struct StraightTables {
    std::span<const PolygonTransducer::Side> sides;
    Real speed;
    const Real* abscissa;
    const Real* weight;
    Real scale;  // of the weights
};

// Of each side: whether it goes along the face's length, and so its normal across; whether it goes
// more across than the side before.
struct FaceSides {
    std::span<const PolygonTransducer::Side> sides;
    const std::uint8_t* is_level;
    const std::uint8_t* corner_is_across;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Real>
HWY_INLINE void SamplePieces(const StraightTables<Real>& face, EdgeBlock<Real>& block) {
    const hn::CappedTag<Real, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto z_squared = hn::Mul(z, z);
        const auto inverse_speed = hn::Set(d, Real(1) / face.speed);
        auto sum = hn::Zero(d);
        for (size_t k = 0; k < block.quadrature.rules.size(); ++k) {
            const OwnRule<Real> rule(face.abscissa, face.weight, face.scale,
                                     block.quadrature.rules[k], lane);
            const PolygonTransducer::Side& side = face.sides[k / 2];
            const SeenSide<Real> seen(side, x, y);
            for (int i = 0; i < rule.count(); ++i) {
                const SideSample<Real> sample(seen, static_cast<int>(k % 2), rule.Abscissa(i),
                                              rule.Weight(i), z_squared);
                const auto g = rule.Present(sample.g, i);
                rule.Store(g, block.coefficient, i);
                rule.Store(hn::Mul(sample.R, inverse_speed), block.delay, i);
                if (block.has_excess()) {
                    rule.Store(sample.Excess(z), block.excess, i);
                }
                if (block.has_gradient()) {
                    const auto ux = hn::Set(d, static_cast<Real>(side.ux));
                    const auto uy = hn::Set(d, static_cast<Real>(side.uy));
                    rule.Store(hn::Mul(sample.weight, hn::Neg(uy)),
                               block.gradient.across_coefficient, i);
                    rule.Store(hn::Mul(sample.weight, ux), block.gradient.aside_coefficient, i);
                }
                sum = hn::Add(sum, g);
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
    }
}

void SamplePiecesDouble(const StraightTables<double>& face, EdgeBlock<double>& block) {
    SamplePieces(face, block);
}

using Wide = hn::CappedTag<double, block_lanes>;
using WideV = hn::Vec<Wide>;

HWY_INLINE void StoreNarrow(WideV v, Lanes<float>& out, int lane) {
    const hn::Rebind<float, Wide> narrow;
    hn::Store(hn::DemoteTo(narrow, v), narrow, out.data() + lane);
}

// How far the foot of a point lies beside the face: perpendicular to the nearest side, or beyond
// the ends of the two that meet at the nearest corner.
void SeeFace(const FaceSides& face, const Lanes<double>& x, const Lanes<double>& y,
             const Lanes<double>& z, Lanes<double>& nearest_of_face, FaceScene& scene) {
    const Wide d;
    const auto zero = hn::Zero(d);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x_of_lanes = hn::Load(d, x.data() + lane);
        const auto y_of_lanes = hn::Load(d, y.data() + lane);
        auto nearest = hn::Set(d, std::numeric_limits<double>::infinity());
        auto across = zero;
        auto along = zero;
        auto outside = hn::Lt(zero, zero);
        const auto take = [&](hn::Mask<Wide> candidate, WideV squared, bool first_is_across,
                              WideV first, WideV second) HWY_ATTR {
            const auto better = hn::And(candidate, hn::Lt(squared, nearest));
            nearest = hn::IfThenElse(better, squared, nearest);
            across = hn::IfThenElse(better, first_is_across ? first : second, across);
            along = hn::IfThenElse(better, first_is_across ? second : first, along);
        };
        const SeenSide<double> last(face.sides.back(), x_of_lanes, y_of_lanes);
        auto past_end = hn::Neg(last.above);  // of the side before
        for (size_t k = 0; k < face.sides.size(); ++k) {
            const SeenSide<double> seen(face.sides[k], x_of_lanes, y_of_lanes);
            const auto L_squared = hn::Mul(seen.L, seen.L);
            const auto beyond = hn::Lt(seen.L, zero);
            outside = hn::Or(outside, beyond);
            take(hn::And(beyond, seen.inside), L_squared, face.is_level[k] != 0, hn::Neg(seen.L),
                 zero);
            const auto before_begin = seen.below;
            take(hn::And(hn::Ge(past_end, zero), hn::Ge(before_begin, zero)),
                 hn::Add(L_squared, hn::Mul(before_begin, before_begin)),
                 face.corner_is_across[k] != 0, before_begin, past_end);
            past_end = hn::Neg(seen.above);
        }
        const auto height = hn::Load(d, z.data() + lane);
        nearest = hn::IfThenElseZero(outside, nearest);
        const auto R = hn::Sqrt(hn::Add(nearest, hn::Mul(height, height)));
        hn::Store(R, d, nearest_of_face.data() + lane);
        StoreNarrow(R, scene.nearest, lane);
        StoreNarrow(height, scene.height, lane);
        StoreNarrow(hn::IfThenElseZero(outside, across), scene.beside[0], lane);
        StoreNarrow(hn::IfThenElseZero(outside, along), scene.beside[1], lane);
    }
}

// Both pieces of a side.
void SeePieces(const PolygonTransducer::Side& side, const Lanes<double>& x, const Lanes<double>& y,
               SeenPiece* pieces) {
    const Wide d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const SeenSide<double> seen(side, hn::Load(d, x.data() + lane),
                                    hn::Load(d, y.data() + lane));
        for (int piece = 0; piece < 2; ++piece) {
            const auto from = seen.From(piece);
            const auto to = hn::Add(from, seen.Reach(piece));
            StoreNarrow(seen.L, pieces[piece].L, lane);
            StoreNarrow(hn::Min(hn::Abs(from), hn::Abs(to)), pieces[piece].nearer, lane);
            StoreNarrow(hn::Max(hn::Abs(from), hn::Abs(to)), pieces[piece].farther, lane);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

using Side = PolygonTransducer::Side;

double cross(const Side& side, double dx, double dy) {
    return side.ux * dy - side.uy * dx;
}

// A convex face is narrowest across one of its sides.
double width_across(const Side& side, const std::vector<Side>& sides) {
    double width = 0.0;
    for (const Side& corner : sides) {
        width = std::max(width, cross(side, corner.x - side.x, corner.y - side.y));
    }
    return width;
}

double area_of(const std::vector<Side>& sides) {
    double area = 0.0;
    for (const Side& side : sides) {
        area += 0.5 * side.length * cross(side, sides.front().x - side.x, sides.front().y - side.y);
    }
    return area;
}

// The sine of the sharpest corner below a right angle.
double sharpness_of(const std::vector<Side>& sides) {
    double sharpness = 1.0;
    for (std::size_t k = 0; k < sides.size(); ++k) {
        const Side& before = sides[k];
        const Side& after = sides[(k + 1) % sides.size()];
        if (before.ux * after.ux + before.uy * after.uy < 0.0) {
            sharpness = std::min(sharpness, cross(before, after.ux, after.uy));
        }
    }
    return sharpness;
}

}  // namespace

template <class Real>
StraightEdges<Real>::StraightEdges(const Transducer& element, std::vector<Side> sides,
                                   const Wanted& wanted)
    : element_(element), sides_(std::move(sides)), demand_(*wanted.demand) {
    if (wanted.units() == EdgeUnits::times) {
        speed_ = element.medium->_soundspeed;
        scale_ = element.medium->_rho_density * speed_ / -two_pi;
    }
    const Side& narrowest =
        *std::min_element(sides_.begin(), sides_.end(), [this](const Side& a, const Side& b) {
            return width_across(a, sides_) < width_across(b, sides_);
        });
    extents_[0] = width_across(narrowest, sides_);
    extents_[1] = extents_[0] > 0.0 ? area_of(sides_) / extents_[0] : 0.0;
    sharpness_ = sharpness_of(sides_);
    const auto along = [&](const Side& side) {
        return std::abs(side.ux * narrowest.ux + side.uy * narrowest.uy);
    };
    const Side* before = &sides_.back();
    for (const Side& side : sides_) {
        is_level_.push_back(along(side) > 0.70710678118654752 ? 1 : 0);
        corner_is_across_.push_back(along(side) < along(*before) ? 1 : 0);
        before = &side;
    }
}

template <class Real>
Lanes<double> StraightEdges<Real>::choose_rules(EdgeBlock<Real>& block) const {
    Lanes<double> x, y, z, nearest;
    std::copy(block.x.begin(), block.x.end(), x.begin());
    std::copy(block.y.begin(), block.y.end(), y.begin());
    std::copy(block.z.begin(), block.z.end(), z.begin());
    FaceScene scene{{extents_[0], extents_[1]}, sharpness_, {}, {}, {}};
    KAVRO_KERNEL(SeeFace)
    ({sides_, is_level_.data(), corner_is_across_.data()}, x, y, z, nearest, scene);
    const FaceAllowance allowance = allowance_of(scene, demand_);
    block.quadrature.begin(2 * sides_.size());
    for (std::size_t k = 0; k < sides_.size(); ++k) {
        SeenPiece pieces[2];
        KAVRO_KERNEL(SeePieces)(sides_[k], x, y, pieces);
        choose_pieces(pieces, scene, allowance, demand_, 2 * k, block.quadrature);
    }
    return nearest;
}

template <class Real>
void StraightEdges<Real>::sample(EdgeBlock<Real>& block, int /* the only pass */) const {
    const Lanes<double> nearest = choose_rules(block);
    const auto delay = [this](double distance) { return static_cast<Real>(distance / speed_); };
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        block.reached[lane] = block.z[lane] < 0 ? 0 : 1;
        block.direct_delay[lane] = delay(static_cast<double>(block.z[lane]));
        block.direct_end[lane] = block.direct_delay[lane];
        block.direct_begin[lane] = delay(nearest[lane]);
        if (block.detail == EdgeDetail::arrivals) {
            const ApertureDistances distances = element_.distances(
                {static_cast<double>(block.x[lane]), static_cast<double>(block.y[lane]),
                 static_cast<double>(block.z[lane])});
            block.first_arrival[lane] = delay(distances.nearest);
            block.last_arrival[lane] = delay(distances.farthest);
        }
    }
    if (block.has_gradient()) {
        block.gradient.set_flat({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    }
    lay_out_lanes(block);
    const LineLadder<Real>& ladder = line_ladder<Real>();
    const StraightTables<Real> tables{sides_, static_cast<Real>(speed_), ladder.abscissa.data(),
                                      ladder.weight.data(), static_cast<Real>(scale_)};
    KAVRO_KERNEL(SamplePiecesDouble)(tables, block);
    fill_up_lanes(block);
}

template class StraightEdges<double>;

}  // namespace kavro
#endif  // HWY_ONCE
