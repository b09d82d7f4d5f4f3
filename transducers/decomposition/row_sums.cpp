// The second step of the active sums, row by row: lanes are points.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/simd/vector_dispatch.h"
#include "transducers/decomposition/active_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/decomposition/row_sums.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "transducers/decomposition/series_output-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Real>
using Reals = hn::CappedTag<Real, block_lanes>;
template <class Real>
using Integers = hn::RebindToSigned<Reals<Real>>;
template <class Real>
using IntegerOf = typename ActiveSumsScratch<Real>::Integer;

using Indices = hn::CappedTag<int32_t, block_lanes>;

// The first and the last of the samples `at` of all lanes, those without one (-1) left out.
struct Range {
    int32_t first, last;

    HWY_INLINE explicit Range(const int32_t* at) {
        const Indices di;
        const auto none = hn::Set(di, std::numeric_limits<int32_t>::max());
        auto lowest = none;
        auto highest = hn::Set(di, -1);
        for (size_t lane = 0; lane < block_lanes; lane += hn::Lanes(di)) {
            const auto here = hn::Load(di, at + lane);
            lowest = hn::Min(lowest, hn::IfThenElse(hn::Lt(here, hn::Zero(di)), none, here));
            highest = hn::Max(highest, here);
        }
        first = hn::GetLane(hn::MinOfLanes(di, lowest));
        last = hn::GetLane(hn::MaxOfLanes(di, highest));
    }
};

// Adds (kBegins) or takes off an edge sample's values at the samples where its windows begin (end):
// lane by lane where those are far apart, sample by sample where they are close. The values' fours
// lie `apart` from each other; the changes begin with sample `base`.
template <bool kBegins, int kTerms, class Real>
HWY_INLINE void Scatter(const IntegerOf<Real>* values, size_t apart, const int32_t* at,
                        IntegerOf<Real>* changes, int32_t base) {
    using Integer = IntegerOf<Real>;
    const Integers<Real> di;
    constexpr int32_t step = hn::MaxLanes(Integers<Real>());
    const auto of_term = [&](size_t k) {
        return values + k / 4 * apart + k % 4 * size_t{block_lanes};
    };
    const auto row = [&](int32_t j) {
        return changes + static_cast<size_t>(j - base) * kTerms * block_lanes;
    };
    const Range range(at);
    if (range.last < 0) {
        return;
    }
    if ((range.last - range.first) * (block_lanes / step) < 10) {
        HWY_ALIGN Integer wide_at[block_lanes];
        std::copy_n(at, block_lanes, wide_at);
        for (int32_t j = range.first; j <= range.last; ++j) {
            for (size_t lane = 0; lane < block_lanes; lane += step) {
                const auto here =
                    hn::Eq(hn::Load(di, wide_at + lane), hn::Set(di, static_cast<Integer>(j)));
                for (size_t k = 0; k < kTerms; ++k) {
                    Integer* cell = row(j) + k * block_lanes + lane;
                    const auto change = hn::IfThenElseZero(here, hn::Load(di, of_term(k) + lane));
                    const auto before = hn::Load(di, cell);
                    hn::Store(kBegins ? hn::Add(before, change) : hn::Sub(before, change), di,
                              cell);
                }
            }
        }
        return;
    }
    for (size_t lane = 0; lane < block_lanes; ++lane) {
        if (at[lane] < 0) {
            continue;
        }
        Integer* cell = row(at[lane]) + lane;
        for (size_t k = 0; k < kTerms; ++k, cell += block_lanes) {
            const Integer change = of_term(k)[lane];
            *cell = kBegins ? *cell + change : *cell - change;
        }
    }
}

// Takes the changes away and adds the running sums, each times its temporal factor, to the series.
// Pairs first: neighbouring terms are the sine and cosine part of one wave and nearly cancel.
template <int kTerms, class Real>
HWY_INLINE void Sweep(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                      size_t first_term) {
    const Reals<Real> d;
    const Integers<Real> di;
    using V = hn::Vec<Reals<Real>>;
    const auto rows = static_cast<size_t>(block.rows.end - block.rows.begin);
    const Real* T[kTerms];
    for (size_t k = 0; k < kTerms; ++k) {
        T[k] = block.temporal +
               std::min(first_term + k, static_cast<size_t>(block.terms) - 1) * block.ntimes +
               block.rows.begin;
    }
    for (size_t lane = 0; lane < block_lanes; lane += hn::Lanes(d)) {
        hn::Vec<Integers<Real>> A[kTerms];
        V unscale[kTerms];
        for (size_t k = 0; k < kTerms; ++k) {
            A[k] = hn::Zero(di);
            unscale[k] =
                hn::Load(d, scratch.unscale.data() + (first_term + k) * block_lanes + lane);
        }
        auto* change = scratch.changes.data() + lane;
        Real* series = scratch.series.data() + lane;
        for (size_t row = 0; row < rows; ++row, series += block_lanes) {
            V products[kTerms];
            for (size_t k = 0; k < kTerms; ++k, change += block_lanes) {
                A[k] = hn::Add(A[k], hn::Load(di, change));
                hn::Store(hn::Zero(di), di, change);
                const auto value = hn::Mul(hn::ConvertTo(d, A[k]), unscale[k]);
                products[k] = hn::Mul(value, hn::Set(d, T[k][row]));
            }
            V sum = hn::Add(products[0], products[1]);
            for (size_t k = 2; k < kTerms; k += 2) {
                sum = hn::Add(sum, hn::Add(products[k], products[k + 1]));
            }
            hn::Store(first_term == 0 ? sum : hn::Add(hn::Load(d, series), sum), d, series);
        }
    }
    // What ends with the last row is behind it.
    std::fill_n(scratch.changes.data() + rows * kTerms * block_lanes, kTerms * block_lanes, 0);
}

