#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/constants.h"
#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/methods/continuous_wave.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/methods/continuous_wave_single.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/partial_sums-inl.h"
#include "core/simd/sincos-inl.h"
#include "core/simd/vector_math-inl.h"

#ifndef KAVRO_DIRECT_LANES
#define KAVRO_DIRECT_LANES
namespace kavro {

// The direct wave of a block of points, and how it departs from the wave of the face's middle.
struct DirectLanes {
    Lanes<float> x, y;
    Lanes<double> re, im;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void SumEdgeWavesSingle(const EdgeBlock<float>& block, const SingleWave& wave, int samples,
                        Lanes<float>& re, Lanes<float>& im) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto minus_k = hn::Set(d, -wave.wavenumber);
    const auto minus_alpha = hn::Set(d, -wave.attenuation);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto R0 = hn::Load(d, block.direct_delay.data() + lane);
        V direct_re;
        V direct_im;
        ComplexExpSingle(d, hn::Mul(minus_alpha, R0), hn::Mul(minus_k, R0), direct_re, direct_im);
        const auto add = [&](int i, V& sum_re, V& sum_im) HWY_ATTR {
            const int at = i * block_lanes + lane;
            const auto R = hn::Load(d, block.delay.data() + at);
            V edge_re;
            V edge_im;
            if (wave.edge_is_damped) {
                ComplexExpSingle(d, hn::Mul(minus_alpha, R), hn::Mul(minus_k, R), edge_re, edge_im);
            } else {
                SinCosSingle(d, hn::Mul(minus_k, R), edge_im, edge_re);
            }
            const auto g = hn::Load(d, block.coefficient.data() + at);
            sum_re = hn::Add(sum_re, hn::Mul(g, hn::Sub(edge_re, direct_re)));
            sum_im = hn::Add(sum_im, hn::Mul(g, hn::Sub(edge_im, direct_im)));
        };
        V sum_re;
        V sum_im;
        SumInFours(d, samples, add, sum_re, sum_im);
        hn::Store(sum_re, d, re.data() + lane);
        hn::Store(sum_im, d, im.data() + lane);
    }
}

// e^x - 1: a series near 0, where the difference would cancel.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V ExpMinusOneSingle(D d, V x) {
    const auto one = hn::Set(d, 1.0f);
    auto series = one;
    for (const float n : {6.0f, 5.0f, 4.0f, 3.0f, 2.0f}) {
        series = hn::Add(one, hn::Mul(hn::Div(x, hn::Set(d, n)), series));
    }
    series = hn::Mul(x, series);
    return hn::IfThenElse(hn::Lt(hn::Abs(x), hn::Set(d, 0.25f)), series,
                          hn::Sub(ExpSingle(d, x), one));
}

// Sum over the samples of g (e^(-(alpha + jk)(R - R_0)) - 1), the difference formed from R - R_0
// without cancellation, sample i in partial sum i mod 4.
void SumExcessWavesSingle(const EdgeBlock<float>& block, const SingleWave& wave, int samples,
                          Lanes<float>& re, Lanes<float>& im) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto one = hn::Set(d, 1.0f);
    const auto minus_k = hn::Set(d, -wave.wavenumber);
    const auto minus_alpha = hn::Set(d, -wave.attenuation);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto add = [&](int i, V& sum_re, V& sum_im) HWY_ATTR {
            const int at = i * block_lanes + lane;
            const auto excess = hn::Load(d, block.excess.data() + at);
            const auto g = hn::Load(d, block.coefficient.data() + at);
            const auto y = hn::Mul(minus_k, excess);
            V h, s, c;
            SinCosSingle(d, hn::Mul(y, hn::Set(d, 0.5f)), h, c);
            SinCosSingle(d, y, s, c);
            const auto q = ExpMinusOneSingle(d, hn::Mul(minus_alpha, excess));
            const auto magnitude = hn::Add(one, q);
            const auto twice = hn::Mul(hn::Add(magnitude, magnitude), hn::Mul(h, h));
            sum_re = hn::Add(sum_re, hn::Mul(g, hn::Sub(q, twice)));
            sum_im = hn::Add(sum_im, hn::Mul(g, hn::Mul(magnitude, s)));
        };
        V sum_re;
        V sum_im;
        SumInFours(d, samples, add, sum_re, sum_im);
        hn::Store(sum_re, d, re.data() + lane);
        hn::Store(sum_im, d, im.data() + lane);
    }
}

