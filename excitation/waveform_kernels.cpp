#include "excitation/waveform_kernels.h"

#include <cstddef>
#include <type_traits>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "excitation/waveform_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::ScalableTag<double>;
using Wide = hn::Vec<Doubles>;

// `count` values at a time of either precision, as doubles; the last step may be partial.
template <class Real>
HWY_INLINE Wide LoadWide(const Real* values, size_t count) {
    const Doubles d;
    const size_t lanes = hn::Lanes(d);
    HWY_ALIGN double part[HWY_MAX_BYTES / sizeof(double)] = {};
    if constexpr (sizeof(Real) == sizeof(double)) {
        if (HWY_LIKELY(count >= lanes)) {
            return hn::LoadU(d, values);
        }
    } else {
        if (HWY_LIKELY(count >= lanes)) {
            const hn::Rebind<float, Doubles> df;
            return hn::PromoteTo(d, hn::LoadU(df, values));
        }
    }
    for (size_t i = 0; i < count; ++i) {
        part[i] = static_cast<double>(values[i]);
    }
    return hn::Load(d, part);
}

template <class Real>
HWY_INLINE void StoreWide(Wide v, Real* out, size_t count) {
    const Doubles d;
    const size_t lanes = hn::Lanes(d);
    if constexpr (sizeof(Real) == sizeof(double)) {
        if (HWY_LIKELY(count >= lanes)) {
            hn::StoreU(v, d, out);
            return;
        }
    } else {
        if (HWY_LIKELY(count >= lanes)) {
            const hn::Rebind<float, Doubles> df;
            hn::StoreU(hn::DemoteTo(df, v), df, out);
            return;
        }
    }
    HWY_ALIGN double part[HWY_MAX_BYTES / sizeof(double)];
    hn::Store(v, d, part);
    for (size_t i = 0; i < count; ++i) {
        out[i] = static_cast<Real>(part[i]);
    }
}

template <class Delay, class Real>
HWY_INLINE void ToneBurstSpatial(const Delay* tau, size_t count, double omega0, Real* out) {
    const Doubles d;
    for (size_t m = 0; m < count; m += hn::Lanes(d)) {
        const size_t left = count - m;
        Wide s, c;
        SinCos(d, hn::Mul(hn::Set(d, omega0), LoadWide(tau + m, left)), s, c);
        StoreWide(c, out + m, left);
        StoreWide(s, out + count + m, left);
    }
}

void ToneBurstSpatialSingle(const float* tau, size_t count, double omega0, float* out) {
    ToneBurstSpatial(tau, count, omega0, out);
}

void ToneBurstSpatialRounded(const double* tau, size_t count, double omega0, float* out) {
    ToneBurstSpatial(tau, count, omega0, out);
}

void ToneBurstSpatialDouble(const double* tau, size_t count, double omega0, double* out) {
    ToneBurstSpatial(tau, count, omega0, out);
}

template <class Delay, class Real>
HWY_INLINE void HanningSpatial(const Delay* tau, size_t count, double omega0, double omega_w,
                               Real* out) {
    const Doubles d;
    for (size_t m = 0; m < count; m += hn::Lanes(d)) {
        const size_t left = count - m;
        const auto t = LoadWide(tau + m, left);
        Wide s1, c1, s2, c2;
        SinCos(d, hn::Mul(hn::Set(d, omega0), t), s1, c1);
        SinCos(d, hn::Mul(hn::Set(d, omega_w), t), s2, c2);
        Real* factor = out + m;
        StoreWide(c1, factor, left);
        StoreWide(s1, factor + count, left);
        StoreWide(hn::Mul(c2, c1), factor + 2 * count, left);
        StoreWide(hn::Mul(c2, s1), factor + 3 * count, left);
        StoreWide(hn::Mul(s2, c1), factor + 4 * count, left);
        StoreWide(hn::Mul(s2, s1), factor + 5 * count, left);
    }
}

void HanningSpatialSingle(const float* tau, size_t count, double omega0, double omega_w,
                          float* out) {
    HanningSpatial(tau, count, omega0, omega_w, out);
}

