// The second step of the active sums, point by point: changes by terms, sums by samples.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/simd/vector_dispatch.h"
#include "transducers/decomposition/active_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/decomposition/point_sums.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "transducers/decomposition/series_output-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Real>
using Reals = hn::CappedTag<Real, block_lanes>;
// One point of a block.
template <class Real>
struct Point {
    const WaveBlock<Real>& block;
    ActiveSumsScratch<Real>& scratch;
    size_t lane;
    size_t first;  // sample
    size_t samples;
    Real* series;
};

// The sums, or a change of them, of the terms of a group at one sample, in as many vectors as that
// takes.
template <int kFours, class Integer>
struct Row {
    using D = hn::CappedTag<Integer, 4 * kFours>;
    using V = hn::Vec<D>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kParts = 4 * kFours / kLanes;

    V part[kParts];

    HWY_INLINE Row() {
        for (V& of : part) {
            of = hn::Zero(D());
        }
    }

    // The fours lie `apart` from each other.
    HWY_INLINE Row(const Integer* from, size_t apart) {
#if HWY_TARGET != HWY_SCALAR
        if constexpr (kLanes > 4) {
            const hn::Half<D> half;
            part[0] = hn::Combine(D(), hn::Load(half, from + apart), hn::Load(half, from));
            return;
        }
#endif
        for (size_t p = 0; p < kParts; ++p) {
            part[p] = hn::Load(D(), from + p * kLanes / 4 * apart + p * kLanes % 4);
        }
    }

    HWY_INLINE void AddTo(Integer* row) const {
        for (size_t p = 0; p < kParts; ++p) {
            Integer* at = row + p * kLanes;
            hn::Store(hn::Add(hn::Load(D(), at), part[p]), D(), at);
        }
    }

    HWY_INLINE void SubtractFrom(Integer* row) const {
        for (size_t p = 0; p < kParts; ++p) {
            Integer* at = row + p * kLanes;
            hn::Store(hn::Sub(hn::Load(D(), at), part[p]), D(), at);
        }
    }

    // Adds a change, which leaves zero behind.
    HWY_INLINE void Take(Integer* row) {
        for (size_t p = 0; p < kParts; ++p) {
            Integer* at = row + p * kLanes;
            part[p] = hn::Add(part[p], hn::Load(D(), at));
            hn::Store(hn::Zero(D()), D(), at);
        }
    }
};

#if HWY_TARGET == HWY_SCALAR
template <class D, class V>
HWY_INLINE void Transpose(D /* of one lane */, V& /* alone */) {}
#else
// From rows to columns of as many squares as stand side by side in the vectors.
template <class D, size_t kRows, class V = hn::Vec<D>>
HWY_INLINE void Transpose(D d, V (&rows)[kRows]) {
    constexpr size_t kLanes = hn::MaxLanes(D());
    constexpr size_t kBlock = 16 / sizeof(hn::TFromD<D>);
    // Within blocks of 128 bits each stage interleaves twice as wide units.
    const auto interleave = [&](auto unit, size_t apart) HWY_ATTR {
        for (size_t i = 0; i < kRows; ++i) {
            if ((i & apart) == 0) {
                const auto a = hn::BitCast(unit, rows[i]);
                const auto b = hn::BitCast(unit, rows[i + apart]);
                rows[i] = hn::BitCast(d, hn::InterleaveLower(unit, a, b));
                rows[i + apart] = hn::BitCast(d, hn::InterleaveUpper(unit, a, b));
            }
        }
    };
    const hn::Repartition<int64_t, D> wide;
    if constexpr (kBlock == 4) {
        interleave(d, 1);
        interleave(wide, 2);
        // Columns 1 and 2 of each four have changed places.
        for (size_t i = 0; i < kRows; i += 4) {
            std::swap(rows[i + 1], rows[i + 2]);
        }
    } else {
        interleave(wide, 1);
    }
    if constexpr (kRows > kBlock && kLanes == 4 * kBlock) {
        for (size_t i = 0; i < kRows; ++i) {
            if ((i & kBlock) == 0) {
                const V a = rows[i];
                const V b = rows[i + kBlock];
                rows[i] = hn::OddEvenBlocks(hn::SwapAdjacentBlocks(b), a);
                rows[i + kBlock] = hn::OddEvenBlocks(b, hn::SwapAdjacentBlocks(a));
            }
        }
    }
    if constexpr (kRows > kBlock && kRows == kLanes) {
        for (size_t i = 0; i < kRows / 2; ++i) {
            const V a = rows[i];
            const V b = rows[i + kRows / 2];
            rows[i] = hn::ConcatLowerLower(d, b, a);
            rows[i + kRows / 2] = hn::ConcatUpperUpper(d, b, a);
        }
    }
}
#endif

