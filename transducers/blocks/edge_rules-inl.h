// The quadrature rules that an edge generator's kernel walks along, for kernel sources: one that
// all lanes share, or one of each lane's own.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_EDGE_RULES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_EDGE_RULES_INL_H
#undef KAVRO_EDGE_RULES_INL_H
#else
#define KAVRO_EDGE_RULES_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"
#include "transducers/blocks/edge_block.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Abscissa i, with its weight, becomes sample first + i of every lane.
template <class Real>
class SharedRule {
public:
    using Tag = hn::CappedTag<Real, block_lanes>;
    using V = hn::Vec<Tag>;

    HWY_INLINE SharedRule(const Real* abscissas, const Real* weights, int count, int first,
                          int lane)
        : abscissas_(abscissas), weights_(weights), count_(count), first_(first), lane_(lane) {}

    HWY_INLINE int count() const { return count_; }
    HWY_INLINE V Abscissa(int i) const { return hn::Set(Tag(), abscissas_[i]); }
    HWY_INLINE V Weight(int i) const { return hn::Set(Tag(), weights_[i]); }
    HWY_INLINE V Present(V v, int /* every lane has them all */) const { return v; }

    HWY_INLINE void Store(V v, AlignedVector<Real>& values, int i) const {
        hn::Store(v, Tag(), values.data() + (first_ + i) * block_lanes + lane_);
    }

private:
    const Real* abscissas_;
    const Real* weights_;
    int count_, first_, lane_;
};

// Of each of some lanes from a ladder's tables, its samples behind those of the rules before.
template <class Real>
class OwnRule {
public:
    using Tag = hn::CappedTag<Real, block_lanes>;
    using V = hn::Vec<Tag>;
    using Indices = hn::RebindToSigned<Tag>;
    using Index = hn::TFromD<Indices>;

    HWY_INLINE OwnRule(const Real* abscissas, const Real* weights, Real scale,
                       const RuleLanes& rules, int lane)
        : abscissas_(abscissas),
          weights_(weights),
          scale_(scale),
          lane_(lane),
          offsets_(Widened(rules.offset.data() + lane)),
          counts_(Widened(rules.count.data() + lane)),
          starts_(Widened(rules.start.data() + lane)) {
        const Indices di;
        offset_ = rules.offset[static_cast<std::size_t>(lane)];
        start_ = rules.start[static_cast<std::size_t>(lane)];
        count_ = static_cast<int>(hn::GetLane(hn::MaxOfLanes(di, counts_)));
        same_rule_ = hn::AllTrue(di, hn::Eq(offsets_, hn::Set(di, offset_)));
        side_by_side_ = hn::AllTrue(di, hn::Eq(starts_, hn::Set(di, start_)));
    }

    HWY_INLINE int count() const { return count_; }
    HWY_INLINE V Abscissa(int i) const { return Entry(abscissas_, i); }
    HWY_INLINE V Weight(int i) const { return hn::Mul(Entry(weights_, i), hn::Set(Tag(), scale_)); }

    // Zero in the lanes that have no such sample.
    HWY_INLINE V Present(V v, int i) const {
        return hn::IfThenElseZero(hn::RebindMask(Tag(), Has(i)), v);
    }

    // Lanes that have no such sample write where nothing counts.
    HWY_INLINE void Store(V v, AlignedVector<Real>& values, int i) const {
        const Tag d;
        if (side_by_side_) {
            hn::Store(v, d, values.data() + (start_ + i) * block_lanes + lane_);
            return;
        }
        const Indices di;
        const auto row = hn::Add(starts_, hn::Set(di, i));
        const auto none = hn::Set(di, static_cast<Index>(values.size() / block_lanes - 1));
        HWY_ALIGN Real lanes[block_lanes];
        HWY_ALIGN Index rows[block_lanes];
        hn::Store(v, d, lanes);
        hn::Store(hn::IfThenElse(Has(i), row, none), di, rows);
        for (size_t l = 0; l < hn::Lanes(d); ++l) {
            values[static_cast<size_t>(rows[l]) * block_lanes + static_cast<size_t>(lane_) + l] =
                lanes[l];
        }
    }

private:
    using IndexVector = hn::Vec<Indices>;

    static HWY_INLINE IndexVector Widened(const std::int32_t* lanes) {
        if constexpr (sizeof(Index) == sizeof(std::int32_t)) {
            return hn::Load(Indices(), lanes);
        } else {
            return hn::PromoteTo(Indices(), hn::Load(hn::Rebind<std::int32_t, Indices>(), lanes));
        }
    }

    HWY_INLINE hn::Mask<Indices> Has(int i) const {
        return hn::Lt(hn::Set(Indices(), static_cast<Index>(i)), counts_);
    }

    // Beyond a lane's own rule there is always another entry of the tables to read.
    HWY_INLINE V Entry(const Real* table, int i) const {
        const Tag d;
        if (same_rule_) {
            return hn::Set(d, table[offset_ + i]);
        }
        return hn::GatherIndex(d, table,
                               hn::Add(offsets_, hn::Set(Indices(), static_cast<Index>(i))));
    }

    const Real* abscissas_;
    const Real* weights_;
    Real scale_;
    int lane_;
    IndexVector offsets_, counts_, starts_;
    std::int32_t offset_, start_, count_;
    bool same_rule_, side_by_side_;
};

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
