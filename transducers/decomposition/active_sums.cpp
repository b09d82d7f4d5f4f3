#include "transducers/decomposition/active_sums.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/decomposition/active_sums.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, block_lanes>;

template <class Real>
using Reals = hn::CappedTag<Real, block_lanes>;
template <class Real>
using Integers = hn::RebindToSigned<Reals<Real>>;

// The changes of the sums at the samples ahead of the sweep.
template <class Real>
struct Ring {
    using Integer = typename ActiveSumsScratch<Real>::Integer;
    Integer* rows;
    int32_t mask;  // number of rows less one
    int K;

    Integer* row(int32_t j) const {
        return rows + static_cast<size_t>(j & mask) * static_cast<size_t>(K * block_lanes);
    }
};

// Adds (Begins) or takes off edge sample i's values at the samples where its windows begin (end):
// lane by lane where those are far apart, sample by sample where they are close.
template <bool Begins, class Real>
HWY_INLINE void Scatter(const Ring<Real>& ring, int terms,
                        const typename Ring<Real>::Integer* values, const int32_t* at,
                        int32_t lowest, int32_t highest, int32_t past_last) {
    using Integer = typename Ring<Real>::Integer;
    const Integers<Real> di;
    const int step = static_cast<int>(hn::Lanes(di));
    highest = std::min(highest, past_last - 1);
    if ((highest - lowest + 1) * (block_lanes / step) <= 10) {
        Integer wide_at[block_lanes];
        for (int lane = 0; lane < block_lanes; ++lane) {
            wide_at[lane] = at[lane];
        }
        for (int32_t j = lowest; j <= highest; ++j) {
            Integer* row = ring.row(j);
            for (int lane = 0; lane < block_lanes; lane += step) {
                const auto here =
                    hn::Eq(hn::LoadU(di, wide_at + lane), hn::Set(di, static_cast<Integer>(j)));
                for (int k = 0; k < terms; ++k) {
                    Integer* cell = row + k * block_lanes + lane;
                    const auto change =
                        hn::IfThenElseZero(here, hn::Load(di, values + k * block_lanes + lane));
                    const auto before = hn::Load(di, cell);
                    hn::Store(Begins ? hn::Add(before, change) : hn::Sub(before, change), di, cell);
                }
            }
        }
        return;
    }
    for (int lane = 0; lane < block_lanes; ++lane) {
        const int32_t j = at[lane];
        if (j < 0 || j >= past_last) {
            continue;
        }
        Integer* cell = ring.row(j) + lane;
        const Integer* value = values + lane;
        for (int k = 0; k < terms; ++k) {
            cell[k * block_lanes] = Begins ? cell[k * block_lanes] + value[k * block_lanes]
                                           : cell[k * block_lanes] - value[k * block_lanes];
        }
    }
}

// A series value to the output: the direct wave's value off, the amplitude applied, each rounded as
// in the method's precision.
HWY_INLINE void Deliver(hn::Vec<Reals<float>> v, const double* direct, double amplitude,
                        double* output) {
    const Reals<float> d;
    const Doubles wide;
    const hn::Rebind<float, Doubles> part;
    HWY_ALIGN float lanes[HWY_MAX_BYTES / sizeof(float)];
    hn::Store(v, d, lanes);
    for (size_t lane = 0; lane < hn::Lanes(d); lane += hn::Lanes(wide)) {
        auto p = hn::PromoteTo(wide, hn::Load(part, lanes + lane));
        if (direct != nullptr) {
            p = hn::Sub(p, hn::Load(wide, direct + lane));
            p = hn::PromoteTo(wide, hn::DemoteTo(part, p));
        }
        if (amplitude != 1.0) {
            p = hn::Mul(p, hn::Set(wide, amplitude));
            p = hn::PromoteTo(wide, hn::DemoteTo(part, p));
        }
        hn::StoreU(hn::Add(hn::LoadU(wide, output + lane), p), wide, output + lane);
    }
}

HWY_INLINE void Deliver(hn::Vec<Reals<double>> p, const double* direct, double amplitude,
                        double* output) {
    const Reals<double> d;
    if (direct != nullptr) {
        p = hn::Sub(p, hn::Load(d, direct));
    }
    p = hn::Mul(p, hn::Set(d, amplitude));
    hn::StoreU(hn::Add(hn::LoadU(d, output), p), d, output);
}

