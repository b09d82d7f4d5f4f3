// The four-wide functions of vector_math.h for float vectors of any width, for kernel sources. The
// same operations in the same order, so that every lane has the same bits.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_VECTOR_MATH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_VECTOR_MATH_INL_H
#undef KAVRO_VECTOR_MATH_INL_H
#else
#define KAVRO_VECTOR_MATH_INL_H
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// y times x plus a constant, rounded twice.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V HornerStep(D d, V y, V x, float constant) {
    return hn::Add(hn::Mul(y, x), hn::Set(d, constant));
}

// exp_ps.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V ExpSingle(D d, V x) {
    const hn::RebindToSigned<D> di;
    x = hn::Min(x, hn::Set(d, 88.3762626647949f));
    x = hn::Max(x, hn::Set(d, -88.3762626647949f));
    const auto fx = HornerStep(d, x, hn::Set(d, 1.44269504088896341f), 0.5f);
    auto n = hn::ConvertTo(d, hn::ConvertTo(di, fx));
    n = hn::Sub(n, hn::IfThenElseZero(hn::Gt(n, fx), hn::Set(d, 1.0f)));
    x = hn::Sub(x, hn::Mul(n, hn::Set(d, 0.693359375f)));
    x = hn::Sub(x, hn::Mul(n, hn::Set(d, -2.12194440e-4f)));

    auto y = hn::Set(d, 1.9875691500e-4f);
    y = HornerStep(d, y, x, 1.3981999507e-3f);
    y = HornerStep(d, y, x, 8.3334519073e-3f);
    y = HornerStep(d, y, x, 4.1665795894e-2f);
    y = HornerStep(d, y, x, 1.6666665459e-1f);
    y = HornerStep(d, y, x, 5.0000001201e-1f);
    y = hn::Add(hn::Add(hn::Mul(y, hn::Mul(x, x)), x), hn::Set(d, 1.0f));
    const auto exponent = hn::ShiftLeft<23>(hn::Add(hn::ConvertTo(di, n), hn::Set(di, 127)));
    return hn::Mul(y, hn::BitCast(d, exponent));
}

// sincos_ps.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void SinCosSingle(D d, V x, V& s, V& c) {
    const hn::RebindToSigned<D> di;
    const auto magnitude = hn::Abs(x);
    auto j = hn::ConvertTo(di, hn::Mul(magnitude, hn::Set(d, 1.27323954473516f)));
    j = hn::And(hn::Add(j, hn::Set(di, 1)), hn::Set(di, ~1));
    const auto y = hn::ConvertTo(d, j);
    auto r = hn::Add(magnitude, hn::Mul(y, hn::Set(d, -0.78515625f)));
    r = hn::Add(r, hn::Mul(y, hn::Set(d, -2.4187564849853515625e-4f)));
    r = hn::Add(r, hn::Mul(y, hn::Set(d, -3.77489497744594108e-8f)));
    const auto z = hn::Mul(r, r);

    auto cosine = hn::Set(d, 2.443315711809948e-5f);
    cosine = HornerStep(d, cosine, z, -1.388731625493765e-3f);
    cosine = HornerStep(d, cosine, z, 4.166664568298827e-2f);
    cosine = hn::Mul(hn::Mul(cosine, z), z);
    cosine = hn::Sub(cosine, hn::Mul(z, hn::Set(d, 0.5f)));
    cosine = hn::Add(cosine, hn::Set(d, 1.0f));

    auto sine = hn::Set(d, -1.9515295891e-4f);
    sine = HornerStep(d, sine, z, 8.3321608736e-3f);
    sine = HornerStep(d, sine, z, -1.6666654611e-1f);
    sine = hn::Mul(hn::Mul(sine, z), r);
    sine = hn::Add(sine, r);

    const auto keep = hn::RebindMask(d, hn::Eq(hn::And(j, hn::Set(di, 2)), hn::Zero(di)));
    const auto flip = hn::BitCast(d, hn::ShiftLeft<29>(hn::And(j, hn::Set(di, 4))));
    const auto sign = hn::Xor(hn::And(x, hn::SignBit(d)), flip);
    s = hn::Xor(hn::IfThenElse(keep, sine, cosine), sign);
    const auto cosine_flip =
        hn::BitCast(d, hn::ShiftLeft<29>(hn::AndNot(hn::Sub(j, hn::Set(di, 2)), hn::Set(di, 4))));
    c = hn::Xor(hn::IfThenElse(keep, cosine, sine), cosine_flip);
}

// complex_exp: e^(re + i im).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void ComplexExpSingle(D d, V re, V im, V& out_re, V& out_im) {
    const auto magnitude = ExpSingle(d, re);
    V s;
    V c;
    SinCosSingle(d, im, s, c);
    out_re = hn::Mul(magnitude, c);
    out_im = hn::Mul(magnitude, s);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
