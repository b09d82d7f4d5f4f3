// Sine and cosine of double vectors, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_SINCOS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_SINCOS_INL_H
#undef KAVRO_SINCOS_INL_H
#else
#define KAVRO_SINCOS_INL_H
#endif

#include <cmath>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Arguments up to here are reduced in vectors: the quotient by pi/2 has less than 20 bits, so its
// products with the 33-bit parts of pi/2 are exact.
inline constexpr double largest_vector_argument = 1.0e6;

// `result` with the lanes whose argument no vector reduction takes from the standard library.
// Apart, as SinCos is inlined in many places.
template <class D, class V = hn::Vec<D>>
HWY_NOINLINE V BeyondRange(D d, V x, V result, double (*function)(double)) {
    HWY_ALIGN double argument[HWY_MAX_BYTES / sizeof(double)];
    HWY_ALIGN double value[HWY_MAX_BYTES / sizeof(double)];
    hn::Store(x, d, argument);
    hn::Store(result, d, value);
    for (size_t i = 0; i < hn::Lanes(d); ++i) {
        if (!(std::abs(argument[i]) <= largest_vector_argument)) {
            value[i] = function(argument[i]);
        }
    }
    return hn::Load(d, value);
}

// s = sin(x), c = cos(x), to about one unit in the last place.
//
// Reduction to [-pi/4, pi/4] in three steps (Cody and Waite) and the Taylor-minimax polynomials of
// the usual double-precision kernels. No fused operations, so that every target gives the same
// bits. Lanes beyond largest_vector_argument, and those that are not finite, go to the standard
// library.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void SinCos(D d, V x, V& s, V& c) {
    const hn::RebindToSigned<D> di;
    const auto magic = hn::Set(d, 6755399441055744.0);  // 1.5 * 2^52: rounds to an integer
    const auto shifted = hn::Add(hn::Mul(x, hn::Set(d, 0.63661977236758134308)), magic);
    const auto quotient = hn::Sub(shifted, magic);
    const auto quadrant = hn::BitCast(di, shifted);

    auto r = hn::Sub(x, hn::Mul(quotient, hn::Set(d, 1.57079632673412561417e+00)));
    r = hn::Sub(r, hn::Mul(quotient, hn::Set(d, 6.07710050630396597660e-11)));
    r = hn::Sub(r, hn::Mul(quotient, hn::Set(d, 2.02226624879595063154e-21)));
    const auto z = hn::Mul(r, r);

    auto p = hn::Set(d, 1.58969099521155010221e-10);
    p = hn::Add(hn::Mul(p, z), hn::Set(d, -2.50507602534068634195e-08));
    p = hn::Add(hn::Mul(p, z), hn::Set(d, 2.75573137070700676789e-06));
    p = hn::Add(hn::Mul(p, z), hn::Set(d, -1.98412698298579493134e-04));
    p = hn::Add(hn::Mul(p, z), hn::Set(d, 8.33333333332248946124e-03));
    p = hn::Add(hn::Mul(p, z), hn::Set(d, -1.66666666666666324348e-01));
    const auto sine = hn::Add(r, hn::Mul(hn::Mul(r, z), p));

    auto q = hn::Set(d, -1.13596475577881948265e-11);
    q = hn::Add(hn::Mul(q, z), hn::Set(d, 2.08757232129817482790e-09));
    q = hn::Add(hn::Mul(q, z), hn::Set(d, -2.75573143513906633035e-07));
    q = hn::Add(hn::Mul(q, z), hn::Set(d, 2.48015872894767294178e-05));
    q = hn::Add(hn::Mul(q, z), hn::Set(d, -1.38888888888741095749e-03));
    q = hn::Add(hn::Mul(q, z), hn::Set(d, 4.16666666666666019037e-02));
    // 1 - z/2 and its rounding error apart, so that the sum keeps the last place.
    const auto half = hn::Mul(z, hn::Set(d, 0.5));
    const auto head = hn::Sub(hn::Set(d, 1.0), half);
    const auto tail = hn::Sub(hn::Sub(hn::Set(d, 1.0), head), half);
    const auto cosine = hn::Add(head, hn::Add(tail, hn::Mul(hn::Mul(z, z), q)));

    const auto one = hn::Set(di, 1);
    const auto swap =
        hn::MaskFromVec(hn::BitCast(d, hn::Sub(hn::Zero(di), hn::And(quadrant, one))));
    const auto sine_sign = hn::BitCast(d, hn::ShiftLeft<62>(hn::And(quadrant, hn::Set(di, 2))));
    const auto cosine_sign =
        hn::BitCast(d, hn::ShiftLeft<62>(hn::And(hn::Add(quadrant, one), hn::Set(di, 2))));
    s = hn::Xor(hn::IfThenElse(swap, cosine, sine), sine_sign);
    c = hn::Xor(hn::IfThenElse(swap, sine, cosine), cosine_sign);

    const auto in_range = hn::Le(hn::Abs(x), hn::Set(d, largest_vector_argument));
    if (HWY_UNLIKELY(!hn::AllTrue(d, in_range))) {
        s = BeyondRange(d, x, s, [](double value) { return std::sin(value); });
        c = BeyondRange(d, x, c, [](double value) { return std::cos(value); });
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
