#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include "core/constants.h"
#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/point_tile.h"
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
    bool from_middle;
    Lanes<Real> middle;         // R_m, from the face's middle
    Lanes<double> middle_path;  // before rounding
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

// R - R_m of sample j: R^2 - R_m^2 by the sum of both, so that nothing of it grows with R.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V FromMiddle(D d, const SurfaceRow<float>& row, size_t j, V x, V y, V z, V R, V R_m) {
    const auto gained = [&](float s, V p) HWY_ATTR {
        return hn::Mul(hn::Set(d, s), hn::Sub(hn::Set(d, s), hn::Add(p, p)));
    };
    const auto all =
        hn::Add(hn::Add(gained(row.x[j], x), gained(row.y[j], y)), gained(row.z[j], z));
    const auto least = hn::Set(d, std::numeric_limits<float>::min());  // both are in the middle
    return hn::Div(all, hn::Max(hn::Add(R, R_m), least));
}

template <bool kFromMiddle>
HWY_INLINE void SumRowInSingle(const SurfaceRow<float>& row, RowSum<float>& sum) {
    const hn::CappedTag<float, block_lanes> d;
    using V = hn::Vec<decltype(d)>;
    const auto minus_k = hn::Set(d, -sum.wavenumber);
    const auto minus_alpha = hn::Set(d, -sum.attenuation);
    const auto samples = static_cast<size_t>(sum.samples);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, sum.x.data() + lane);
        const auto y = hn::Load(d, sum.y.data() + lane);
        const auto z = hn::Load(d, sum.z.data() + lane);
        const auto R_m = hn::Load(d, sum.middle.data() + lane);
        const auto add = [&](size_t j, V& re, V& im) HWY_ATTR {
            const auto R = Distance(d, row, j, x, y, z);
            const auto path = kFromMiddle ? FromMiddle(d, row, j, x, y, z, R, R_m) : R;
            V wave_re;
            V wave_im;
            if (kFromMiddle && sum.attenuation == 0.0f) {
                SinCosSingle(d, hn::Mul(minus_k, path), wave_im, wave_re);
            } else {
                ComplexExpSingle(d, hn::Mul(minus_alpha, path), hn::Mul(minus_k, path), wave_re,
                                 wave_im);
            }
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

void SumRowSingle(const SurfaceRow<float>& row, RowSum<float>& sum) {
    if (sum.from_middle) {
        SumRowInSingle<true>(row, sum);
    } else {
        SumRowInSingle<false>(row, sum);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

template <class Real>
class Rayleigh : public Share {
public:
    Rayleigh(const Transducer& element, std::unique_ptr<SurfaceRows<Real>> surface,
             const WaveParameters& wave, const SurfaceManners& manners,
             std::complex<double> prefactor)
        : element_(element),
          surface_(std::move(surface)),
          wave_(wave),
          manners_(manners),
          prefactor_(prefactor) {}

    std::size_t bytes() const override {
        return static_cast<std::size_t>(surface_->samples_per_row()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        RowSum<Real> sum{};
        sum.wavenumber = static_cast<Real>(wave_.wavenumber);
        sum.attenuation = static_cast<Real>(wave_.attenuation);
        sum.averaged_within = static_cast<Real>(averaged_within(manners_.means_within_rounding));
        const int samples = surface_->samples_per_row();
        const bool in_fours = std::is_same_v<Real, float> && manners_.in_fours;
        sum.samples = in_fours ? samples / 4 * 4 : samples;
        sum.from_middle = std::is_same_v<Real, float> && manners_.from_middle;
        auto& row = tile.room<SurfaceRow<Real>>(
            [&] { return std::make_shared<SurfaceRow<Real>>(samples); });
        row.resize(samples);
        for (int b = 0; b < tile.blocks(); ++b) {
            add_block(tile, b, row, sum);
        }
    }

private:
    void add_block(PointTile& tile, int b, SurfaceRow<Real>& row, RowSum<Real>& sum) const {
        const Lanes<bool> reached = place(tile, b, sum);
        Lanes<double> re{};
        Lanes<double> im{};
        for (int i = 0; i < surface_->rows(); ++i) {
            tile.spend()(std::int64_t{block_lanes} * sum.samples);
            surface_->fill(i, row);
            if constexpr (std::is_same_v<Real, float>) {
                KAVRO_KERNEL(SumRowSingle)(row, sum);
            } else {
                KAVRO_KERNEL(SumRowDouble)(row, sum);
            }
            for (std::size_t k = 0; k < block_lanes; ++k) {
                re[k] += static_cast<double>(sum.re[k]) * row.row_weight;
                im[k] += static_cast<double>(sum.im[k]) * row.row_weight;
            }
        }
        for (int lane = 0; lane < tile.present(b); ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (reached[k]) {
                std::complex<double> pressure(re[k], im[k]);
                if (sum.from_middle) {
                    const double path = sum.middle_path[k];
                    pressure *= smart_exp(-wave_.attenuation * path, -wave_.wavenumber * path);
                }
                tile.add(b, lane, pressure * prefactor_);
            }
        }
    }

    // Returns which points receive anything.
    Lanes<bool> place(const PointTile& tile, int b, RowSum<Real>& sum) const {
        Lanes<CartesianCoordinate> local;
        tile.place(element_, b, local);
        Lanes<bool> reached;
        for (std::size_t k = 0; k < block_lanes; ++k) {
            reached[k] = surface_->reaches(local[k]);
            const CartesianCoordinate p = surface_->turned(local[k]);
            sum.x[k] = static_cast<Real>(p.x);
            sum.y[k] = static_cast<Real>(p.y);
            sum.z[k] = static_cast<Real>(p.z);
            sum.middle_path[k] = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
            sum.middle[k] = static_cast<Real>(sum.middle_path[k]);
        }
        return reached;
    }

    const Transducer& element_;
    const std::unique_ptr<SurfaceRows<Real>> surface_;
    const WaveParameters wave_;
    const SurfaceManners manners_;
    const std::complex<double> prefactor_;
};

}  // namespace

template <class Real>
std::unique_ptr<Share> rayleigh_share(const Transducer& element,
                                      std::unique_ptr<SurfaceRows<Real>> surface,
                                      const WaveParameters& wave, const SurfaceManners& manners,
                                      std::complex<double> prefactor) {
    return std::make_unique<Rayleigh<Real>>(element, std::move(surface), wave, manners, prefactor);
}

template std::unique_ptr<Share> rayleigh_share<float>(const Transducer&,
                                                      std::unique_ptr<SurfaceRows<float>>,
                                                      const WaveParameters&, const SurfaceManners&,
                                                      std::complex<double>);
template std::unique_ptr<Share> rayleigh_share<double>(const Transducer&,
                                                       std::unique_ptr<SurfaceRows<double>>,
                                                       const WaveParameters&, const SurfaceManners&,
                                                       std::complex<double>);

}  // namespace kavro
#endif  // HWY_ONCE
