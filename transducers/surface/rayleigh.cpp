#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/surface/surface_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/surface/rayleigh.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/partial_sums-inl.h"
#include "core/simd/sincos-inl.h"
#include "core/simd/vector_math-inl.h"

#ifndef KAVRO_RAYLEIGH_BLOCK
#define KAVRO_RAYLEIGH_BLOCK
namespace kavro {

// A block of points and the sum of one row at each.
template <class Real>
struct RowSum {
    Lanes<Real> x, y, z;
    Real wavenumber, attenuation;
    Real averaged_within;
    int samples;  // that are summed
    Lanes<Real> re, im;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// R of sample j.
template <class D, class Real, class V = hn::Vec<D>>
HWY_INLINE V Distance(D d, const SurfaceRow<Real>& row, size_t j, V x, V y, V z) {
    const auto dx = hn::Sub(x, hn::Set(d, row.x[j]));
    const auto dy = hn::Sub(y, hn::Set(d, row.y[j]));
    const auto dz = hn::Sub(z, hn::Set(d, row.z[j]));
    return hn::Sqrt(hn::Add(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy)), hn::Mul(dz, dz)));
}

// The weight of sample j over R, or its mean close to the sample.
template <class D, class Real, class V = hn::Vec<D>>
HWY_INLINE V WeightOverDistance(D d, const SurfaceRow<Real>& row, const RowSum<Real>& sum, size_t j,
                                V R) {
    const auto weight = row.weight[j];
    const auto area = weight * static_cast<Real>(row.row_weight);
    const auto quotient = hn::Div(hn::Set(d, weight), R);
    const auto near = hn::Le(hn::Mul(R, R), hn::Set(d, std::abs(area) * sum.averaged_within));
    if (HWY_LIKELY(hn::AllFalse(d, near))) {
        return quotient;
    }
    const double mean = row.row_weight != 0.0 ? mean_share(area) / row.row_weight : 0.0;
    return hn::IfThenElse(near, hn::Set(d, static_cast<Real>(mean)), quotient);
}

void SumRowDouble(const SurfaceRow<double>& row, RowSum<double>& sum) {
    const hn::CappedTag<double, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto minus_k = hn::Set(d, -sum.wavenumber);
    const auto minus_alpha = hn::Set(d, -sum.attenuation);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, sum.x.data() + lane);
        const auto y = hn::Load(d, sum.y.data() + lane);
        const auto z = hn::Load(d, sum.z.data() + lane);
        auto re = hn::Zero(d);
        auto im = hn::Zero(d);
        for (size_t j = 0; j < static_cast<size_t>(sum.samples); ++j) {
            const auto R = Distance(d, row, j, x, y, z);
            V s;
            V c;
            SinCos(d, hn::Mul(minus_k, R), s, c);
            auto magnitude = WeightOverDistance(d, row, sum, j, R);
            if (sum.attenuation != 0.0) {
                magnitude = hn::Mul(magnitude, Exp(d, hn::Mul(minus_alpha, R)));
            }
            re = hn::Add(re, hn::Mul(magnitude, c));
            im = hn::Add(im, hn::Mul(magnitude, s));
        }
        hn::Store(re, d, sum.re.data() + lane);
        hn::Store(im, d, sum.im.data() + lane);
    }
}

void SumRowSingle(const SurfaceRow<float>& row, RowSum<float>& sum) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto minus_k = hn::Set(d, -sum.wavenumber);
    const auto minus_alpha = hn::Set(d, -sum.attenuation);
    const auto samples = static_cast<size_t>(sum.samples);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, sum.x.data() + lane);
        const auto y = hn::Load(d, sum.y.data() + lane);
        const auto z = hn::Load(d, sum.z.data() + lane);
        const auto add = [&](size_t j, V& re, V& im) HWY_ATTR {
            const auto R = Distance(d, row, j, x, y, z);
            V wave_re;
            V wave_im;
            ComplexExpSingle(d, hn::Mul(minus_alpha, R), hn::Mul(minus_k, R), wave_re, wave_im);
            const auto magnitude = WeightOverDistance(d, row, sum, j, R);
            re = hn::Add(re, hn::Mul(magnitude, wave_re));
            im = hn::Add(im, hn::Mul(magnitude, wave_im));
        };
        V sum_re;
        V sum_im;
        SumInFours(d, samples, add, sum_re, sum_im);
        hn::Store(sum_re, d, sum.re.data() + lane);
        hn::Store(sum_im, d, sum.im.data() + lane);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

