#include "transducers/methods/continuous_wave.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/point_tile.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/methods/continuous_wave.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The sum over the edge samples of every lane. With x = -alpha (R - R_0), y = -k (R - R_0), q =
// e^x - 1 and h = sin(y/2): e^(x + jy) - 1 = q - 2 (1 + q) h^2 + j (1 + q) sin y.
void SumEdgeWaves(const EdgeBlock<double>& block, const WaveParameters& wave, Lanes<double>& re,
                  Lanes<double>& im) {
    const hn::CappedTag<double, block_lanes> d;
    const auto half_wavenumber = hn::Set(d, -0.5 * wave.wavenumber);
    const auto decay = hn::Set(d, -wave.attenuation);
    const auto one = hn::Set(d, 1.0);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        auto sum_re = hn::Zero(d);
        auto sum_im = hn::Zero(d);
        for (int i = 0; i < block.size; ++i) {
            const int at = i * block_lanes + lane;
            const auto excess = hn::Load(d, block.excess.data() + at);
            hn::Vec<decltype(d)> h;
            hn::Vec<decltype(d)> c;
            SinCos(d, hn::Mul(half_wavenumber, excess), h, c);
            const auto twice = hn::Add(h, h);
            auto wave_re = hn::Neg(hn::Mul(twice, h));
            auto wave_im = hn::Mul(twice, c);
            if (wave.attenuation != 0.0) {
                const auto q = ExpM1(d, hn::Mul(decay, excess));
                const auto magnitude = hn::Add(one, q);
                wave_re = hn::Add(q, hn::Mul(magnitude, wave_re));
                wave_im = hn::Mul(magnitude, wave_im);
            }
            const auto g = hn::Load(d, block.coefficient.data() + at);
            sum_re = hn::Add(sum_re, hn::Mul(g, wave_re));
            sum_im = hn::Add(sum_im, hn::Mul(g, wave_im));
        }
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

class ContinuousWave : public Share {
public:
    ContinuousWave(const Transducer& element, std::unique_ptr<EdgeGenerator<double>> edge,
                   const WaveParameters& wave, std::complex<double> prefactor)
        : element_(element), edge_(std::move(edge)), wave_(wave), prefactor_(prefactor) {}

    int tile_width() const override { return 4 * block_lanes; }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        auto& block = tile.room<EdgeBlock<double>>(
            [&] { return std::make_shared<EdgeBlock<double>>(edge_->size(), EdgeDetail::excess); });
        block.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            tile.place(element_, b, block);
            const int passes = edge_->passes(block);
            for (int pass = 0; pass < passes; ++pass) {
                tile.spend()(std::int64_t{block_lanes} * block.size);
                edge_->sample(block, pass);
                tile.note_quadrature(b, block);
                add_block(block, tile, b);
            }
        }
    }

private:
    void add_block(const EdgeBlock<double>& block, PointTile& tile, int b) const {
        Lanes<double> re;
        Lanes<double> im;
        KAVRO_KERNEL(SumEdgeWaves)(block, wave_, re, im);
        for (int lane = 0; lane < tile.present(b); ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (block.reached[k] != 0) {
                const double path = block.direct_delay[k];
                const std::complex<double> direct =
                    smart_exp(-wave_.attenuation * path, -wave_.wavenumber * path);
                const std::complex<double> sum(re[k], im[k]);
                // Behind a bowl's focus edge waves come before the direct wave. Where losses make
                // more of that than a double holds, nothing of the field is left.
                const bool is_silent =
                    wave_.attenuation * path > 700.0 && !std::isfinite(sum.real());
                if (!is_silent) {
                    tile.add(b, lane, prefactor_ * (direct * sum));
                }
            }
        }
    }

    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<double>> edge_;
    const WaveParameters wave_;
    const std::complex<double> prefactor_;
};

}  // namespace

std::unique_ptr<Share> continuous_wave_share(const Transducer& element,
                                             std::unique_ptr<EdgeGenerator<double>> edge,
                                             const WaveParameters& wave,
                                             std::complex<double> prefactor) {
    return std::make_unique<ContinuousWave>(element, std::move(edge), wave, prefactor);
}

}  // namespace kavro
#endif  // HWY_ONCE
