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

#include "transducers/polygon/straight_edge-inl.h"

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

HWY_INLINE bool AnyInside(const PolygonTransducer::Side& side, const EdgeBlock<double>& block) {
    const Tag d;
    bool any = false;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const SeenSide<double> seen(side, hn::Load(d, block.x.data() + lane),
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
        const SeenSide<double> seen(side, hn::Load(d, block.x.data() + lane),
                                    hn::Load(d, block.y.data() + lane));
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto z_squared = hn::Mul(z, z);
        const auto speed = hn::Set(d, face.speed);
        auto sum = hn::Load(d, block.coefficient_sum.data() + lane);
        std::size_t at =
            static_cast<std::size_t>(first) * block_lanes + static_cast<std::size_t>(lane);
        for (std::size_t i = 0; i < face.count; ++i) {
            const auto t = hn::Set(d, face.abscissa[i]);
            const auto w = hn::Set(d, face.weight[i]);
            for (int piece = 0; piece < pieces; ++piece) {
                const SideSample<double> sample(seen, piece, t, w, z_squared);
                hn::Store(sample.g, d, block.coefficient.data() + at);
                hn::Store(hn::Div(sample.R, speed), d, block.delay.data() + at);
                if (block.has_excess()) {
                    hn::Store(sample.Excess(z), d, block.excess.data() + at);
                }
                if (block.has_gradient()) {
                    EdgeGradient<double>& gradient = block.gradient;
                    hn::Store(hn::Mul(sample.weight, hn::Set(d, -side.uy)), d,
                              gradient.across_coefficient.data() + at);
                    hn::Store(hn::Mul(sample.weight, hn::Set(d, side.ux)), d,
                              gradient.aside_coefficient.data() + at);
                }
                sum = hn::Add(sum, sample.g);
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
    if (block.has_gradient()) {
        block.gradient.set_flat({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    }
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
