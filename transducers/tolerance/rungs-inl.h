// From what is asked for to a rung of the ladder, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_RUNGS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_RUNGS_INL_H
#undef KAVRO_RUNGS_INL_H
#else
#define KAVRO_RUNGS_INL_H
#endif

#include <cstdint>

#include "transducers/tolerance/ends-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct Given {
    V order;
    V asked;  // without limits
};

HWY_INLINE Given Rung(V spectrum, const Ends& ends) {
    const Tag d;
    const Bits du;
    // A jump would ask for a hundredfold and more.
    const auto most_of_jump = hn::Max(Product(spectrum, 4.0), Number(64.0));
    const auto smooth = hn::Max(spectrum, ends.kink);
    auto n = hn::Max(smooth, hn::Min(ends.jump, most_of_jump));
    n = hn::IfThenElse(hn::Eq(n, n), n, Number(ladder::fewest));
    n = hn::Min(hn::Max(n, Number(ladder::fewest)), Number(ladder::most));
    // Up to a whole number, then to two bits behind the leading one.
    constexpr std::uint32_t below_rungs = (1u << 21) - 1;
    const auto bits = hn::BitCast(du, hn::Ceil(n));
    const auto up = hn::AndNot(hn::Set(du, below_rungs), hn::Add(bits, hn::Set(du, below_rungs)));
    return {hn::BitCast(d, up), hn::Max(smooth, ends.jump)};
}

// Stores the choice of some lanes from the tables of the first or of the second kind.
HWY_INLINE void StoreRung(V order, M is_second, const RungOffsets& first, const RungOffsets& second,
                          RuleLanes& out, int lane) {
    const Tag d;
    const Indices di;
    constexpr std::int32_t rung_of_two = 0x40000000 >> 21;
    const auto rung = hn::Sub(hn::ShiftRight<21>(hn::BitCast(di, order)), hn::Set(di, rung_of_two));
    auto offset = hn::GatherIndex(di, first.data(), rung);
    if (!hn::AllFalse(d, is_second)) {
        offset = hn::IfThenElse(hn::RebindMask(di, is_second),
                                hn::GatherIndex(di, second.data(), rung), offset);
    }
    hn::Store(offset, di, out.offset.data() + lane);
    hn::Store(hn::ConvertTo(di, order), di, out.count.data() + lane);
}

// Whether a lane gets less than it asks for.
HWY_INLINE bool StoreAsked(V spectrum, V margin, const Ends& ends, const Given& given, Asked& asked,
                           int lane) {
    const Tag d;
    if (hn::AllFalse(d, hn::Gt(given.asked, given.order))) {
        hn::Store(given.order, d, asked.spectrum.data() + lane);
        hn::Store(hn::Zero(d), d, asked.kink.data() + lane);
        hn::Store(hn::Zero(d), d, asked.jump.data() + lane);
        hn::Store(given.order, d, asked.given.data() + lane);
        return false;
    }
    hn::Store(spectrum, d, asked.spectrum.data() + lane);
    hn::Store(margin, d, asked.margin.data() + lane);
    hn::Store(ends.kink, d, asked.kink.data() + lane);
    hn::Store(ends.kink_order, d, asked.kink_order.data() + lane);
    hn::Store(ends.jump, d, asked.jump.data() + lane);
    hn::Store(given.order, d, asked.given.data() + lane);
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
