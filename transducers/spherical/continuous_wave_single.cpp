// A bowl's continuous-wave pressure by the fast nearfield method in single precision.
#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/spherical/methods.h"
#include "transducers/spherical/spherical_edge.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/spherical/continuous_wave_single.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/partial_sums-inl.h"
#include "core/simd/vector_math-inl.h"

#ifndef KAVRO_SPHERICAL_SINGLE_WAVE
#define KAVRO_SPHERICAL_SINGLE_WAVE
namespace kavro {

struct SphericalSingleWave {
    float wavenumber;
    float attenuation;
    int samples;  // that are summed
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

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
void SumExcessWavesSingle(const EdgeBlock<float>& block, const SphericalSingleWave& wave,
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
        SumInFours(d, wave.samples, add, sum_re, sum_im);
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
    Worker(Transducer& element, const SphericalGeometry& geometry, const SphericalEdge<float>& edge,
           const WaveParameters& wave, std::complex<double> prefactor)
        : element_(element),
          geometry_(geometry),
          edge_(edge),
          wave_(wave),
          prefactor_(prefactor),
          block_(edge.size(), EdgeDetail::excess) {}

    void work(int first, int count) override {
        for (int begin = 0; begin < count; begin += block_lanes) {
            add_block(first + begin, std::min(count - begin, block_lanes));
        }
    }

private:
    void add_block(int first, int present) {
        for (int lane = 0; lane < block_lanes; ++lane) {
            block_.unrounded[static_cast<std::size_t>(lane)] = element_.rotateTranslate(
                element_.coordinate_grid->spatial_index_value(first + std::min(lane, present - 1)));
        }
        spend(std::int64_t{block_lanes} * block_.size);
        edge_.sample(block_, 0);
        const SphericalSingleWave single{static_cast<float>(wave_.wavenumber),
                                         static_cast<float>(wave_.attenuation),
                                         element_.exact() ? edge_.size() : edge_.size() / 4 * 4};
        Lanes<float> re;
        Lanes<float> im;
        KAVRO_KERNEL(SumExcessWavesSingle)(block_, single, re, im);
        for (int lane = 0; lane < present; ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (block_.reached[k] != 0) {
                // The direct path's phase is not rounded.
                const double path = geometry_.pole(axial(block_.unrounded[k])).path;
                const std::complex<double> direct =
                    smart_exp(-wave_.attenuation * path, -wave_.wavenumber * path);
                const std::complex<double> sum(static_cast<double>(re[k]),
                                               static_cast<double>(im[k]));
                element_.superpose_complex_pressure(first + lane, sum * direct * prefactor_);
            }
        }
    }

    Transducer& element_;
    const SphericalGeometry& geometry_;
    const SphericalEdge<float>& edge_;
    const WaveParameters wave_;
    const std::complex<double> prefactor_;
    EdgeBlock<float> block_;
};

}  // namespace

// No amplitude test: an element of amplitude zero is computed in full. Nearly hemispherical bowls,
// whose two poles single precision would not hold, are computed in double precision.
TransducerStatus spherical_fnm_cw_sse(Transducer& element, const SphericalGeometry& geometry) {
    if (!element.has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_of(*element.medium);
    if (geometry.has_nearly_hemispherical_rim()) {
        return solve_spherical_continuous_wave(element, geometry, wave);
    }
    element.InitializeRotationMatrix();
    return guarded([&] {
        const SphericalEdge<float> edge(element, geometry, SphericalReach::facing,
                                        EdgeUnits::lengths);
        const Medium& medium = *element.medium;
        std::complex<double> prefactor =
            medium._rho_density * medium._soundspeed * element.complex_weight;
        if (element.exact()) {
            prefactor *= loss_factor(wave);
        }
        return work_in_tiles(element.coordinate_grid->npoints, tile_width, [&] {
            return std::make_unique<Worker>(element, geometry, edge, wave, prefactor);
        });
    });
}

}  // namespace kavro
#endif  // HWY_ONCE