void HanningSpatialRounded(const double* tau, size_t count, double omega0, double omega_w,
                           float* out) {
    HanningSpatial(tau, count, omega0, omega_w, out);
}

void HanningSpatialDouble(const double* tau, size_t count, double omega0, double omega_w,
                          double* out) {
    HanningSpatial(tau, count, omega0, omega_w, out);
}

// The part of the values that lies inside the open interval (0, w).
HWY_INLINE Wide InsidePulse(Wide t, double w, Wide value) {
    const Doubles d;
    const auto inside = hn::And(hn::Gt(t, hn::Zero(d)), hn::Lt(t, hn::Set(d, w)));
    return hn::IfThenElseZero(inside, value);
}

void ToneBurstValues(const double* t, size_t count, double omega, double w, double* out) {
    const Doubles d;
    for (size_t m = 0; m < count; m += hn::Lanes(d)) {
        const size_t left = count - m;
        const auto x = LoadWide(t + m, left);
        Wide s, c;
        SinCos(d, hn::Mul(x, hn::Set(d, omega)), s, c);
        StoreWide(InsidePulse(x, w, s), out + m, left);
    }
}

void HanningValues(const double* t, size_t count, double omega, double w, double* out) {
    const Doubles d;
    for (size_t m = 0; m < count; m += hn::Lanes(d)) {
        const size_t left = count - m;
        const auto x = LoadWide(t + m, left);
        Wide carrier, window, unused;
        SinCos(d, hn::Mul(hn::Set(d, omega), x), carrier, unused);
        SinCos(d, hn::Div(hn::Mul(x, hn::Set(d, two_pi)), hn::Set(d, w)), unused, window);
        const auto raised = hn::Mul(hn::Sub(hn::Set(d, 1.0), window), hn::Set(d, 0.5));
        StoreWide(InsidePulse(x, w, hn::Mul(carrier, raised)), out + m, left);
    }
}

void SineAndCosine(const double* x, size_t count, double* sine, double* cosine) {
    const Doubles d;
    for (size_t m = 0; m < count; m += hn::Lanes(d)) {
        const size_t left = count - m;
        Wide s, c;
        SinCos(d, LoadWide(x + m, left), s, c);
        StoreWide(s, sine + m, left);
        StoreWide(c, cosine + m, left);
    }
}

// Vectors that rotate side by side: one alone waits for its own last rotation.
inline constexpr size_t side_by_side = 2;

struct SineCosinePairs {
    Wide s[side_by_side], c[side_by_side];
};

// Of frequency times t. Not inlined: what follows is instantiated often and asks for it rarely.
HWY_NOINLINE SineCosinePairs PairsAt(double frequency, const Wide (&t)[side_by_side]) {
    const Doubles d;
    SineCosinePairs pairs;
    for (size_t v = 0; v < side_by_side; ++v) {
        SinCos(d, hn::Mul(hn::Set(d, frequency), t[v]), pairs.s[v], pairs.c[v]);
    }
    return pairs;
}

// Calls use(k, v, sine, cosine) with those of frequency k times t[v], for every term of the series
// and every vector: neighbouring harmonics by rotation, restarted often enough to keep the last
// digits.
template <class Use>
HWY_INLINE void ForEachHarmonic(const HarmonicSeries& series, const Wide (&t)[side_by_side],
                                Use use) {
    constexpr size_t restart_every = 32;
    const size_t terms = series.bins.size();
    const int* bins = series.bins.data();
    const SineCosinePairs step = PairsAt(series.step, t);
    for (size_t k = 0; k < terms;) {
        auto [s, c] = PairsAt(series.frequencies[k], t);
        for (size_t v = 0; v < side_by_side; ++v) {
            use(k, v, s[v], c[v]);
        }
        const size_t end = terms - k > restart_every ? k + restart_every + 1 : terms;
        for (++k; k < end && bins[k] == bins[k - 1] + 1; ++k) {
            for (size_t v = 0; v < side_by_side; ++v) {
                const auto turned = hn::Add(hn::Mul(s[v], step.c[v]), hn::Mul(c[v], step.s[v]));
                c[v] = hn::Sub(hn::Mul(c[v], step.c[v]), hn::Mul(s[v], step.s[v]));
                s[v] = turned;
                use(k, v, s[v], c[v]);
            }
        }
    }
}

