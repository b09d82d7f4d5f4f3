// Vectors of complex numbers, for kernel sources: real and imaginary parts in a vector each. No
// fused operations, so that every target gives the same bits.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_COMPLEX_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_COMPLEX_INL_H
#undef KAVRO_COMPLEX_INL_H
#else
#define KAVRO_COMPLEX_INL_H
#endif

#include <complex>

#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class V>
struct ComplexVec {
    V re, im;
};

// The same number in every lane.
template <class D>
HWY_INLINE ComplexVec<hn::Vec<D>> SetComplex(D d, std::complex<double> a) {
    return {hn::Set(d, a.real()), hn::Set(d, a.imag())};
}

template <class V>
HWY_INLINE ComplexVec<V> Sum(ComplexVec<V> a, ComplexVec<V> b) {
    return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
}

template <class V>
HWY_INLINE ComplexVec<V> Product(ComplexVec<V> a, ComplexVec<V> b) {
    return {hn::Sub(hn::Mul(a.re, b.re), hn::Mul(a.im, b.im)),
            hn::Add(hn::Mul(a.re, b.im), hn::Mul(a.im, b.re))};
}

template <class V>
HWY_INLINE ComplexVec<V> Scaled(ComplexVec<V> a, V by) {
    return {hn::Mul(a.re, by), hn::Mul(a.im, by)};
}

// e^(re + j im).
template <class D, class V = hn::Vec<D>>
HWY_INLINE ComplexVec<V> ComplexExp(D d, V re, V im) {
    const auto magnitude = Exp(d, re);
    V s;
    V c;
    SinCos(d, im, s, c);
    return {hn::Mul(magnitude, c), hn::Mul(magnitude, s)};
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