// Part of the terms of a block, few enough that their sums stay in registers.
struct TermGroup {
    int first;  // term
    int count;  // at most kTerms of the sweep; the rest are empty
};

// The direct wave's own windows, for the lanes from `lane` on.
template <class Real>
struct DirectWindows {
    using Integer = typename ActiveSumsScratch<Real>::Integer;

    int32_t first = 0;  // samples of any lane
    int32_t last = 0;
    hn::Vec<Integers<Real>> begin, end;

    DirectWindows() = default;
    HWY_INLINE DirectWindows(const WaveBlock<Real>& block, int lane) {
        const Integers<Real> di;
        HWY_ALIGN Integer begin_lanes[block_lanes] = {};
        HWY_ALIGN Integer end_lanes[block_lanes] = {};
        first = std::numeric_limits<int32_t>::max();
        for (size_t l = 0; l < hn::Lanes(di); ++l) {
            begin_lanes[l] = block.direct_begin[static_cast<size_t>(lane) + l];
            end_lanes[l] = block.direct_end[static_cast<size_t>(lane) + l];
            if (begin_lanes[l] < end_lanes[l]) {
                first = std::min(first, static_cast<int32_t>(begin_lanes[l]));
                last = std::max(last, static_cast<int32_t>(end_lanes[l]));
            }
        }
        begin = hn::Load(di, begin_lanes);
        end = hn::Load(di, end_lanes);
    }

    // The lanes whose window contains sample j; zero in the others.
    HWY_INLINE hn::Vec<Reals<Real>> Cut(hn::Vec<Reals<Real>> value, int32_t j) const {
        const Reals<Real> d;
        const Integers<Real> di;
        const auto now = hn::Set(di, static_cast<Integer>(j));
        const auto before = hn::VecFromMask(di, hn::Gt(begin, now));
        const auto inside = hn::AndNot(before, hn::VecFromMask(di, hn::Lt(now, end)));
        return hn::And(value, hn::BitCast(d, inside));
    }
};

// The direct wave through its own decomposition of as many terms, for the lanes from `lane` on.
template <int kTerms, class Real>
struct DirectTerms {
    DirectWindows<Real> windows;
    const Real* temporal = nullptr;
    hn::Vec<Reals<Real>> P[kTerms];

    DirectTerms() = default;
    HWY_INLINE DirectTerms(const WaveBlock<Real>& block, int lane) {
        if (block.direct_spatial == nullptr) {
            return;
        }
        windows = DirectWindows<Real>(block, lane);
        temporal = block.direct_temporal;
        for (int k = 0; k < kTerms; ++k) {
            P[k] = hn::Load(Reals<Real>(), block.direct_spatial + k * block_lanes + lane);
        }
    }

    HWY_INLINE hn::Vec<Reals<Real>> At(int32_t j) const {
        const Reals<Real> d;
        auto sum = hn::Zero(d);
        if (j < windows.first || j >= windows.last) {
            return sum;
        }
        const Real* U = temporal + static_cast<size_t>(j) * kTerms;
        for (int k = 0; k < kTerms; ++k) {
            sum = hn::Add(sum, hn::Mul(P[k], hn::Set(d, U[k])));
        }
        return windows.Cut(sum, j);
    }
};

// Pairs first: neighbouring terms are the sine and cosine part of one wave and nearly cancel.
template <int kTerms, class D, class V = hn::Vec<D>>
HWY_INLINE V SumOfPairs(D, const V* products) {
    V sum = hn::Add(products[0], products[1]);
    for (int k = 2; k < kTerms; k += 2) {
        sum = hn::Add(sum, hn::Add(products[k], products[k + 1]));
    }
    return sum;
}

