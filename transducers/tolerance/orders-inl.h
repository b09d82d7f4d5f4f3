// The order that a rule must have for a margin and an excursion of the phase, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_ORDERS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_ORDERS_INL_H
#undef KAVRO_ORDERS_INL_H
#else
#define KAVRO_ORDERS_INL_H
#endif

#include <cstddef>

#include "hwy/highway.h"
#include "transducers/tolerance/choice_tables.h"
#include "transducers/tolerance/demand.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<float, block_lanes>;
using Bits = hn::RebindToUnsigned<Tag>;
using Indices = hn::RebindToSigned<Tag>;
using V = hn::Vec<Tag>;
using M = hn::Mask<Tag>;

HWY_INLINE V Number(double value) {
    return hn::Set(Tag(), static_cast<float>(value));
}

HWY_INLINE V Load(const Lanes<float>& lanes, int lane) {
    return hn::Load(Tag(), lanes.data() + lane);
}

HWY_INLINE V Square(V x) {
    return hn::Mul(x, x);
}

HWY_INLINE V Product(V a, double b) {
    return hn::Mul(a, Number(b));
}

// A divisor or an argument of a logarithm that must not be zero.
HWY_INLINE V Positive(V x) {
    return hn::Max(x, Number(1e-36));
}

// ln x of a positive number: x = 2^e f with f between sqrt(1/2) and sqrt(2), and the series of
// atanh((f - 1)/(f + 1)); five digits.
HWY_INLINE V Log(V x) {
    const Tag d;
    const Bits du;
    const Indices di;
    const auto offset = hn::Set(du, 0x3f3504f3u);  // sqrt(1/2)
    const auto above = hn::Sub(hn::BitCast(du, Positive(x)), offset);
    const auto e = hn::ConvertTo(d, hn::ShiftRight<23>(hn::BitCast(di, above)));
    const auto mantissa = hn::And(above, hn::Set(du, (1u << 23) - 1));
    const auto f = hn::BitCast(d, hn::Add(mantissa, offset));
    const auto one = Number(1.0);
    const auto s = hn::Div(hn::Sub(f, one), hn::Add(f, one));
    const auto q = Square(s);
    const auto series = hn::Add(hn::Mul(hn::Add(Product(q, 1.0 / 5.0), Number(1.0 / 3.0)), q), one);
    return hn::Add(Product(hn::Mul(s, series), 2.0), Product(e, 0.69314718055994531));
}

// Height of the ellipse with the half axis A about an interval.
HWY_INLINE V Ellipse(V A) {
    const auto excess = hn::Max(hn::Zero(Tag()), hn::Sub(Square(A), Number(1.0)));
    return Positive(Log(hn::Add(A, hn::Sqrt(excess))));
}

HWY_INLINE V OrderAt(const Growth& growth, std::size_t height, V margin, V X) {
    const Tag d;
    return hn::Add(hn::Mul(margin, hn::Set(d, growth.inverse[height])),
                   hn::Mul(X, hn::Set(d, growth.relative[height])));
}

HWY_INLINE V LeastOrder(const Growth& growth, V margin, V X) {
    auto least = OrderAt(growth, 0, margin, X);
    for (std::size_t j = 1; j < growth.inverse.size(); ++j) {
        least = hn::Min(least, OrderAt(growth, j, margin, X));
    }
    return least;
}

// Of a phase that grows as the second one does by the share `bent`.
HWY_INLINE V LeastOrder(const Growth& growth, const Growth& second, V bent, V margin, V X) {
    const Tag d;
    const auto X_bent = hn::Mul(X, bent);
    const auto X_straight = hn::Sub(X, X_bent);
    const auto at = [&](std::size_t height) HWY_ATTR {
        return hn::Add(OrderAt(growth, height, margin, X_straight),
                       hn::Mul(X_bent, hn::Set(d, second.relative[height])));
    };
    auto least = at(0);
    for (std::size_t j = 1; j < growth.inverse.size(); ++j) {
        least = hn::Min(least, at(j));
    }
    return least;
}

// The same from a few heights, so never below it.
HWY_INLINE V RoughOrder(const Growth& growth, V margin, V X) {
    return hn::Min(OrderAt(growth, 13, margin, X),
                   hn::Min(OrderAt(growth, 10, margin, X), OrderAt(growth, 6, margin, X)));
}

// Found by trial: pulses peak above their envelope, and gradients are the steeper ones next to an
// edge.
HWY_INLINE double SafetyOf(const QuadratureDemand& demand) {
    return demand.of_gradient ? 10.0 : demand.over_time ? 4.0 : 2.0;
}

HWY_INLINE V Hypotenuse(V a, V b) {
    return hn::Sqrt(hn::Add(Square(a), Square(b)));
}

// Lambda of what is singular next to an edge, where Gauss's rule begins or ends. At the distance
// `near` that is a peak no larger than k and no wider than `near`: the closer, the less it matters.
HWY_INLINE V NearMargin(V near, double k, V allowed, V losses_to_face, V losses, V at_most) {
    const auto peak = Log(hn::Div(Product(near, 8.0 * k), allowed));
    const auto margin = hn::Add(peak, hn::Add(losses, losses_to_face));
    return hn::Min(at_most, hn::Max(hn::Zero(Tag()), margin));
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