// `count` values from m on, as the vectors of one step; values left for each.
template <class Real>
HWY_INLINE void LoadSideBySide(const Real* values, size_t count, size_t m, Wide (&v)[side_by_side],
                               size_t (&left)[side_by_side]) {
    const size_t lanes = hn::Lanes(Doubles());
    for (size_t i = 0; i < side_by_side; ++i) {
        const size_t begin = m + i * lanes;
        left[i] = begin < count ? count - begin : 0;
        v[i] = LoadWide(values + (left[i] > 0 ? begin : m), left[i]);
    }
}

// Whole: no vector of a step is partial, so that nothing is asked in the loop over the terms.
template <HarmonicFactors kKind, bool kWhole, class Real>
HWY_INLINE void HarmonicSpatialStep(const HarmonicSeries& series, const Wide (&t)[side_by_side],
                                    const size_t (&left)[side_by_side], size_t count, Real* out) {
    const Doubles d;
    const size_t lanes = hn::Lanes(d);
    const double* weights = series.weights.data();
    ForEachHarmonic(series, t, [&](size_t k, size_t v, Wide s, Wide c) HWY_ATTR {
        Real* factor = out + v * lanes;
        const size_t part = kWhole ? lanes : left[v];
        if constexpr (kKind == HarmonicFactors::hartley) {
            StoreWide(hn::Mul(hn::Set(d, weights[k]), hn::Add(c, s)), factor + k * count, part);
        } else {
            if constexpr (kKind != HarmonicFactors::unit_cosine_sine) {
                c = hn::Mul(hn::Set(d, weights[k]), c);
                s = hn::Mul(hn::Set(d, weights[k]), s);
            }
            StoreWide(c, factor + 2 * k * count, part);
            StoreWide(s, factor + (2 * k + 1) * count, part);
        }
    });
}

template <HarmonicFactors kKind, class Delay, class Real>
HWY_INLINE void HarmonicSpatialOf(const HarmonicSeries& series, const Delay* tau, size_t count,
                                  Real* out) {
    const size_t step = side_by_side * hn::Lanes(Doubles());
    for (size_t m = 0; m < count; m += step) {
        Wide t[side_by_side];
        size_t left[side_by_side];
        LoadSideBySide(tau, count, m, t, left);
        if (HWY_LIKELY(count - m >= step)) {
            HarmonicSpatialStep<kKind, true>(series, t, left, count, out + m);
        } else {
            HarmonicSpatialStep<kKind, false>(series, t, left, count, out + m);
        }
    }
}

template <class Delay, class Real>
HWY_INLINE void HarmonicSpatial(const HarmonicSeries& series, HarmonicFactors kind,
                                const Delay* tau, size_t count, Real* out) {
    switch (kind) {
        case HarmonicFactors::hartley:
            return HarmonicSpatialOf<HarmonicFactors::hartley>(series, tau, count, out);
        case HarmonicFactors::cosine_sine:
            return HarmonicSpatialOf<HarmonicFactors::cosine_sine>(series, tau, count, out);
        case HarmonicFactors::unit_cosine_sine:
            return HarmonicSpatialOf<HarmonicFactors::unit_cosine_sine>(series, tau, count, out);
    }
}

void HarmonicSpatialSingle(const HarmonicSeries& series, HarmonicFactors kind, const float* tau,
                           size_t count, float* out) {
    HarmonicSpatial(series, kind, tau, count, out);
}

void HarmonicSpatialRounded(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                            size_t count, float* out) {
    HarmonicSpatial(series, kind, tau, count, out);
}

void HarmonicSpatialDouble(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                           size_t count, double* out) {
    HarmonicSpatial(series, kind, tau, count, out);
}

