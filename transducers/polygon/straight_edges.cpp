#include "transducers/polygon/straight_edges.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
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
            const SeenSide<Real> seen(face.sides[k / 2], x, y);
            for (int i = 0; i < rule.count(); ++i) {
                const SideSample<Real> sample(seen, static_cast<int>(k % 2), rule.Abscissa(i),
                                              rule.Weight(i), z_squared);
                const auto g = rule.Present(sample.g, i);
                rule.Store(g, block.coefficient, i);
                rule.Store(hn::Mul(sample.R, inverse_speed), block.delay, i);
                if (block.detail == EdgeDetail::excess) {
                    rule.Store(sample.Excess(z), block.excess, i);
                }
                sum = hn::Add(sum, g);
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
    }
}

void SamplePiecesSingle(const StraightTables<float>& face, EdgeBlock<float>& block) {
    SamplePieces(face, block);
}

void SamplePiecesDouble(const StraightTables<double>& face, EdgeBlock<double>& block) {
    SamplePieces(face, block);
}

// From the foot of the perpendicular, both pieces of a side, in double.
void SeePieces(const PolygonTransducer::Side& side, const Lanes<double>& x, const Lanes<double>& y,
               SeenPiece* pieces) {
    const hn::CappedTag<double, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const SeenSide<double> seen(side, hn::Load(d, x.data() + lane),
                                    hn::Load(d, y.data() + lane));
        for (int piece = 0; piece < 2; ++piece) {
            const auto from = seen.From(piece);
            const auto to = hn::Add(from, seen.Reach(piece));
            hn::Store(seen.L, d, pieces[piece].L.data() + lane);
            hn::Store(hn::Min(hn::Abs(from), hn::Abs(to)), d, pieces[piece].nearer.data() + lane);
            hn::Store(hn::Max(hn::Abs(from), hn::Abs(to)), d, pieces[piece].farther.data() + lane);
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
    across_x_ = -narrowest.uy;
    across_y_ = narrowest.ux;
    sharpness_ = sharpness_of(sides_);
}

// How far the foot of a point lies beside the face: perpendicular to the nearest side, or beyond
// the ends of the two that meet at the nearest corner.
template <class Real>
void StraightEdges<Real>::see_face(const EdgeBlock<Real>& block, PieceScene& scene) const {
    scene.extents[0] = extents_[0];
    scene.extents[1] = extents_[1];
    scene.sharpness = sharpness_;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double x = static_cast<double>(block.x[lane]);
        const double y = static_cast<double>(block.y[lane]);
        const double z = static_cast<double>(block.z[lane]);
        bool over_face = true;
        double nearest = std::numeric_limits<double>::infinity();
        double beside[2] = {0.0, 0.0};
        double past_end = 0.0;  // of the side before
        const Side* before = &sides_.back();
        past_end = before->ux * (x - before->x) + before->uy * (y - before->y) - before->length;
        for (const Side& side : sides_) {
            const double dx = x - side.x;
            const double dy = y - side.y;
            const double L = cross(side, dx, dy);
            const double along = side.ux * dx + side.uy * dy;
            over_face = over_face && L >= 0.0;
            if (L < 0.0 && along > 0.0 && along < side.length && L * L < nearest) {
                nearest = L * L;
                const bool is_across =
                    std::abs(side.ux * across_y_ - side.uy * across_x_) > 0.70710678118654752;
                beside[is_across ? 0 : 1] = -L;
                beside[is_across ? 1 : 0] = 0.0;
            }
            const double to_corner = dx * dx + dy * dy;
            if (past_end >= 0.0 && along <= 0.0 && to_corner < nearest) {
                nearest = to_corner;
                const bool side_is_across =
                    std::abs(side.ux * across_x_ + side.uy * across_y_) >
                    std::abs(before->ux * across_x_ + before->uy * across_y_);
                beside[side_is_across ? 0 : 1] = -along;
                beside[side_is_across ? 1 : 0] = past_end;
            }
            past_end = along - side.length;
            before = &side;
        }
        scene.height[lane] = z;
        scene.nearest[lane] = over_face ? std::abs(z) : std::sqrt(nearest + z * z);
        scene.beside[0][lane] = over_face ? 0.0 : beside[0];
        scene.beside[1][lane] = over_face ? 0.0 : beside[1];
    }
}

template <class Real>
void StraightEdges<Real>::see_pieces(const EdgeBlock<Real>& block, PieceScene& scene) const {
    Lanes<double> x, y;
    std::copy(block.x.begin(), block.x.end(), x.begin());
    std::copy(block.y.begin(), block.y.end(), y.begin());
    scene.pieces.resize(2 * sides_.size());
    for (std::size_t k = 0; k < sides_.size(); ++k) {
        KAVRO_KERNEL(SeePieces)(sides_[k], x, y, scene.pieces.data() + 2 * k);
    }
}

template <class Real>
void StraightEdges<Real>::sample(EdgeBlock<Real>& block, int /* the only pass */) const {
    PieceScene scene{};
    see_face(block, scene);
    see_pieces(block, scene);
    choose_pieces(scene, demand_, block.quadrature);
    const auto delay = [this](double distance) { return static_cast<Real>(distance / speed_); };
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        block.reached[lane] = block.z[lane] < 0 ? 0 : 1;
        block.direct_delay[lane] = delay(static_cast<double>(block.z[lane]));
        block.direct_end[lane] = block.direct_delay[lane];
        block.direct_begin[lane] = delay(scene.nearest[lane]);
        if (block.detail == EdgeDetail::arrivals) {
            const ApertureDistances distances =
                element_.distances({static_cast<double>(block.x[lane]),
                                    static_cast<double>(block.y[lane]), scene.height[lane]});
            block.first_arrival[lane] = delay(distances.nearest);
            block.last_arrival[lane] = delay(distances.farthest);
        }
    }
    lay_out_lanes(block);
    const LineLadder<Real>& ladder = line_ladder<Real>();
    const StraightTables<Real> tables{sides_, static_cast<Real>(speed_), ladder.abscissa.data(),
                                      ladder.weight.data(), static_cast<Real>(scale_)};
    if constexpr (std::is_same_v<Real, float>) {
        KAVRO_KERNEL(SamplePiecesSingle)(tables, block);
    } else {
        KAVRO_KERNEL(SamplePiecesDouble)(tables, block);
    }
    fill_up_lanes(block);
}

template class StraightEdges<float>;
template class StraightEdges<double>;

}  // namespace kavro
#endif  // HWY_ONCE
