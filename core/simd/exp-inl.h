// Exponential function of double vectors, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_EXP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_EXP_INL_H
#undef KAVRO_EXP_INL_H
#else
#define KAVRO_EXP_INL_H
#endif

#include <limits>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// scale = 2^n and residue = e^r - 1 with x = n ln 2 + r, |r| <= ln 2 / 2: e^x = scale (1 +
// residue). Arguments below -708 count as -708.
//
// Reduction in two steps (Cody and Waite) and the Taylor series of e^r - 1. No fused operations, so
// that every target gives the same bits.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void ScaleAndResidue(D d, V x, V& scale, V& residue) {
    const hn::RebindToSigned<D> di;
    x = hn::IfThenElse(hn::Lt(x, hn::Set(d, -708.0)), hn::Set(d, -708.0), x);
    const auto magic = hn::Set(d, 6755399441055744.0);  // 1.5 * 2^52: rounds to an integer
    const auto shifted = hn::Add(hn::Mul(x, hn::Set(d, 1.44269504088896338700e+00)), magic);
    const auto n = hn::Sub(shifted, magic);
    auto r = hn::Sub(x, hn::Mul(n, hn::Set(d, 6.93147180369123816490e-01)));
    r = hn::Sub(r, hn::Mul(n, hn::Set(d, 1.90821492927058770002e-10)));

    auto p = hn::Set(d, 1.0 / 6227020800.0);
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 479001600.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 39916800.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 3628800.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 362880.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 40320.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 5040.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 720.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 120.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 24.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 1.0 / 6.0));
    p = hn::Add(hn::Mul(p, r), hn::Set(d, 0.5));
    residue = hn::Add(r, hn::Mul(hn::Mul(r, r), p));
    const auto exponent = hn::Add(hn::BitCast(di, shifted), hn::Set(di, 1023));
    scale = hn::BitCast(d, hn::ShiftLeft<52>(exponent));
}

// e^x - 1, without cancellation near 0; infinity above 709.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V ExpM1(D d, V x) {
    V scale;
    V residue;
    ScaleAndResidue(d, x, scale, residue);
    const auto value = hn::Add(hn::Mul(scale, residue), hn::Sub(scale, hn::Set(d, 1.0)));
    const auto infinity = hn::Set(d, std::numeric_limits<double>::infinity());
    return hn::IfThenElse(hn::Gt(x, hn::Set(d, 709.0)), infinity, value);
}

// e^x; infinity above 709, never below e^-708.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V Exp(D d, V x) {
    V scale;
    V residue;
    ScaleAndResidue(d, x, scale, residue);
    const auto value = hn::Add(hn::Mul(scale, residue), scale);
    const auto infinity = hn::Set(d, std::numeric_limits<double>::infinity());
    return hn::IfThenElse(hn::Gt(x, hn::Set(d, 709.0)), infinity, value);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