// Vectors side by side.
template <class D, class V>
HWY_INLINE hn::Vec<D> SideBySide(D d, const V (&parts)[1]) {
    (void)d;
    return parts[0];
}

#if HWY_TARGET != HWY_SCALAR
template <class D, class V>
HWY_INLINE hn::Vec<D> SideBySide(D d, const V (&parts)[2]) {
    return hn::Combine(d, parts[1], parts[0]);
}

template <class D, class V>
HWY_INLINE hn::Vec<D> SideBySide(D d, const V (&parts)[4]) {
    const hn::Half<D> half;
    return hn::Combine(d, hn::Combine(half, parts[3], parts[2]),
                       hn::Combine(half, parts[1], parts[0]));
}
#endif

// Notes every edge wave where it begins and where it ends.
template <int kFours, class Real>
HWY_INLINE void NoteChanges(const Point<Real>& point, size_t term) {
    using Integer = typename ActiveSumsScratch<Real>::Integer;
    const WaveBlock<Real>& block = point.block;
    const int32_t* begin = block.windows->begin.data() + point.lane;
    const int32_t* end = block.windows->end.data() + point.lane;
    const auto n = static_cast<size_t>(block.samples);
    const size_t apart = n * block_lanes * 4;
    const Integer* values = point.scratch.scaled.data() + term / 4 * apart + point.lane * 4;
    const size_t first = point.first;
    Integer* const changes = point.scratch.changes.data();
    for (size_t i = 0; i < n; ++i, begin += block_lanes, end += block_lanes) {
        if (*begin < 0) {
            continue;
        }
        const Row<kFours, Integer> wave(values + i * block_lanes * 4, apart);
        wave.AddTo(changes + (static_cast<size_t>(*begin) - first) * 4 * kFours);
        wave.SubtractFrom(changes + (static_cast<size_t>(*end) - first) * 4 * kFours);
    }
}

// Takes the changes away and adds the running sums, each times its temporal factor, to the series.
// Pairs first: neighbouring terms are the sine and cosine part of one wave and nearly cancel.
template <int kPairs, class Real>
HWY_INLINE void SumChanges(const Point<Real>& point, size_t first_term) {
    constexpr size_t kTerms = 2 * kPairs;
    constexpr int kFours = (kPairs + 1) / 2;
    using Integer = typename ActiveSumsScratch<Real>::Integer;
    using Sums = Row<kFours, Integer>;
    constexpr size_t kLanes = Sums::kLanes;
    constexpr size_t kSquares = hn::MaxLanes(Reals<Real>()) / kLanes;
    const hn::CappedTag<Integer, kLanes * kSquares> di;
    const hn::Rebind<Real, decltype(di)> d;
    using V = hn::Vec<std::remove_const_t<decltype(d)>>;
    const WaveBlock<Real>& block = point.block;
    V unscale[kTerms];
    const Real* T[kTerms];
    for (size_t k = 0; k < kTerms; ++k) {
        const size_t term = first_term + k;
        unscale[k] = hn::Set(d, point.scratch.unscale[term * block_lanes + point.lane]);
        T[k] = block.temporal +
               std::min(term, static_cast<size_t>(block.terms) - 1) * block.ntimes + point.first;
    }
    Sums sums;
    Integer* change = point.scratch.changes.data();
    Real* const series = point.series;
    // In the row behind the last sample all waves have ended.
    for (size_t row = 0; row <= point.samples; row += kLanes * kSquares) {
        typename Sums::V taken[Sums::kParts][kLanes][kSquares];
        for (size_t square = 0; square < kSquares; ++square) {
            for (size_t i = 0; i < kLanes; ++i, change += 4 * kFours) {
                sums.Take(change);
                for (size_t p = 0; p < Sums::kParts; ++p) {
                    taken[p][i][square] = sums.part[p];
                }
            }
        }
        hn::Vec<std::remove_const_t<decltype(di)>> A[Sums::kParts][kLanes];
        for (size_t p = 0; p < Sums::kParts; ++p) {
            for (size_t i = 0; i < kLanes; ++i) {
                A[p][i] = SideBySide(di, taken[p][i]);
            }
            Transpose(di, A[p]);
        }
        const auto product = [&](size_t k) HWY_ATTR {
            const auto value = hn::Mul(hn::ConvertTo(d, A[k / kLanes][k % kLanes]), unscale[k]);
            return hn::Mul(value, hn::LoadU(d, T[k] + row));
        };
        V sum = hn::Add(product(0), product(1));
        for (size_t k = 2; k < kTerms; k += 2) {
            sum = hn::Add(sum, hn::Add(product(k), product(k + 1)));
        }
        hn::StoreU(first_term == 0 ? sum : hn::Add(hn::LoadU(d, series + row), sum), d,
                   series + row);
    }
}