// Samples [first, last) of the block for one group of terms. Blocks of one group take the direct
// wave along and deliver; those of several collect in scratch.partial.
template <int kTerms, bool kCollect, class Real>
HWY_NOINLINE void Sweep(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                        const Ring<Real>& ring, TermGroup group, int32_t first, int32_t last) {
    using Integer = typename Ring<Real>::Integer;
    const Reals<Real> d;
    const Integers<Real> di;
    const int step = static_cast<int>(hn::Lanes(d));
    const auto stride = static_cast<size_t>(block.terms);
    const int32_t base = block.windows->rows.begin;
    for (int lane = 0; lane < block_lanes; lane += step) {
        Integer* sums = scratch.sums.data() + lane;
        DirectTerms<kTerms, Real> direct;
        if constexpr (!kCollect) {
            direct = DirectTerms<kTerms, Real>(block, lane);
        }
        hn::Vec<Integers<Real>> A[kTerms];
        hn::Vec<Reals<Real>> unscale[kTerms];
        for (int k = 0; k < kTerms; ++k) {
            A[k] = hn::Load(di, sums + k * block_lanes);
            unscale[k] =
                k < group.count
                    ? hn::Load(d, scratch.unscale.data() + (group.first + k) * block_lanes + lane)
                    : hn::Zero(d);
        }
        const Real* T = block.temporal + static_cast<size_t>(first) * stride + group.first;
        for (int32_t j = first; j < last; ++j, T += stride) {
            Integer* change = ring.row(j) + lane;
            hn::Vec<Reals<Real>> products[kTerms];
            for (int k = 0; k < kTerms; ++k) {
                A[k] = hn::Add(A[k], hn::Load(di, change + k * block_lanes));
                hn::Store(hn::Zero(di), di, change + k * block_lanes);
                const auto sum = hn::Mul(hn::ConvertTo(d, A[k]), unscale[k]);
                products[k] =
                    !kCollect || k < group.count ? hn::Mul(sum, hn::Set(d, T[k])) : hn::Zero(d);
            }
            auto v = SumOfPairs<kTerms>(d, products);
            const auto row =
                static_cast<size_t>(j - base) * block_lanes + static_cast<size_t>(lane);
            if constexpr (kCollect) {
                Real* partial = scratch.partial.data() + row;
                hn::Store(hn::Add(hn::Load(d, partial), v), d, partial);
            } else {
                v = hn::Sub(v, direct.At(j));
                Deliver(v, block.direct_values == nullptr ? nullptr : block.direct_values + row,
                        block.amplitude,
                        block.output + static_cast<size_t>(j) * block.stride + lane);
            }
        }
        for (int k = 0; k < kTerms; ++k) {
            hn::Store(A[k], di, sums + k * block_lanes);
        }
    }
}

// The edge waves of one group of terms over all samples of the block.
template <int kTerms, bool kCollect, class Real>
HWY_INLINE void AddEdgeWaves(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                             TermGroup group) {
    const WindowBlock& windows = *block.windows;
    const int n = block.samples;
    const auto values_of = static_cast<size_t>(block.terms * block_lanes);
    const Ring<Real> ring{scratch.changes.data(), scratch.ring_rows - 1, kTerms};
    std::fill_n(scratch.sums.data(), kTerms * block_lanes, 0);

    int32_t frontier = windows.rows.begin;
    const int32_t past_last = windows.rows.end;
    int next_begin = 0;
    int next_end = 0;
    while (next_begin < n || next_end < n) {
        constexpr int32_t never = std::numeric_limits<int32_t>::max();
        const int32_t begin_at =
            next_begin < n
                ? windows.begin_min[static_cast<size_t>(scratch.begin_order.data()[next_begin])]
                : never;
        const int32_t end_at =
            next_end < n ? windows.end_min[static_cast<size_t>(scratch.end_order.data()[next_end])]
                         : never;
        const int32_t at = std::min(begin_at, end_at);
        if (at >= past_last) {
            break;
        }
        if (at - frontier >= sweep_chunk) {
            Sweep<kTerms, kCollect>(block, scratch, ring, group, frontier, at);
            frontier = at;
        }
        const bool begins = begin_at <= end_at;
        const auto i = static_cast<size_t>(begins ? scratch.begin_order.data()[next_begin++]
                                                  : scratch.end_order.data()[next_end++]);
        const auto* scaled = scratch.scaled.data() + i * values_of + group.first * block_lanes;
        if (begins) {
            Scatter<true>(ring, group.count, scaled, windows.begin.data() + i * block_lanes,
                          windows.begin_min[i], windows.begin_max[i], past_last);
        } else {
            Scatter<false>(ring, group.count, scaled, windows.end.data() + i * block_lanes,
                           windows.end_min[i], windows.end_max[i], past_last);
        }
    }
    Sweep<kTerms, kCollect>(block, scratch, ring, group, frontier, past_last);
}

