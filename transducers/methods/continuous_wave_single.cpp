#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/place_points.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/methods/continuous_wave.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/methods/continuous_wave_single.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/partial_sums-inl.h"
#include "core/simd/vector_math-inl.h"

#ifndef KAVRO_SINGLE_WAVE
#define KAVRO_SINGLE_WAVE
namespace kavro {

struct SingleWave {
    float wavenumber;
    float attenuation;
    bool edge_is_damped;
    bool in_fours;  // samples beyond a multiple of four are left out
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void SumEdgeWavesSingle(const EdgeBlock<float>& block, const SingleWave& wave, Lanes<float>& re,
                        Lanes<float>& im) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto minus_k = hn::Set(d, -wave.wavenumber);
    const auto minus_alpha = hn::Set(d, -wave.attenuation);
    const int samples = wave.in_fours ? block.size / 4 * 4 : block.size;
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

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

constexpr int tile_width = 8 * block_lanes;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const EdgeGenerator<float>& edge, const SingleWave& wave,
           std::complex<double> prefactor)
        : element_(element), edge_(edge), wave_(wave), prefactor_(prefactor), block_(edge.size()) {}

    void work(int first, int count) override {
        for (int begin = 0; begin < count; begin += block_lanes) {
            const int present = std::min(count - begin, block_lanes);
            place_points(element_, first + begin, present, block_.x, block_.y, block_.z);
            spend(std::int64_t{block_lanes} * block_.size);
            edge_.sample(block_, 0);
            Lanes<float> re;
            Lanes<float> im;
            KAVRO_KERNEL(SumEdgeWavesSingle)(block_, wave_, re, im);
            for (int lane = 0; lane < present; ++lane) {
                const auto k = static_cast<std::size_t>(lane);
                if (block_.reached[k] != 0) {
                    const std::complex<double> sum(static_cast<double>(re[k]),
                                                   static_cast<double>(im[k]));
                    element_.superpose_complex_pressure(first + begin + lane, sum * prefactor_);
                }
            }
        }
    }

private:
    Transducer& element_;
    const EdgeGenerator<float>& edge_;
    const SingleWave wave_;
    const std::complex<double> prefactor_;
    EdgeBlock<float> block_;
};

}  // namespace

TransducerStatus solve_continuous_wave_single(Transducer& element, const EdgeGenerator<float>& edge,
                                              const WaveParameters& wave,
                                              std::complex<double> prefactor, EdgeDamping damping) {
    const SingleWave single{static_cast<float>(wave.wavenumber),
                            static_cast<float>(wave.attenuation), damping == EdgeDamping::damped,
                            !element.exact()};
    return work_in_tiles(element.coordinate_grid->npoints, tile_width, [&] {
        return std::make_unique<Worker>(element, edge, single, prefactor);
    });
}

}  // namespace kavro
#endif  // HWY_ONCE