// The edge waves of up to kTerms terms.
template <int kTerms, class Real>
HWY_NOINLINE void AddGroup(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                           int term) {
    const auto first_term = static_cast<size_t>(term);
    const auto n = static_cast<size_t>(block.samples);
    const size_t apart = n * block_lanes * 4;
    const auto* values = scratch.scaled.data() + first_term / 4 * apart;
    auto* changes = scratch.changes.data();
    const int32_t base = block.rows.begin;
    const int32_t* begin = block.windows->begin.data();
    const int32_t* end = block.windows->end.data();
    for (size_t i = 0; i < n; ++i, values += block_lanes * 4) {
        Scatter<true, kTerms, Real>(values, apart, begin + i * block_lanes, changes, base);
        Scatter<false, kTerms, Real>(values, apart, end + i * block_lanes, changes, base);
    }
    Sweep<kTerms>(block, scratch, first_term);
}

// Takes the direct wave through a decomposition of its own off the series of the lanes from `lane`
// on. Four samples at a time, as one sum alone waits for each of its additions.
template <class Real>
HWY_INLINE void SubtractDirectTerms(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch,
                                    size_t lane) {
    constexpr int32_t together = 4;
    const Reals<Real> d;
    const Integers<Real> di;
    HWY_ALIGN IntegerOf<Real> begins[block_lanes];
    HWY_ALIGN IntegerOf<Real> ends[block_lanes];
    int32_t first = block.rows.end;
    int32_t past = block.rows.begin;
    for (size_t l = 0; l < hn::Lanes(d); ++l) {
        const SampleWindow own{block.direct_begin[lane + l], block.direct_end[lane + l]};
        begins[l] = own.begin;
        ends[l] = own.end;
        if (own.begin < own.end) {
            first = std::min(first, own.begin);
            past = std::max(past, own.end);
        }
    }
    const auto begin = hn::Load(di, begins);
    const auto end = hn::Load(di, ends);
    for (int32_t j = first; j < past; j += together) {
        hn::Vec<Reals<Real>> sum[together];
        for (auto& of : sum) {
            of = hn::Zero(d);
        }
        const Real* U = block.direct_temporal + j;
        for (size_t k = 0; k < static_cast<size_t>(block.direct_terms); ++k, U += block.ntimes) {
            const auto P = hn::Load(d, block.direct_spatial + k * block_lanes + lane);
            for (size_t s = 0; s < together; ++s) {
                sum[s] = hn::Add(sum[s], hn::Mul(P, hn::Set(d, U[s])));
            }
        }
        Real* series =
            scratch.series.data() + static_cast<size_t>(j - block.rows.begin) * block_lanes + lane;
        for (int32_t s = 0; s < std::min(together, past - j); ++s, series += block_lanes) {
            const auto now = hn::Set(di, static_cast<IntegerOf<Real>>(j + s));
            const auto inside = hn::AndNot(hn::Gt(begin, now), hn::Lt(now, end));
            const auto direct = hn::IfThenElseZero(hn::RebindMask(d, inside), sum[s]);
            hn::Store(hn::Sub(hn::Load(d, series), direct), d, series);
        }
    }
}

template <class Real>
HWY_INLINE void AddByRows(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    const int32_t rows = block.rows.end - block.rows.begin;
    for (int term = 0; term < block.terms; term += terms_at_a_time) {
        const int count = std::min(terms_at_a_time, block.terms - term);
        if (term > 0) {
            (*block.spend)(int64_t{count} * rows);
        }
        if (count <= 2) {
            AddGroup<2>(block, scratch, term);
        } else if (count <= 4) {
            AddGroup<4>(block, scratch, term);
        } else if (count <= 6) {
            AddGroup<6>(block, scratch, term);
        } else {
            AddGroup<8>(block, scratch, term);
        }
    }
    if (block.direct_spatial != nullptr) {
        for (size_t lane = 0; lane < block_lanes; lane += hn::Lanes(Reals<Real>())) {
            SubtractDirectTerms(block, scratch, lane);
        }
    }
    using D = hn::CappedTag<double, block_lanes>;
    using Output = SeriesOutput<Real, D>;
    const auto amplitude = hn::Set(D(), block.amplitude);
    const Real* series = scratch.series.data();
    double* out = block.output + static_cast<size_t>(block.rows.begin) * block.stride;
    for (int32_t row = 0; row < rows; ++row, series += block_lanes, out += block.stride) {
        for (size_t lane = 0; lane < block_lanes; lane += hn::Lanes(D())) {
            Output::Add(Output::Wide(series + lane), amplitude, out + lane);
        }
    }
}

void AddByRowsSingle(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    AddByRows(block, scratch);
}

void AddByRowsDouble(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    AddByRows(block, scratch);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void add_by_rows(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    KAVRO_KERNEL(AddByRowsSingle)(block, scratch);
}

void add_by_rows(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    KAVRO_KERNEL(AddByRowsDouble)(block, scratch);
}

}  // namespace kavro
#endif  // HWY_ONCE
