#include "transducers/rectangular/radiator_row.h"

#include <cstddef>

#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/edge_block.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/rectangular/radiator_row.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/complex-inl.h"
#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

#ifndef KAVRO_RADIATOR_ROW
#define KAVRO_RADIATOR_ROW
namespace kavro {

struct RadiatorRow {
    const RadiatorRule* rule;
    double X, WX;
    double x, y, z;
    WaveParameters wave;
    RadiatorForm form;
    Lanes<double> re, im;  // partial sums: abscissa j in lane j mod block_lanes
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, block_lanes>;
using V = hn::Vec<Doubles>;
using Complex = ComplexVec<V>;

// sin(s) / s, 1 at 0.
HWY_INLINE V Sinc(V s) {
    const Doubles d;
    V sine;
    V cosine;
    SinCos(d, s, sine, cosine);
    return hn::IfThenElse(hn::Eq(s, hn::Zero(d)), hn::Set(d, 1.0), hn::Div(sine, s));
}

// The same for s = a + jb: sin(a) cosh(b) + j cos(a) sinh(b), over s.
HWY_INLINE Complex ComplexSinc(V a, V b) {
    const Doubles d;
    const auto one = hn::Set(d, 1.0);
    const auto half = hn::Set(d, 0.5);
    V sine;
    V cosine;
    SinCos(d, a, sine, cosine);
    // With m = e^b - 1: sinh b = (m + m / (1 + m)) / 2, cosh b = e^b - sinh b.
    const auto m = ExpM1(d, b);
    const auto growing = hn::Add(one, m);
    const auto sinh = hn::Mul(half, hn::Add(m, hn::Div(m, growing)));
    const auto re = hn::Mul(sine, hn::Sub(growing, sinh));
    const auto im = hn::Mul(cosine, sinh);
    const auto norm = hn::Add(hn::Mul(a, a), hn::Mul(b, b));
    const auto is_zero = hn::Eq(norm, hn::Zero(d));
    const auto over_re = hn::Div(hn::Add(hn::Mul(re, a), hn::Mul(im, b)), norm);
    const auto over_im = hn::Div(hn::Sub(hn::Mul(im, a), hn::Mul(re, b)), norm);
    return {hn::IfThenElse(is_zero, one, over_re), hn::IfThenZeroElse(is_zero, over_im)};
}

void SumRadiatorRow(RadiatorRow& row) {
    const Doubles d;
    const auto step = hn::Lanes(d);
    const bool is_exact = row.form == RadiatorForm::exact;
    const double k = row.wave.wavenumber;
    const double alpha = row.wave.attenuation;
    const auto phase = hn::Set(d, is_exact ? -k : k);
    const auto growth = hn::Set(d, is_exact ? -alpha : alpha);
    const auto dx = hn::Set(d, row.x - row.X);
    const auto dx_squared = hn::Mul(dx, dx);
    const auto z_squared = hn::Set(d, row.z * row.z);
    // What R divides in the sinc's argument, times k.
    const auto across_x = hn::Set(d, is_exact ? (row.x - row.X) * row.WX * 0.5 : row.X * row.WX);
    const size_t count = row.rule->Y.size();
    for (size_t j = 0; j < count; j += step) {
        const auto Y = hn::Load(d, row.rule->Y.data() + j);
        const auto WY = hn::Load(d, row.rule->WY.data() + j);
        const auto dy = hn::Sub(hn::Set(d, row.y), Y);
        const auto R = hn::Sqrt(hn::Add(hn::Add(hn::Mul(dy, dy), dx_squared), z_squared));
        const auto across_y = is_exact ? hn::Mul(hn::Mul(dy, WY), hn::Set(d, 0.5)) : hn::Mul(Y, WY);
        const auto u = hn::Div(across_x, R);
        const auto v = hn::Div(across_y, R);
        const auto wavenumber = hn::Set(d, k);

        Complex wave;
        SinCos(d, hn::Mul(phase, R), wave.im, wave.re);
        auto magnitude = hn::Div(hn::Mul(hn::Set(d, row.WX), WY), R);
        if (alpha != 0.0) {
            magnitude = hn::Mul(magnitude, Exp(d, hn::Mul(growth, R)));
        }
        if (is_exact || alpha == 0.0) {
            const auto sincs = hn::Mul(Sinc(hn::Mul(wavenumber, u)), Sinc(hn::Mul(wavenumber, v)));
            magnitude = hn::Mul(magnitude, sincs);
        } else {
            const auto minus_alpha = hn::Set(d, -alpha);
            wave = Product(wave,
                           Product(ComplexSinc(hn::Mul(wavenumber, u), hn::Mul(minus_alpha, u)),
                                   ComplexSinc(hn::Mul(wavenumber, v), hn::Mul(minus_alpha, v))));
        }
        const size_t lane = j % block_lanes;
        double* re = row.re.data() + lane;
        double* im = row.im.data() + lane;
        hn::Store(hn::Add(hn::Load(d, re), hn::Mul(magnitude, wave.re)), d, re);
        hn::Store(hn::Add(hn::Load(d, im), hn::Mul(magnitude, wave.im)), d, im);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

std::complex<double> radiator_row(const RadiatorRule& rule, int i, double x, double y, double z,
                                  const WaveParameters& wave, RadiatorForm form) {
    const auto at = static_cast<std::size_t>(i);
    RadiatorRow row{&rule, rule.X[at], rule.WX[at], x, y, z, wave, form, {}, {}};
    KAVRO_KERNEL(SumRadiatorRow)(row);
    std::complex<double> sum = 0.0;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        sum += std::complex<double>(row.re[lane], row.im[lane]);
    }
    return sum;
}

}  // namespace kavro
#endif  // HWY_ONCE
