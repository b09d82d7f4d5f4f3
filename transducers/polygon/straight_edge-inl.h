// Samples of a straight edge, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_STRAIGHT_EDGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_STRAIGHT_EDGE_INL_H
#undef KAVRO_STRAIGHT_EDGE_INL_H
#else
#define KAVRO_STRAIGHT_EDGE_INL_H
#endif

#include "hwy/highway.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/polygon/polygon_transducer.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A side as some lanes of a block see it.
template <class Real>
struct SeenSide {
    using Tag = hn::CappedTag<Real, block_lanes>;
    using V = hn::Vec<Tag>;

    V L;
    V below, above;        // from the foot of the perpendicular to where the side begins and ends
    hn::Mask<Tag> inside;  // the foot lies in between

    HWY_INLINE SeenSide(const PolygonTransducer::Side& side, V x, V y) {
        const Tag d;
        const auto ux = hn::Set(d, static_cast<Real>(side.ux));
        const auto uy = hn::Set(d, static_cast<Real>(side.uy));
        const auto dx = hn::Sub(x, hn::Set(d, static_cast<Real>(side.x)));
        const auto dy = hn::Sub(y, hn::Set(d, static_cast<Real>(side.y)));
        L = hn::Sub(hn::Mul(ux, dy), hn::Mul(uy, dx));
        const auto along = hn::Add(hn::Mul(ux, dx), hn::Mul(uy, dy));
        below = hn::Neg(along);
        above = hn::Sub(hn::Set(d, static_cast<Real>(side.length)), along);
        inside = hn::And(hn::Lt(below, hn::Zero(d)), hn::Gt(above, hn::Zero(d)));
    }

    // A piece: from the foot to the end and to the beginning, or all of the side and nothing.
    HWY_INLINE V Reach(int piece) const {
        return piece == 0 ? hn::IfThenElse(inside, above, hn::Sub(above, below))
                          : hn::IfThenElseZero(inside, below);
    }
    HWY_INLINE V From(int piece) const {
        return piece == 0 ? hn::IfThenZeroElse(inside, below) : hn::Zero(Tag());
    }
};

// A sample of the weight w, at the share t of the way along a piece.
template <class Real>
struct SideSample {
    using Tag = hn::CappedTag<Real, block_lanes>;
    using V = hn::Vec<Tag>;

    V D, R;
    V g;
    V weight;

    HWY_INLINE SideSample(const SeenSide<Real>& side, int piece, V t, V w, V z_squared) {
        const auto reach = side.Reach(piece);
        const auto s = hn::Add(side.From(piece), hn::Mul(t, reach));
        D = hn::Add(hn::Mul(side.L, side.L), hn::Mul(s, s));
        R = hn::Sqrt(hn::Add(z_squared, D));
        weight = hn::Mul(w, hn::Abs(reach));
        g = hn::IfThenZeroElse(OnIt(), hn::Div(hn::Mul(weight, side.L), D));
    }

    // R_i - R_0.
    HWY_INLINE V Excess(V z) const { return hn::IfThenZeroElse(OnIt(), hn::Div(D, hn::Add(R, z))); }

private:
    HWY_INLINE hn::Mask<Tag> OnIt() const { return hn::Le(D, hn::Zero(Tag())); }
};

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