// x = -alpha (R_m - R_0) and y = -k (R_m - R_0), the latter less its whole turns, and the direct
// wave, all in double.
void FindDirectWaves(const EdgeBlock<float>& block, const WaveParameters& wave,
                     DirectLanes& direct) {
    const hn::CappedTag<double, block_lanes> d;
    const hn::Rebind<float, decltype(d)> df;
    const auto minus_k = hn::Set(d, -wave.wavenumber);
    const auto minus_alpha = hn::Set(d, -wave.attenuation);
    const auto turn = hn::Set(d, two_pi);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto excess = hn::Load(d, block.middle_excess.data() + lane);
        auto y = hn::Mul(minus_k, excess);
        y = hn::Sub(y, hn::Mul(turn, hn::Round(hn::Div(y, turn))));
        hn::Store(hn::DemoteTo(df, y), df, direct.y.data() + lane);
        hn::Store(hn::DemoteTo(df, hn::Mul(minus_alpha, excess)), df, direct.x.data() + lane);
        const auto path = hn::Load(d, block.direct_path.data() + lane);
        const auto magnitude = Exp(d, hn::Mul(minus_alpha, path));
        hn::Vec<decltype(d)> s;
        hn::Vec<decltype(d)> c;
        SinCos(d, hn::Mul(minus_k, path), s, c);
        hn::Store(hn::Mul(magnitude, c), d, direct.re.data() + lane);
        hn::Store(hn::Mul(magnitude, s), d, direct.im.data() + lane);
    }
}

// Sum over the samples of g (e^(-(alpha + jk)(R - R_0)) - 1) from R - R_m, sin y from the half
// angle.
void SumWavesFromMiddle(const EdgeBlock<float>& block, const SingleWave& wave,
                        const DirectLanes& direct, int samples, Lanes<float>& re,
                        Lanes<float>& im) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto half = hn::Set(d, 0.5f);
    const auto minus_k = hn::Set(d, -wave.wavenumber);
    const auto minus_alpha = hn::Set(d, -wave.attenuation);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x0 = hn::Load(d, direct.x.data() + lane);
        const auto y0 = hn::Load(d, direct.y.data() + lane);
        const auto add = [&](int i, V& sum_re, V& sum_im) HWY_ATTR {
            const int at = i * block_lanes + lane;
            const auto excess = hn::Load(d, block.excess.data() + at);
            const auto g = hn::Load(d, block.coefficient.data() + at);
            V h, c;
            SinCosSingle(d, hn::Mul(half, hn::Add(hn::Mul(minus_k, excess), y0)), h, c);
            const auto twice = hn::Add(h, h);
            auto wave_re = hn::Neg(hn::Mul(twice, h));
            auto wave_im = hn::Mul(twice, c);
            if (wave.attenuation != 0.0f) {
                const auto q = ExpMinusOneSingle(d, hn::Add(hn::Mul(minus_alpha, excess), x0));
                const auto magnitude = hn::Add(hn::Set(d, 1.0f), q);
                wave_re = hn::Add(q, hn::Mul(magnitude, wave_re));
                wave_im = hn::Mul(magnitude, wave_im);
            }
            sum_re = hn::Add(sum_re, hn::Mul(g, wave_re));
            sum_im = hn::Add(sum_im, hn::Mul(g, wave_im));
        };
        V sum_re;
        V sum_im;
        SumInFours(d, samples, add, sum_re, sum_im);
        hn::Store(sum_re, d, re.data() + lane);
        hn::Store(sum_im, d, im.data() + lane);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

// What all forms share: each sums the samples of a block.
class SingleShare : public Share {
public:
    SingleShare(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                const SingleWave& wave, std::complex<double> prefactor, EdgeDetail detail)
        : wave_(wave),
          element_(element),
          edge_(std::move(edge)),
          prefactor_(prefactor),
          detail_(detail) {}

    int tile_width() const override { return 8 * block_lanes; }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        auto& block = tile.room<EdgeBlock<float>>(
            [&] { return std::make_shared<EdgeBlock<float>>(edge_->size(), EdgeDetail::excess); });
        block.detail = detail_;
        block.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            tile.place(element_, b, block);
            tile.spend()(std::int64_t{block_lanes} * block.size);
            edge_->sample(block, 0);
            tile.note_quadrature(b, block);
            const int samples = wave_.in_fours ? block.size / 4 * 4 : block.size;
            Lanes<float> re;
            Lanes<float> im;
            Lanes<std::complex<double>> direct;
            sum(block, samples, re, im, direct);
            for (int lane = 0; lane < tile.present(b); ++lane) {
                const auto k = static_cast<std::size_t>(lane);
                if (block.reached[k] != 0) {
                    const std::complex<double> sum(static_cast<double>(re[k]),
                                                   static_cast<double>(im[k]));
                    tile.add(b, lane, sum * direct[k] * prefactor_);
                }
            }
        }
    }