// The edge waves of up to 2 kPairs terms.
template <int kPairs, class Real>
HWY_NOINLINE void AddGroup(const Point<Real>& point, int term) {
    NoteChanges<(kPairs + 1) / 2>(point, static_cast<size_t>(term));
    SumChanges<kPairs>(point, static_cast<size_t>(term));
}

// Takes the direct wave through a decomposition of its own off the series. Four vectors at a time,
// as one sum alone waits for each of its additions.
template <class Real>
HWY_INLINE void SubtractDirectTerms(const Point<Real>& point) {
    constexpr size_t together = 4;
    const Reals<Real> d;
    using V = hn::Vec<Reals<Real>>;
    const WaveBlock<Real>& block = point.block;
    const size_t lane = point.lane;
    const int32_t past = block.direct_end[lane];
    for (int32_t j = block.direct_begin[lane]; j < past;
         j += static_cast<int32_t>(together * hn::Lanes(d))) {
        const auto left = static_cast<size_t>(past - j);
        V sum[together];
        for (V& of : sum) {
            of = hn::Zero(d);
        }
        for (size_t k = 0; k < static_cast<size_t>(block.direct_terms); ++k) {
            const auto P = hn::Set(d, block.direct_spatial[k * block_lanes + lane]);
            const Real* U = block.direct_temporal + k * block.ntimes + j;
            for (size_t v = 0; v < together; ++v) {
                sum[v] = hn::Add(sum[v], hn::Mul(P, hn::LoadU(d, U + v * hn::Lanes(d))));
            }
        }
        Real* series = point.series + (static_cast<size_t>(j) - point.first);
        for (size_t v = 0; v < together; ++v) {
            Real* at = series + v * hn::Lanes(d);
            const auto inside = hn::FirstN(d, left - std::min(left, v * hn::Lanes(d)));
            hn::StoreU(hn::Sub(hn::LoadU(d, at), hn::IfThenElseZero(inside, sum[v])), d, at);
        }
    }
}

// The series of some points and samples, as many of either, to the output: the direct wave's values
// off, the amplitude applied, each rounded as in the method's precision.
template <class Real>
struct Delivery {
    using D = hn::CappedTag<double, samples_of_group>;
    using V = hn::Vec<D>;
    using Output = SeriesOutput<Real, D>;
    static constexpr size_t kLanes = hn::MaxLanes(D());

    const WaveBlock<Real>& block;
    const ActiveSumsScratch<Real>& scratch;

