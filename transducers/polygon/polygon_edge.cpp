#include "transducers/polygon/polygon_edge.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/polygon/polygon_edge.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef KAVRO_POLYGON_EDGE_TABLES
#define KAVRO_POLYGON_EDGE_TABLES
namespace kavro {

struct PolygonTables {
    std::span<const PolygonTransducer::Side> sides;
    double speed;
    std::size_t count;  // abscissas
    const double* abscissa;
    const double* weight;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, block_lanes>;
using V = hn::Vec<Tag>;
using M = hn::Mask<Tag>;

// A side as some lanes of a block see it.
struct SeenSide {
    V L;
    V below, above;  // from the foot of the perpendicular to where the side begins and ends
    M inside;        // the foot lies in between

    HWY_INLINE SeenSide(const PolygonTransducer::Side& side, V x, V y) {
        const Tag d;
        const auto ux = hn::Set(d, side.ux);
        const auto uy = hn::Set(d, side.uy);
        const auto dx = hn::Sub(x, hn::Set(d, side.x));
        const auto dy = hn::Sub(y, hn::Set(d, side.y));
        L = hn::Sub(hn::Mul(ux, dy), hn::Mul(uy, dx));
        const auto along = hn::Add(hn::Mul(ux, dx), hn::Mul(uy, dy));
        below = hn::Neg(along);
        above = hn::Sub(hn::Set(d, side.length), along);
        inside = hn::And(hn::Lt(below, hn::Zero(d)), hn::Gt(above, hn::Zero(d)));
    }
};

HWY_INLINE bool AnyInside(const PolygonTransducer::Side& side, const EdgeBlock<double>& block) {
    const Tag d;
    bool any = false;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const SeenSide seen(side, hn::Load(d, block.x.data() + lane),
                            hn::Load(d, block.y.data() + lane));
        any = any || !hn::AllFalse(d, seen.inside);
    }
    return any;
}

// The samples of one side from term `first` on; returns how many.
int SampleSide(const PolygonTables& face, const PolygonTransducer::Side& side,
               EdgeBlock<double>& block, int first) {
    const Tag d;
    const bool in_two = AnyInside(side, block);
    const int pieces = in_two ? 2 : 1;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const SeenSide seen(side, hn::Load(d, block.x.data() + lane),
                            hn::Load(d, block.y.data() + lane));
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto L_squared = hn::Mul(seen.L, seen.L);
        const auto z_squared = hn::Mul(z, z);
        const auto speed = hn::Set(d, face.speed);
        auto sum = hn::Load(d, block.coefficient_sum.data() + lane);
        std::size_t at =
            static_cast<std::size_t>(first) * block_lanes + static_cast<std::size_t>(lane);
        for (std::size_t i = 0; i < face.count; ++i) {
            const auto t = hn::Set(d, face.abscissa[i]);
            const auto w = hn::Set(d, face.weight[i]);
            for (int piece = 0; piece < pieces; ++piece) {
                // From the foot to the end and to the beginning, or all of the side.
                const auto whole = hn::Sub(seen.above, seen.below);
                const auto reach = piece == 0 ? hn::IfThenElse(seen.inside, seen.above, whole)
                                              : hn::IfThenElseZero(seen.inside, seen.below);
                const auto from =
                    piece == 0 ? hn::IfThenZeroElse(seen.inside, seen.below) : hn::Zero(d);
                const auto s = hn::Add(from, hn::Mul(t, reach));
                const auto D = hn::Add(L_squared, hn::Mul(s, s));
                const auto R = hn::Sqrt(hn::Add(z_squared, D));
                const auto on_it = hn::Le(D, hn::Zero(d));
                const auto weight = hn::Mul(w, hn::Abs(reach));
                const auto g = hn::IfThenZeroElse(on_it, hn::Div(hn::Mul(weight, seen.L), D));
                hn::Store(g, d, block.coefficient.data() + at);
                hn::Store(hn::Div(R, speed), d, block.delay.data() + at);
                if (block.detail == EdgeDetail::excess) {
                    hn::Store(hn::IfThenZeroElse(on_it, hn::Div(D, hn::Add(R, z))), d,
                              block.excess.data() + at);
                }
                sum = hn::Add(sum, g);
                at += block_lanes;
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
    }
    return pieces * static_cast<int>(face.count);
}

void SamplePolygon(const PolygonTables& face, EdgeBlock<double>& block) {
    std::fill(block.coefficient_sum.begin(), block.coefficient_sum.end(), 0.0);
    block.size = 0;
    for (const PolygonTransducer::Side& side : face.sides) {
        block.size += SampleSide(face, side, block, block.size);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

PolygonEdge::PolygonEdge(const PolygonTransducer& element, const Wanted& wanted)
    : polygon_(element) {
    constexpr std::size_t most_samples = std::size_t{1} << 26;  // indices of lanes are 32-bit
    if (2 * element.sides().size() * wanted.rule.abscissas.size() > most_samples) {
        throw std::bad_alloc();
    }
    double scale = 1.0;
    if (wanted.units() == EdgeUnits::times) {
        speed_ = element.medium->_soundspeed;
        scale = element.medium->_rho_density * speed_ / -two_pi;
    }
    for (std::size_t i = 0; i < wanted.rule.abscissas.size(); ++i) {
        abscissa_.push_back((wanted.rule.abscissas[i] + 1.0) * 0.5);
        weight_.push_back(wanted.rule.weights[i] * 0.5 * scale);
    }
}

void PolygonEdge::sample(EdgeBlock<double>& block, int /* the only pass */) const {
    const PolygonTables tables{polygon_.sides(), speed_, abscissa_.size(), abscissa_.data(),
                               weight_.data()};
    KAVRO_KERNEL(SamplePolygon)(tables, block);
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double z = block.z[lane];
        block.reached[lane] = z < 0.0 ? 0 : 1;
        block.direct_delay[lane] = z / speed_;
        block.direct_end[lane] = block.direct_delay[lane];
        const ApertureDistances distances = polygon_.distances({block.x[lane], block.y[lane], z});
        block.first_arrival[lane] = distances.nearest / speed_;
        block.last_arrival[lane] = distances.farthest / speed_;
        block.direct_begin[lane] = block.first_arrival[lane];
    }
}

}  // namespace kavro
#endif  // HWY_ONCE
