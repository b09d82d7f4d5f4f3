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

#include <algorithm>
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
    using Index = hwy::MakeSigned<Real>;

    HWY_INLINE OwnRule(const Real* abscissas, const Real* weights, Real scale,
                       const RuleLanes& rules, int lane)
        : abscissas_(abscissas),
          weights_(weights),
          scale_(scale),
          lane_(lane),
          offset_(rules.offset[static_cast<std::size_t>(lane)]),
          start_(rules.start[static_cast<std::size_t>(lane)]) {
        const Tag d;
        HWY_ALIGN Index offsets[block_lanes];
        HWY_ALIGN Index counts[block_lanes];
        fewest_ = rules.count[static_cast<std::size_t>(lane)];
        for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
            const auto k = static_cast<std::size_t>(lane) + l;
            offsets[l] = rules.offset[k];
            counts[l] = rules.count[k];
            first_[l] = static_cast<std::size_t>(rules.start[k]) * block_lanes + k;
            count_ = std::max(count_, rules.count[k]);
            fewest_ = std::min(fewest_, rules.count[k]);
            same_rule_ = same_rule_ && rules.offset[k] == offset_;
            side_by_side_ = side_by_side_ && rules.start[k] == start_;
        }
        offsets_ = hn::Load(hn::RebindToSigned<Tag>(), offsets);
        counts_ = hn::Load(hn::RebindToSigned<Tag>(), counts);
    }

    HWY_INLINE int count() const { return count_; }
    HWY_INLINE V Abscissa(int i) const { return Entry(abscissas_, i); }
    HWY_INLINE V Weight(int i) const { return hn::Mul(Entry(weights_, i), hn::Set(Tag(), scale_)); }

    // Zero in the lanes that have no such sample.
    HWY_INLINE V Present(V v, int i) const {
        const auto has = hn::Lt(hn::Set(hn::RebindToSigned<Tag>(), static_cast<Index>(i)), counts_);
        return hn::IfThenElseZero(hn::RebindMask(Tag(), has), v);
    }

    // Lanes that have no such sample may be written, too, where another one's comes later.
    HWY_INLINE void Store(V v, AlignedVector<Real>& values, int i) const {
        const Tag d;
        if (side_by_side_) {
            hn::Store(v, d, values.data() + (start_ + i) * block_lanes + lane_);
            return;
        }
        HWY_ALIGN Real lanes[block_lanes];
        hn::Store(v, d, lanes);
        Real* const row = values.data() + static_cast<std::size_t>(i) * block_lanes;
        if (i < fewest_) {
            for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
                row[first_[l]] = lanes[l];
            }
            return;
        }
        HWY_ALIGN Index counts[block_lanes];
        hn::Store(counts_, hn::RebindToSigned<Tag>(), counts);
        for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
            if (i < counts[l]) {
                row[first_[l]] = lanes[l];
            }
        }
    }

private:
    // Beyond a lane's own rule there is always another entry of the tables to read.
    HWY_INLINE V Entry(const Real* table, int i) const {
        const Tag d;
        if (same_rule_) {
            return hn::Set(d, table[offset_ + i]);
        }
        return hn::GatherIndex(
            d, table, hn::Add(offsets_, hn::Set(hn::RebindToSigned<Tag>(), static_cast<Index>(i))));
    }

    const Real* abscissas_;
    const Real* weights_;
    Real scale_;
    int lane_;
    std::int32_t offset_, start_;
    std::int32_t count_ = 0, fewest_;
    std::size_t first_[block_lanes];  // where each lane's samples begin
    bool same_rule_ = true, side_by_side_ = true;
    hn::Vec<hn::RebindToSigned<Tag>> offsets_, counts_;
};

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
