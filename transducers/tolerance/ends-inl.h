// What the ends of a waveform ask for, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_ENDS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_ENDS_INL_H
#undef KAVRO_ENDS_INL_H
#else
#define KAVRO_ENDS_INL_H
#endif

#include <cstddef>

#include "core/simd/vector_math-inl.h"
#include "transducers/tolerance/orders-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct Ends {
    V kink, kink_order, jump;

    HWY_INLINE Ends() : kink(hn::Zero(Tag())), kink_order(hn::Zero(Tag())), jump(hn::Zero(Tag())) {}
};

// M_0, M_1 and the ratio of the others: the sizes of g, g tau' and tau'. `width` is n h.
HWY_INLINE Ends AskEnds(const QuadratureDemand& demand, V m0, V m1, V rate, V width, V allowed) {
    Ends ends;
    if (demand.ends[0] > 0.0) {
        const auto jump =
            hn::Div(hn::Mul(width, Product(m0, end_share[0] * demand.ends[0])), allowed);
        // Where all of it is heard at once, a rule of any order sums to the same.
        ends.jump = hn::IfThenElseZero(hn::Gt(rate, hn::Zero(Tag())), jump);
    }
    const auto log_m1 = Log(hn::Div(m1, allowed));
    const auto log_rate = Log(rate);
    auto log_most = Number(-80.0);
    for (std::size_t order = 1; order < demand.ends.size(); ++order) {
        if (demand.ends[order] > 0.0) {
            const auto power = static_cast<double>(order);
            const auto moment = hn::Add(hn::Add(log_m1, Number(demand.log_ends[order])),
                                        Product(log_rate, power - 1.0));
            const auto root = Product(moment, 1.0 / (power + 1.0));
            ends.kink_order =
                hn::IfThenElse(hn::Gt(root, log_most), Number(power), ends.kink_order);
            log_most = hn::Max(log_most, root);
        }
    }
    ends.kink = hn::Mul(width, ExpSingle(Tag(), log_most));
    return ends;
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