void HarmonicValues(const HarmonicSeries& series, const double* t, size_t count, double w,
                    double* out) {
    const Doubles d;
    const size_t lanes = hn::Lanes(d);
    for (size_t m = 0; m < count; m += side_by_side * lanes) {
        Wide x[side_by_side];
        size_t left[side_by_side];
        LoadSideBySide(t, count, m, x, left);
        Wide sum[side_by_side] = {hn::Zero(d), hn::Zero(d)};
        ForEachHarmonic(series, x, [&](size_t k, size_t v, Wide s, Wide c) HWY_ATTR {
            const auto re = hn::Mul(hn::Set(d, series.coefficients[k].real()), c);
            const auto im = hn::Mul(hn::Set(d, series.coefficients[k].imag()), s);
            sum[v] = hn::Add(sum[v], hn::Sub(re, im));
        });
        for (size_t v = 0; v < side_by_side; ++v) {
            const auto outside = hn::Or(hn::Lt(x[v], hn::Zero(d)), hn::Gt(x[v], hn::Set(d, w)));
            StoreWide(hn::IfThenZeroElse(outside, sum[v]), out + m + v * lanes, left[v]);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void tone_burst_spatial_factors(const float* tau, int count, double omega0, float* out) {
    KAVRO_KERNEL(ToneBurstSpatialSingle)(tau, static_cast<std::size_t>(count), omega0, out);
}

void tone_burst_spatial_factors(const double* tau, int count, double omega0, float* out) {
    KAVRO_KERNEL(ToneBurstSpatialRounded)(tau, static_cast<std::size_t>(count), omega0, out);
}

void tone_burst_spatial_factors(const double* tau, int count, double omega0, double* out) {
    KAVRO_KERNEL(ToneBurstSpatialDouble)(tau, static_cast<std::size_t>(count), omega0, out);
}

void hanning_spatial_factors(const float* tau, int count, double omega0, double omega_w,
                             float* out) {
    KAVRO_KERNEL(HanningSpatialSingle)
    (tau, static_cast<std::size_t>(count), omega0, omega_w, out);
}

void hanning_spatial_factors(const double* tau, int count, double omega0, double omega_w,
                             float* out) {
    KAVRO_KERNEL(HanningSpatialRounded)
    (tau, static_cast<std::size_t>(count), omega0, omega_w, out);
}

void hanning_spatial_factors(const double* tau, int count, double omega0, double omega_w,
                             double* out) {
    KAVRO_KERNEL(HanningSpatialDouble)
    (tau, static_cast<std::size_t>(count), omega0, omega_w, out);
}

void tone_burst_values(const double* t, int count, double omega, double w, double* out) {
    KAVRO_KERNEL(ToneBurstValues)(t, static_cast<std::size_t>(count), omega, w, out);
}

void hanning_values(const double* t, int count, double omega, double w, double* out) {
    KAVRO_KERNEL(HanningValues)(t, static_cast<std::size_t>(count), omega, w, out);
}

void sine_and_cosine(const double* x, int count, double* sine, double* cosine) {
    KAVRO_KERNEL(SineAndCosine)(x, static_cast<std::size_t>(count), sine, cosine);
}

void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const float* tau,
                              int count, float* out) {
    KAVRO_KERNEL(HarmonicSpatialSingle)(series, kind, tau, static_cast<std::size_t>(count), out);
}

void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                              int count, float* out) {
    KAVRO_KERNEL(HarmonicSpatialRounded)(series, kind, tau, static_cast<std::size_t>(count), out);
}

void harmonic_spatial_factors(const HarmonicSeries& series, HarmonicFactors kind, const double* tau,
                              int count, double* out) {
    KAVRO_KERNEL(HarmonicSpatialDouble)(series, kind, tau, static_cast<std::size_t>(count), out);
}

void harmonic_values(const HarmonicSeries& series, const double* t, int count, double w,
                     double* out) {
    KAVRO_KERNEL(HarmonicValues)(series, t, static_cast<std::size_t>(count), w, out);
}

}  // namespace kavro
#endif  // HWY_ONCE
