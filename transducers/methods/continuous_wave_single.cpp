#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/methods/continuous_wave.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/methods/continuous_wave_single.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/partial_sums-inl.h"
#include "core/simd/vector_math-inl.h"

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

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

// What the two forms share: the kernel sums the samples of a block, `finish` turns a point's sum
// into its pressure.
class SingleShare : public Share {
public:
    SingleShare(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                const SingleWave& wave, std::complex<double> prefactor, EdgeDetail detail)
        : wave_(wave),
          prefactor_(prefactor),
          element_(element),
          edge_(std::move(edge)),
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
            sum(block, samples, re, im);
            for (int lane = 0; lane < tile.present(b); ++lane) {
                const auto k = static_cast<std::size_t>(lane);
                if (block.reached[k] != 0) {
                    const std::complex<double> sum(static_cast<double>(re[k]),
                                                   static_cast<double>(im[k]));
                    tile.add(b, lane, finish(sum, block, k));
                }
            }
        }
    }

protected:
    virtual void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re,
                     Lanes<float>& im) const = 0;
    virtual std::complex<double> finish(std::complex<double> sum, const EdgeBlock<float>& block,
                                        std::size_t lane) const = 0;

    const SingleWave wave_;
    const std::complex<double> prefactor_;

private:
    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<float>> edge_;
    const EdgeDetail detail_;
};

class SingleByDelays : public SingleShare {
public:
    SingleByDelays(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                   const SingleWave& wave, std::complex<double> prefactor)
        : SingleShare(element, std::move(edge), wave, prefactor, EdgeDetail::none) {}

protected:
    void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re,
             Lanes<float>& im) const override {
        KAVRO_KERNEL(SumEdgeWavesSingle)(block, wave_, samples, re, im);
    }
    std::complex<double> finish(std::complex<double> sum, const EdgeBlock<float>&,
                                std::size_t) const override {
        return sum * prefactor_;
    }
};

class SingleByExcess : public SingleShare {
public:
    SingleByExcess(const Transducer& element, std::unique_ptr<EdgeGenerator<float>> edge,
                   const WaveParameters& wave, bool in_fours, std::complex<double> prefactor)
        : SingleShare(element, std::move(edge),
                      {static_cast<float>(wave.wavenumber), static_cast<float>(wave.attenuation),
                       true, in_fours},
                      prefactor, EdgeDetail::excess),
          direct_wave_(wave) {}

protected:
    void sum(const EdgeBlock<float>& block, int samples, Lanes<float>& re,
             Lanes<float>& im) const override {
        KAVRO_KERNEL(SumExcessWavesSingle)(block, wave_, samples, re, im);
    }
    std::complex<double> finish(std::complex<double> sum, const EdgeBlock<float>& block,
                                std::size_t lane) const override {
        // The direct path's phase is not rounded.
        const double path = block.direct_path[lane];
        const std::complex<double> direct =
            smart_exp(-direct_wave_.attenuation * path, -direct_wave_.wavenumber * path);
        return sum * direct * prefactor_;
    }

private:
    const WaveParameters direct_wave_;
};

}  // namespace

std::unique_ptr<Share> single_wave_share(const Transducer& element,
                                         std::unique_ptr<EdgeGenerator<float>> edge,
                                         const SingleWave& wave, std::complex<double> prefactor) {
    return std::make_unique<SingleByDelays>(element, std::move(edge), wave, prefactor);
}

std::unique_ptr<Share> single_excess_share(const Transducer& element,
                                           std::unique_ptr<EdgeGenerator<float>> edge,
                                           const WaveParameters& wave, bool in_fours,
                                           std::complex<double> prefactor) {
    return std::make_unique<SingleByExcess>(element, std::move(edge), wave, in_fours, prefactor);
}

}  // namespace kavro
#endif  // HWY_ONCE