    // The series of a lane from sample j on, zero before and behind its own.
    HWY_INLINE V OfLane(size_t lane, size_t j) const {
        const SampleWindow own = block.windows->rows(lane);
        const auto first = static_cast<size_t>(own.begin) / samples_of_group * samples_of_group;
        const auto end = static_cast<size_t>(own.end);
        if (own.begin >= own.end || j < first || j >= end) {
            return hn::Zero(D());
        }
        auto p = Output::Wide(scratch.series.data() + lane * scratch.stride + (j - first));
        if (block.direct_values != nullptr) {
            const double* direct = block.direct_values + lane * block.direct_stride + (j - first);
            p = Output::Rounded(hn::Sub(p, hn::LoadU(D(), direct)));
        }
        return p;
    }

    HWY_INLINE void Deliver(size_t lane, size_t begin, size_t end) const {
        const D d;
        const auto amplitude = hn::Set(d, block.amplitude);
        V values[kLanes];
        for (size_t j = begin; j < end; j += kLanes) {
            for (size_t i = 0; i < kLanes; ++i) {
                values[i] = OfLane(lane + i, j);
            }
            Transpose(d, values);
            const size_t rows = std::min(kLanes, block.ntimes - std::min(block.ntimes, j));
            for (size_t i = 0; i < rows; ++i) {
                Output::Add(values[i], amplitude, block.output + (j + i) * block.stride + lane);
            }
        }
    }

    HWY_INLINE void Deliver() const {
        for (size_t lane = 0; lane < block_lanes; lane += kLanes) {
            // Groups of samples that no point of these hears are left out.
            size_t j = block.ntimes;
            size_t past = 0;
            const auto each = [&](auto use) {
                for (size_t l = lane; l < lane + kLanes; ++l) {
                    const SampleWindow own = block.windows->rows(l);
                    if (own.begin < own.end) {
                        use(static_cast<size_t>(own.begin) / samples_of_group * samples_of_group,
                            static_cast<size_t>(own.end));
                    }
                }
            };
            each([&](size_t begin, size_t end) {
                j = std::min(j, begin);
                past = std::max(past, end);
            });
            while (j < past) {
                size_t end = j;
                size_t next = past;
                each([&](size_t begin, size_t own_end) {
                    if (begin <= j && j < own_end) {
                        end = std::max(end, own_end);
                    } else if (begin > j) {
                        next = std::min(next, begin);
                    }
                });
                const size_t done =
                    (end + samples_of_group - 1) / samples_of_group * samples_of_group;
                Deliver(lane, j, done);
                j = end == j ? next : done;
            }
        }
    }
};

template <class Real>
HWY_INLINE void AddByPoints(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    for (size_t lane = 0; lane < block_lanes; ++lane) {
        const SampleWindow rows = block.windows->rows(lane);
        if (rows.begin >= rows.end) {
            continue;
        }
        const auto first = static_cast<size_t>(rows.begin);
        Real* const series = scratch.series.data() + lane * scratch.stride;
        std::fill_n(series, samples_of_group, Real(0));
        const Point<Real> point{block,
                                scratch,
                                lane,
                                first,
                                static_cast<size_t>(rows.end) - first,
                                series + first % samples_of_group};
        for (int term = 0; term < block.terms; term += terms_at_a_time) {
            const int count = std::min(terms_at_a_time, block.terms - term);
            if (term > 0) {
                (*block.spend)(int64_t{count} * static_cast<int64_t>(point.samples));
            }
            if (count <= 2) {
                AddGroup<1>(point, term);
            } else if (count <= 4) {
                AddGroup<2>(point, term);
            } else if (count <= 6) {
                AddGroup<3>(point, term);
            } else {
                AddGroup<4>(point, term);
            }
        }
        if (block.direct_spatial != nullptr) {
            SubtractDirectTerms(point);
        }
        std::fill_n(point.series + point.samples, samples_of_group, Real(0));
    }
    Delivery<Real>{block, scratch}.Deliver();
}

void AddByPointsSingle(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    AddByPoints(block, scratch);
}

void AddByPointsDouble(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    AddByPoints(block, scratch);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void add_by_points(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch) {
    KAVRO_KERNEL(AddByPointsSingle)(block, scratch);
}

void add_by_points(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch) {
    KAVRO_KERNEL(AddByPointsDouble)(block, scratch);
}

}  // namespace kavro
#endif  // HWY_ONCE