protected:
    // The sums, and what they lack of the direct wave.
    virtual void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re, Lanes<float>& im,
                     Lanes<std::complex<double>>& direct) const = 0;

    const SingleWave wave_;

private:
    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<float>> edge_;
    const std::complex<double> prefactor_;
    const EdgeDetail detail_;
};

class SingleByDelays : public SingleShare {
public:
    SingleByDelays(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                   const SingleWave& wave, std::complex<double> prefactor)
        : SingleShare(element, std::move(edge), wave, prefactor, EdgeDetail::none) {}

protected:
    void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re, Lanes<float>& im,
             Lanes<std::complex<double>>& direct) const override {
        KAVRO_KERNEL(SumEdgeWavesSingle)(block, wave_, samples, re, im);
        direct.fill(1.0);
    }
};

// The direct path's phase is not rounded.
class SingleByExcess : public SingleShare {
public:
    SingleByExcess(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                   const WaveParameters& wave, bool in_fours, std::complex<double> prefactor,
                   EdgeDetail detail = EdgeDetail::excess)
        : SingleShare(element, std::move(edge),
                      {static_cast<float>(wave.wavenumber), static_cast<float>(wave.attenuation),
                       true, in_fours},
                      prefactor, detail),
          unrounded_(wave) {}

protected:
    void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re, Lanes<float>& im,
             Lanes<std::complex<double>>& direct) const override {
        KAVRO_KERNEL(SumExcessWavesSingle)(block, wave_, samples, re, im);
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            direct[lane] = wave_along(block.direct_path[lane]);
        }
        replace_overflows(block, samples, block.direct_path, re, im, direct);
    }

    // Behind a bowl's focus edge waves come before the direct wave. Where losses make more of that
    // than single precision holds, the waves are summed up by themselves.
    void replace_overflows(const EdgeBlock<float>& block, int samples,
                           const Lanes<double>& excess_from, Lanes<float>& re, Lanes<float>& im,
                           Lanes<std::complex<double>>& direct) const {
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            if (block.reached[lane] == 0 || (std::isfinite(re[lane]) && std::isfinite(im[lane]))) {
                continue;
            }
            const std::complex<double> to_end = wave_along(block.direct_path[lane]);
            std::complex<double> sum;
            for (int i = 0; i < samples; ++i) {
                const std::size_t at = static_cast<std::size_t>(i) * block_lanes + lane;
                const double path = excess_from[lane] + static_cast<double>(block.excess[at]);
                sum += static_cast<double>(block.coefficient[at]) * (wave_along(path) - to_end);
            }
            direct[lane] = sum;
            re[lane] = 1.0f;
            im[lane] = 0.0f;
        }
    }

    std::complex<double> wave_along(double path) const {
        return smart_exp(-unrounded_.attenuation * path, -unrounded_.wavenumber * path);
    }

    const WaveParameters unrounded_;
};

class SingleFromMiddle : public SingleByExcess {
public:
    SingleFromMiddle(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                     const WaveParameters& wave, bool in_fours, std::complex<double> prefactor)
        : SingleByExcess(element, std::move(edge), wave, in_fours, prefactor,
                         EdgeDetail::from_middle) {}

protected:
    void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re, Lanes<float>& im,
             Lanes<std::complex<double>>& direct) const override {
        DirectLanes lanes;
        KAVRO_KERNEL(FindDirectWaves)(block, unrounded_, lanes);
        KAVRO_KERNEL(SumWavesFromMiddle)(block, wave_, lanes, samples, re, im);
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            direct[lane] = {lanes.re[lane], lanes.im[lane]};
        }
        replace_overflows(block, samples, block.middle_path, re, im, direct);
    }
};

}  // namespace

std::unique_ptr<Share> single_wave_share(const Transducer& element,
                                         std::unique_ptr<EdgeGenerator<float>> edge,
                                         const SingleWave& wave, std::complex<double> prefactor) {
    return std::make_unique<SingleByDelays>(element, std::move(edge), wave, prefactor);
}

std::unique_ptr<Share> single_excess_share(const Transducer& element,
                                           std::unique_ptr<EdgeGenerator<float>> edge,
                                           SingleWaveBy by, const WaveParameters& wave,
                                           bool in_fours, std::complex<double> prefactor) {
    if (by == SingleWaveBy::excess) {
        return std::make_unique<SingleByExcess>(element, std::move(edge), wave, in_fours,
                                                prefactor);
    }
    return std::make_unique<SingleFromMiddle>(element, std::move(edge), wave, in_fours, prefactor);
}

}  // namespace kavro
#endif  // HWY_ONCE
