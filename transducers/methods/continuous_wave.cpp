#include "transducers/methods/continuous_wave.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/place_points.h"
#include "transducers/blocks/point_tiles.h"

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

constexpr int tile_width = 4 * block_lanes;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const EdgeGenerator<double>& edge, const WaveParameters& wave,
           std::complex<double> prefactor)
        : element_(element),
          edge_(edge),
          wave_(wave),
          prefactor_(prefactor),
          block_(edge.size(), EdgeDetail::excess) {}

    void work(int first, int count) override {
        for (int begin = 0; begin < count; begin += block_lanes) {
            const int present = std::min(count - begin, block_lanes);
            place_points(element_, first + begin, present, block_.x, block_.y, block_.z);
            const int passes = edge_.passes(block_);
            for (int pass = 0; pass < passes; ++pass) {
                spend(std::int64_t{block_lanes} * block_.size);
                edge_.sample(block_, pass);
                add_block(first + begin, present);
            }
        }
    }

private:
    void add_block(int first, int present) {
        Lanes<double> re;
        Lanes<double> im;
        KAVRO_KERNEL(SumEdgeWaves)(block_, wave_, re, im);
        for (int lane = 0; lane < present; ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (block_.reached[k] != 0) {
                const double path = block_.direct_delay[k];
                const std::complex<double> direct =
                    smart_exp(-wave_.attenuation * path, -wave_.wavenumber * path);
                element_.superpose_complex_pressure(
                    first + lane, prefactor_ * (direct * std::complex<double>(re[k], im[k])));
            }
        }
    }

    Transducer& element_;
    const EdgeGenerator<double>& edge_;
    const WaveParameters wave_;
    const std::complex<double> prefactor_;
    EdgeBlock<double> block_;
};

}  // namespace

TransducerStatus solve_continuous_wave(Transducer& element, const EdgeGenerator<double>& edge,
                                       const WaveParameters& wave, std::complex<double> prefactor) {
    return work_in_tiles(element.coordinate_grid->npoints, tile_width,
                         [&] { return std::make_unique<Worker>(element, edge, wave, prefactor); });
}

}  // namespace kavro
#endif  // HWY_ONCE
