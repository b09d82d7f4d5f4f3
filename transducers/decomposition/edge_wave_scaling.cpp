// The first step of the active sums: edge waves as scaled integers.
#include <algorithm>
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

// Writes kCount terms from `first` on, of some lanes from `lane` on, as scaled integers, and the
// factors that undo the scaling. Returns the lanes with a value that is not finite.
template <int kCount, class Real>
HWY_INLINE LaneSet ScaleFour(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                             int first, int lane) {
    using Limits = Scaling<Real>;
    using V = hn::Vec<Reals<Real>>;
    const Reals<Real> d;
    const Integers<Real> di;
    const auto n = static_cast<size_t>(block.samples);
    const Real* g = block.coefficient + lane;
    const Real* S = block.spatial + static_cast<size_t>(first) * n * block_lanes + lane;
    const auto product = [&](size_t k, size_t i, V coefficient) HWY_ATTR {
        return hn::Mul(coefficient, hn::Load(d, S + (k * n + i) * block_lanes));
    };

    V scale[4];
    for (size_t k = 0; k < kCount; ++k) {
        scale[k] = hn::Zero(d);
    }
    for (size_t i = 0; i < n; ++i) {
        const auto coefficient = hn::Load(d, g + i * block_lanes);
        for (size_t k = 0; k < kCount; ++k) {
            scale[k] = hn::Add(scale[k], hn::Abs(product(k, i, coefficient)));
        }
    }
    LaneSet not_finite = 0;
    for (size_t k = 0; k < 4; ++k) {
        Real* unscales =
            scratch.unscale.data() + (static_cast<size_t>(first) + k) * block_lanes + lane;
        if (k >= kCount) {
            hn::Store(hn::Zero(d), d, unscales);
            continue;
        }
        const auto exponent = hn::ShiftRight<Limits::mantissa_bits>(hn::BitCast(di, scale[k]));
        const auto finite = hn::Lt(exponent, hn::Set(di, Limits::highest_exponent));
        const auto clamped = hn::Max(exponent, hn::Set(di, Limits::lowest_exponent));
        const auto bits =
            hn::ShiftLeft<Limits::mantissa_bits>(hn::Sub(hn::Set(di, Limits::headroom), clamped));
        scale[k] = hn::BitCast(d, bits);
        constexpr int undo = Limits::highest_exponent - 1 - Limits::headroom;
        hn::Store(hn::BitCast(
                      d, hn::ShiftLeft<Limits::mantissa_bits>(hn::Add(hn::Set(di, undo), clamped))),
                  d, unscales);
        uint8_t mask[8] = {};
        hn::StoreMaskBits(di, hn::Not(finite), mask);
        not_finite |= static_cast<LaneSet>(mask[0] | mask[1] << 8) << lane;
    }
    auto* scaled = scratch.scaled.data() + static_cast<size_t>(first) * n * block_lanes;
    for (size_t i = 0; i < n; ++i, scaled += block_lanes * 4) {
        const auto coefficient = hn::Load(d, g + i * block_lanes);
        hn::Vec<Integers<Real>> values[4];
        for (size_t k = 0; k < 4; ++k) {
            values[k] = k < kCount ? ToInteger(hn::Mul(product(k, i, coefficient), scale[k]))
                                   : hn::Zero(di);
        }
        if (scratch.by_rows) {
            for (size_t k = 0; k < 4; ++k) {
                hn::Store(values[k], di, scaled + k * block_lanes + lane);
            }
        } else {
            hn::StoreInterleaved4(values[0], values[1], values[2], values[3], di,
                                  scaled + lane * 4);
        }
    }
    return not_finite;
}

template <class Real>
HWY_INLINE LaneSet Scale(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    LaneSet not_finite = 0;
    for (int first = 0; first < block.terms; first += 4) {
        const int count = block.terms - first;
        for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(Reals<Real>()))) {
            not_finite |= count == 1   ? ScaleFour<1>(block, scratch, first, lane)
                          : count == 2 ? ScaleFour<2>(block, scratch, first, lane)
                          : count == 3 ? ScaleFour<3>(block, scratch, first, lane)
                                       : ScaleFour<4>(block, scratch, first, lane);
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

LaneSet scale_block(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    return KAVRO_KERNEL(ScaleSingle)(block, scratch);
}

LaneSet scale_block(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    return KAVRO_KERNEL(ScaleDouble)(block, scratch);
}

}  // namespace kavro
#endif  // HWY_ONCE
