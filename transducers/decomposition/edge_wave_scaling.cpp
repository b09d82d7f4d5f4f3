// The first step of the active sums: edge waves as scaled integers.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/simd/vector_dispatch.h"
#include "transducers/decomposition/active_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/decomposition/edge_wave_scaling.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Real>
using Reals = hn::CappedTag<Real, block_lanes>;
template <class Real>
using Integers = hn::RebindToSigned<Reals<Real>>;

// Limits of the scaling: a bound with biased exponent e is scaled by two to the power
// (headroom - e), so that no sum leaves the integer.
template <class Real>
struct Scaling;
template <>
struct Scaling<float> {
    static constexpr int mantissa_bits = 23;
    static constexpr int highest_exponent = 255;  // infinity and not-a-number
    static constexpr int headroom = 283;          // bound 2^(e - 126) to 2^30
    static constexpr int lowest_exponent = 30;
};
template <>
struct Scaling<double> {
    static constexpr int mantissa_bits = 52;
    static constexpr int highest_exponent = 2047;
    static constexpr int headroom = 2047 + 60;  // bound 2^(e - 1022) to 2^62
    static constexpr int lowest_exponent = 62;
};

HWY_INLINE hn::Vec<Integers<float>> ToInteger(hn::Vec<Reals<float>> v) {
    return hn::NearestInt(v);
}

HWY_INLINE hn::Vec<Integers<double>> ToInteger(hn::Vec<Reals<double>> v) {
    return hn::ConvertTo(Integers<double>(), hn::Round(v));
}

// Writes g_i S_k as scaled integers and the factors that undo the scaling. Returns the lanes with a
// value that is not finite; theirs are zero.
template <class Real>
HWY_INLINE LaneSet Scale(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    using Limits = Scaling<Real>;
    const Reals<Real> d;
    const Integers<Real> di;
    const int step = static_cast<int>(hn::Lanes(d));
    const int n = block.samples;
    const int K = block.terms;
    LaneSet not_finite = 0;
    for (int k = 0; k < K; ++k) {
        for (int lane = 0; lane < block_lanes; lane += step) {
            const Real* g = block.coefficient + lane;
            const Real* S = block.spatial + k * n * block_lanes + lane;
            auto bound = hn::Zero(d);
            for (int i = 0; i < n; ++i) {
                const auto product =
                    hn::Mul(hn::Load(d, g + i * block_lanes), hn::Load(d, S + i * block_lanes));
                bound = hn::Add(bound, hn::Abs(product));
            }
            const auto exponent = hn::ShiftRight<Limits::mantissa_bits>(hn::BitCast(di, bound));
            const auto finite = hn::Lt(exponent, hn::Set(di, Limits::highest_exponent));
            const auto clamped = hn::Max(exponent, hn::Set(di, Limits::lowest_exponent));
            const auto finite_real = hn::RebindMask(d, finite);
            const auto scale = hn::IfThenElseZero(
                finite_real, hn::BitCast(d, hn::ShiftLeft<Limits::mantissa_bits>(
                                                hn::Sub(hn::Set(di, Limits::headroom), clamped))));
            constexpr int undo = Limits::highest_exponent - 1 - Limits::headroom;
            const auto unscale = hn::BitCast(
                d, hn::ShiftLeft<Limits::mantissa_bits>(hn::Add(hn::Set(di, undo), clamped)));
            hn::Store(unscale, d, scratch.unscale.data() + k * block_lanes + lane);
            uint8_t bits[8] = {};
            hn::StoreMaskBits(di, hn::Not(finite), bits);
            not_finite |= static_cast<LaneSet>(bits[0] | bits[1] << 8) << lane;
            auto* scaled = scratch.scaled.data() + k * block_lanes + lane;
            for (int i = 0; i < n; ++i) {
                auto product =
                    hn::Mul(hn::Load(d, g + i * block_lanes), hn::Load(d, S + i * block_lanes));
                product = hn::IfThenElseZero(finite_real, hn::Mul(product, scale));
                hn::Store(ToInteger(product), di, scaled + i * K * block_lanes);
            }
        }
    }
    return not_finite;
}

LaneSet ScaleSingle(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    return Scale(block, scratch);
}

LaneSet ScaleDouble(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    return Scale(block, scratch);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

// Edge samples in the order of their first events; shapes give them sorted or nearly so.
void sort_by_row(const std::vector<std::int32_t>& rows, int samples,
                 AlignedVector<std::int32_t>& order) {
    order.resize(static_cast<std::size_t>(samples));
    for (int i = 0; i < samples; ++i) {
        order[static_cast<std::size_t>(i)] = samples - 1 - i;
    }
    const auto earlier = [&rows](std::int32_t a, std::int32_t b) {
        return rows[static_cast<std::size_t>(a)] < rows[static_cast<std::size_t>(b)];
    };
    // Insertion: the direct wave, last of the samples and first in the order, is often all that is
    // out of place.
    constexpr int few = 64;
    if (samples > few && !std::is_sorted(order.begin() + 1, order.end(), earlier)) {
        std::sort(order.begin(), order.end(), earlier);
        return;
    }
    for (auto item = order.begin(); item != order.end(); ++item) {
        std::rotate(std::upper_bound(order.begin(), item, *item, earlier), item, item + 1);
    }
}

// The widest spread of one edge sample's windows over the lanes, in samples.
std::int32_t spread_of(const WindowBlock& windows, int samples) {
    std::int32_t spread = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(samples); ++i) {
        if (windows.begin_max[i] >= 0) {
            spread = std::max({spread, windows.begin_max[i] - windows.begin_min[i],
                               windows.end_max[i] - windows.end_min[i]});
        }
    }
    return spread;
}

// Sizes the scratch; false where it would need more than it may hold.
template <class Real>
bool prepare(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    constexpr std::size_t largest_ring = std::size_t{16} << 20;
    constexpr auto row = static_cast<std::size_t>(most_terms_at_a_time) * block_lanes;
    const std::int32_t ahead = spread_of(*block.windows, block.samples) + sweep_chunk + 2;
    scratch.ring_rows = static_cast<std::int32_t>(std::bit_ceil(static_cast<std::uint32_t>(ahead)));
    const std::size_t cells = static_cast<std::size_t>(scratch.ring_rows) * row;
    if (cells * sizeof(scratch.changes[0]) > largest_ring) {
        return false;
    }
    if (scratch.changes.size() < cells) {
        scratch.changes.assign(cells, 0);
    }
    scratch.scaled.resize(
        std::max(scratch.scaled.size(), static_cast<std::size_t>(block.samples) * block_lanes *
                                            static_cast<std::size_t>(block.terms)));
    scratch.unscale.resize(static_cast<std::size_t>(block.terms) * block_lanes);
    scratch.sums.resize(row);
    const auto samples =
        static_cast<std::size_t>(block.windows->rows.end - block.windows->rows.begin);
    scratch.partial.resize(std::max(scratch.partial.size(), samples * block_lanes));
    sort_by_row(block.windows->begin_min, block.samples, scratch.begin_order);
    sort_by_row(block.windows->end_min, block.samples, scratch.end_order);
    return true;
}

}  // namespace

LaneSet scale_edge_waves(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    return prepare(block, scratch) ? KAVRO_KERNEL(ScaleSingle)(block, scratch) : all_lanes;
}

LaneSet scale_edge_waves(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    return prepare(block, scratch) ? KAVRO_KERNEL(ScaleDouble)(block, scratch) : all_lanes;
}

}  // namespace kavro
#endif  // HWY_ONCE
