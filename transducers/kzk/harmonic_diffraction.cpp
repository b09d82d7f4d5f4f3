#include "transducers/kzk/harmonic_diffraction.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>

#include "core/simd/vector_dispatch.h"
#include "core/zeros.h"
#include "transducers/kzk/pieces.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/kzk/harmonic_diffraction.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/complex-inl.h"

#ifndef KAVRO_KZK_HARMONIC_FACTOR
#define KAVRO_KZK_HARMONIC_FACTOR
namespace kavro::kzk {

// A factor of the step for some harmonics: with the difference operator D of the radius, the rows x
// become those y for which (w - D) y = w x + v D x.
struct HarmonicFactor {
    alignas(64) double w_re[harmonic_lanes], w_im[harmonic_lanes];
    alignas(64) double v_re[harmonic_lanes], v_im[harmonic_lanes];
};
using HarmonicFactors = std::array<HarmonicFactor, 3>;

}  // namespace kavro::kzk
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro::kzk {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, harmonic_lanes>;
using V = hn::Vec<Doubles>;
using Complex = kavro::HWY_NAMESPACE::ComplexVec<V>;
inline constexpr size_t kStep = hn::MaxLanes(Doubles());

HWY_INLINE void SpendPiece(const Spend& spend, size_t j, size_t rows) {
    constexpr size_t piece = rows_at_a_time;
    if (j % piece == 0) {
        spend(static_cast<std::int64_t>(4 * kStep * std::min(piece, rows)));
    }
}

// One factor, of kStep harmonics. `kept`: four vectors for each row.
HWY_INLINE void SolveFactor(double* re, double* im, size_t rows, size_t stride,
                            const HarmonicFactor& factor, size_t lane, double* kept,
                            const Spend& spend) {
    const Doubles d;
    const V one = hn::Set(d, 1.0);
    const Complex w{hn::Load(d, factor.w_re + lane), hn::Load(d, factor.w_im + lane)};
    const Complex v{hn::Load(d, factor.v_re + lane), hn::Load(d, factor.v_im + lane)};
    Complex before{hn::Zero(d), hn::Zero(d)};
    Complex here{hn::Load(d, re), hn::Load(d, im)};
    Complex ratio = before, g = before;  // of the row before
    for (size_t j = 0; j < rows; ++j) {
        SpendPiece(spend, j, rows);
        const double lower = j == 0 ? 0.0 : 1.0 - 0.5 / static_cast<double>(j);
        const double upper = j == 0 ? 4.0 : 2.0 - lower;
        const V below = hn::Set(d, lower);
        const V above = hn::Set(d, upper);
        const V both = hn::Set(d, lower + upper);
        Complex after{hn::Zero(d), hn::Zero(d)};
        if (j + 1 < rows) {
            after = {hn::Load(d, re + (j + 1) * stride), hn::Load(d, im + (j + 1) * stride)};
        }
        const Complex bend{hn::Sub(hn::Add(hn::Mul(below, before.re), hn::Mul(above, after.re)),
                                   hn::Mul(both, here.re)),
                           hn::Sub(hn::Add(hn::Mul(below, before.im), hn::Mul(above, after.im)),
                                   hn::Mul(both, here.im))};
        const Complex kept_part = Product(w, here);
        const Complex bent_part = Product(v, bend);
        const Complex right{hn::Add(hn::Add(kept_part.re, bent_part.re), hn::Mul(below, g.re)),
                            hn::Add(hn::Add(kept_part.im, bent_part.im), hn::Mul(below, g.im))};
        const V x = hn::Sub(hn::Add(w.re, both), hn::Mul(below, ratio.re));
        const V y = hn::Sub(w.im, hn::Mul(below, ratio.im));
        const V over = hn::Div(one, hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
        const Complex inverse{hn::Mul(x, over), hn::Neg(hn::Mul(y, over))};
        ratio = {hn::Mul(above, inverse.re), hn::Mul(above, inverse.im)};
        g = Product(right, inverse);
        hn::Store(ratio.re, d, kept + 4 * j * kStep);
        hn::Store(ratio.im, d, kept + (4 * j + 1) * kStep);
        hn::Store(g.re, d, kept + (4 * j + 2) * kStep);
        hn::Store(g.im, d, kept + (4 * j + 3) * kStep);
        before = here;
        here = after;
    }
    Complex value{hn::Zero(d), hn::Zero(d)};
    for (size_t j = rows; j-- > 0;) {
        SpendPiece(spend, j, rows);
        const Complex carried = Product(
            {hn::Load(d, kept + 4 * j * kStep), hn::Load(d, kept + (4 * j + 1) * kStep)}, value);
        value = {hn::Add(hn::Load(d, kept + (4 * j + 2) * kStep), carried.re),
                 hn::Add(hn::Load(d, kept + (4 * j + 3) * kStep), carried.im)};
        hn::Store(value.re, d, re + j * stride);
        hn::Store(value.im, d, im + j * stride);
    }
}

void SolveFactors(double* re, double* im, size_t rows, size_t stride,
                  const HarmonicFactors& factors, double* kept, const Spend& spend) {
    for (size_t lane = 0; lane < harmonic_lanes; lane += kStep) {
        for (const HarmonicFactor& factor : factors) {
            SolveFactor(re + lane, im + lane, rows, stride, factor, lane, kept, spend);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro::kzk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::kzk {
namespace {

using Number = std::complex<double>;

// The poles of the approximation and the zeros of its numerator: (2,3) Pade.
constexpr double real_pole = 3.637834252744496;
const Number complex_pole(2.6810828736277523, 3.05043019924741);
const Number complex_zero(-4.0, 2.0);

// Of the difference operator: what makes the derivatives of fourth order.
constexpr double twelfth = 1.0 / 12.0;

HarmonicFactors factors_of(double length, std::size_t first) {
    HarmonicFactors factors;
    for (std::size_t lane = 0; lane < harmonic_lanes; ++lane) {
        const Number turn(0.0, length / static_cast<double>(first + lane + 1));
        const Number explicit_part[] = {-turn / complex_zero, -turn / std::conj(complex_zero), 0.0};
        const Number implicit_part[] = {turn / complex_pole, turn / std::conj(complex_pole),
                                        turn / real_pole};
        for (std::size_t i = 0; i < factors.size(); ++i) {
            const Number w = 1.0 / (implicit_part[i] - twelfth);
            const Number v = w * (explicit_part[i] + twelfth);
            factors[i].w_re[lane] = w.real();
            factors[i].w_im[lane] = w.imag();
            factors[i].v_re[lane] = v.real();
            factors[i].v_im[lane] = v.imag();
        }
    }
    return factors;
}

}  // namespace

void diffract_harmonics(HarmonicRows& field, double length, std::size_t rows, std::size_t stride,
                        std::size_t first, AlignedVector<double>& scratch, const Spend& spend) {
    if (scratch.empty()) {
        assign_zeros(scratch, scratch_of_diffraction * rows, spend);
    }
    KAVRO_KERNEL(SolveFactors)
    (field.re.data() + first, field.im.data() + first, rows, stride, factors_of(length, first),
     scratch.data(), spend);
}

}  // namespace kavro::kzk
#endif  // HWY_ONCE