// Takes the direct wave through a decomposition of any number of terms off what was collected.
// Four samples at a time, as one sum alone waits for each of its additions.
template <class Real>
HWY_INLINE void CollectDirectTerms(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                                   int lane) {
    constexpr int together = 4;
    const Reals<Real> d;
    const DirectWindows<Real> windows(block, lane);
    const auto K = static_cast<size_t>(block.direct_terms);
    for (int32_t first = windows.first; first < windows.last; first += together) {
        const Real* U[together];
        hn::Vec<Reals<Real>> sum[together];
        for (int s = 0; s < together; ++s) {
            const int32_t j = std::min(first + s, windows.last - 1);
            U[s] = block.direct_temporal + static_cast<size_t>(j) * K;
            sum[s] = hn::Zero(d);
        }
        for (size_t k = 0; k < K; ++k) {
            const auto P = hn::Load(d, block.direct_spatial + k * block_lanes + lane);
            for (int s = 0; s < together; ++s) {
                sum[s] = hn::Add(sum[s], hn::Mul(P, hn::Set(d, U[s][k])));
            }
        }
        for (int s = 0; s < together && first + s < windows.last; ++s) {
            const int32_t j = first + s;
            Real* partial = scratch.partial.data() +
                            static_cast<size_t>(j - block.windows->rows.begin) * block_lanes + lane;
            hn::Store(hn::Sub(hn::Load(d, partial), windows.Cut(sum[s], j)), d, partial);
        }
    }
}

// Terms beyond a group of eight: all groups are collected, then delivered.
template <class Real>
HWY_INLINE void AddManyTerms(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    constexpr int group_size = most_terms_at_a_time;
    const Reals<Real> d;
    const int step = static_cast<int>(hn::Lanes(d));
    const int32_t base = block.windows->rows.begin;
    const int32_t rows = block.windows->rows.end - base;
    std::fill_n(scratch.partial.data(), static_cast<size_t>(rows) * block_lanes, Real(0));
    for (int k = 0; k < block.terms; k += group_size) {
        const int count = std::min(group_size, block.terms - k);
        (*block.spend)(int64_t{count} * rows);
        if (count <= 2) {  // sampled waveforms have one term more than pairs
            AddEdgeWaves<2, true>(block, scratch, {k, count});
        } else {
            AddEdgeWaves<group_size, true>(block, scratch, {k, count});
        }
    }
    for (int lane = 0; lane < block_lanes; lane += step) {
        if (block.direct_spatial != nullptr) {
            CollectDirectTerms(block, scratch, lane);
        }
        for (int32_t j = 0; j < rows; ++j) {
            const auto row = static_cast<size_t>(j) * block_lanes + static_cast<size_t>(lane);
            Deliver(hn::Load(d, scratch.partial.data() + row),
                    block.direct_values == nullptr ? nullptr : block.direct_values + row,
                    block.amplitude,
                    block.output + static_cast<size_t>(base + j) * block.stride + lane);
        }
    }
}

template <class Real>
HWY_INLINE void AddByTerms(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    const bool alike = block.direct_spatial == nullptr || block.direct_terms == block.terms;
    if (alike && block.terms == 2) {
        AddEdgeWaves<2, false>(block, scratch, {0, 2});
    } else if (alike && block.terms == 6) {
        AddEdgeWaves<6, false>(block, scratch, {0, 6});
    } else if (alike && block.terms == 8) {
        AddEdgeWaves<8, false>(block, scratch, {0, 8});
    } else {
        AddManyTerms(block, scratch);
    }
}

void AddWaveBlockSingle(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    AddByTerms(block, scratch);
}

void AddWaveBlockDouble(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    AddByTerms(block, scratch);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void add_wave_block(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    KAVRO_KERNEL(AddWaveBlockSingle)(block, scratch);
}

void add_wave_block(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    KAVRO_KERNEL(AddWaveBlockDouble)(block, scratch);
}

}  // namespace kavro
#endif  // HWY_ONCE