template <class Real>
class Worker : public TileWorker {
public:
    Worker(Transducer& element, const SurfaceRows<Real>& surface, const WaveParameters& wave,
           std::complex<double> prefactor)
        : element_(element),
          surface_(surface),
          prefactor_(prefactor),
          row_(surface.samples_per_row()) {
        sum_.wavenumber = static_cast<Real>(wave.wavenumber);
        sum_.attenuation = static_cast<Real>(wave.attenuation);
        sum_.averaged_within = static_cast<Real>(averaged_within(element));
        const bool in_fours = std::is_same_v<Real, float> && !element.exact();
        const int samples = surface.samples_per_row();
        sum_.samples = in_fours ? samples / 4 * 4 : samples;
    }

    void work(int first, int count) override {
        place(first, count);
        Lanes<double> re{};
        Lanes<double> im{};
        for (int i = 0; i < surface_.rows(); ++i) {
            spend(std::int64_t{block_lanes} * sum_.samples);
            surface_.fill(i, row_);
            if constexpr (std::is_same_v<Real, float>) {
                KAVRO_KERNEL(SumRowSingle)(row_, sum_);
            } else {
                KAVRO_KERNEL(SumRowDouble)(row_, sum_);
            }
            for (std::size_t k = 0; k < block_lanes; ++k) {
                re[k] += static_cast<double>(sum_.re[k]) * row_.row_weight;
                im[k] += static_cast<double>(sum_.im[k]) * row_.row_weight;
            }
        }
        for (int lane = 0; lane < count; ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (reached_[k]) {
                element_.superpose_complex_pressure(
                    first + lane, std::complex<double>(re[k], im[k]) * prefactor_);
            }
        }
    }

private:
    void place(int first, int count) {
        for (int lane = 0; lane < block_lanes; ++lane) {
            CartesianCoordinate p = element_.rotateTranslate(
                element_.coordinate_grid->spatial_index_value(first + std::min(lane, count - 1)));
            const auto k = static_cast<std::size_t>(lane);
            reached_[k] = surface_.reaches(p);
            if (surface_.is_half_of_axisymmetric()) {
                p = {std::sqrt(p.x * p.x + p.y * p.y), 0.0, p.z};
            }
            sum_.x[k] = static_cast<Real>(p.x);
            sum_.y[k] = static_cast<Real>(p.y);
            sum_.z[k] = static_cast<Real>(p.z);
        }
    }

    Transducer& element_;
    const SurfaceRows<Real>& surface_;
    const std::complex<double> prefactor_;
    SurfaceRow<Real> row_;
    RowSum<Real> sum_{};
    Lanes<bool> reached_{};
};

}  // namespace

template <class Real>
TransducerStatus solve_rayleigh(Transducer& element, const SurfaceRows<Real>& surface,
                                const WaveParameters& wave, std::complex<double> prefactor) {
    return work_in_tiles(element.coordinate_grid->npoints, block_lanes, [&] {
        return std::make_unique<Worker<Real>>(element, surface, wave, prefactor);
    });
}

template TransducerStatus solve_rayleigh<float>(Transducer&, const SurfaceRows<float>&,
                                                const WaveParameters&, std::complex<double>);
template TransducerStatus solve_rayleigh<double>(Transducer&, const SurfaceRows<double>&,
                                                 const WaveParameters&, std::complex<double>);

}  // namespace kavro
#endif  // HWY_ONCE
