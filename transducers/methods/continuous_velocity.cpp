#include "transducers/methods/continuous_velocity.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/constants.h"
#include "core/numeric_kernels.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/point_tile.h"

#ifndef KAVRO_CONTINUOUS_VELOCITY_SUMS
#define KAVRO_CONTINUOUS_VELOCITY_SUMS
namespace kavro {

// The four sums of every lane, over e^(-gamma R_0).
struct GradientSums {
    struct Sum {
        Lanes<double> re, im;
    };
    Sum pressure, ahead, across, aside;
};

}  // namespace kavro
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/methods/continuous_velocity.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/complex-inl.h"
#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, block_lanes>;
using V = hn::Vec<Tag>;

using Complex = ComplexVec<V>;

HWY_INLINE void Add(Complex& sum, V factor, Complex term) {
    sum = Sum(sum, Scaled(term, factor));
}

HWY_INLINE void Store(const Complex& value, GradientSums::Sum& out, int lane) {
    const Tag d;
    hn::Store(value.re, d, out.re.data() + lane);
    hn::Store(value.im, d, out.im.data() + lane);
}

// m(x) = e^-x (1 + x) - 1, which is small for both waves of nearly equal paths: close to 0 by its
// series.
HWY_INLINE Complex Moment(Complex x, Complex wave) {
    const Tag d;
    const auto one = hn::Set(d, 1.0);
    const Complex plain = Sum(wave, Product(x, {hn::Add(one, wave.re), wave.im}));
    const auto size = hn::Add(hn::Mul(x.re, x.re), hn::Mul(x.im, x.im));
    const auto is_small = hn::Lt(size, hn::Set(d, 1.0 / 16.0));
    if (hn::AllFalse(d, is_small)) {
        return plain;
    }
    // (-1)^(n - 1) (n - 1) / n! of x^n.
    constexpr double coefficients[] = {12.0 / 6227020800.0, -11.0 / 479001600.0, 10.0 / 39916800.0,
                                       -9.0 / 3628800.0,    8.0 / 362880.0,      -7.0 / 40320.0,
                                       6.0 / 5040.0,        -5.0 / 720.0,        4.0 / 120.0,
                                       -3.0 / 24.0,         2.0 / 6.0,           -1.0 / 2.0};
    Complex series{hn::Zero(d), hn::Zero(d)};
    for (const double coefficient : coefficients) {
        series = Product(series, x);
        series.re = hn::Add(series.re, hn::Set(d, coefficient));
    }
    series = Product(Product(series, x), x);
    return {hn::IfThenElse(is_small, series.re, plain.re),
            hn::IfThenElse(is_small, series.im, plain.im)};
}

// A sample's wave less the direct one is e1 = e^(-gamma E) - 1, as continuous_wave.cpp forms it.
// With delta = E/R (R_0' + kappa E / 2), it adds
//
//     A = kappa/gamma m(gamma E) + R_0' e1 - delta (1 + e1)
//
// ahead. Where all paths are long, across takes 1/R less the one number 1/R_0 that its coefficients
// sum up to nothing of: they grow without end towards a bowl's focus.
template <bool kCurved>
HWY_INLINE void SumGradient(const EdgeBlock<double>& block, const WaveParameters& wave,
                            GradientSums& out) {
    const Tag d;
    const auto half_wavenumber = hn::Set(d, -0.5 * wave.wavenumber);
    const auto decay = hn::Set(d, -wave.attenuation);
    const auto zero = hn::Zero(d);
    const auto one = hn::Set(d, 1.0);
    const std::complex<double> gamma(wave.attenuation, wave.wavenumber);
    const std::complex<double> inverse = 1.0 / gamma;
    const EdgeGradient<double>& gradient = block.gradient;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto curvature = hn::Load(d, gradient.curvature.data() + lane);
        const auto half_curvature = hn::Mul(curvature, hn::Set(d, 0.5));
        const auto slope = hn::Load(d, gradient.direct_slope.data() + lane);
        const auto direct = hn::Load(d, block.direct_delay.data() + lane);
        const auto is_near_focus = hn::Gt(hn::Mul(curvature, direct), one);
        const auto inverse_direct = hn::Div(one, hn::IfThenElse(is_near_focus, direct, one));
        const Complex by_moment = Scaled(SetComplex(d, inverse), curvature);
        Complex pressure{zero, zero};
        Complex ahead{zero, zero};
        Complex across{zero, zero};
        Complex aside{zero, zero};
        for (int i = 0; i < block.size; ++i) {
            const int at = i * block_lanes + lane;
            const auto excess = hn::Load(d, block.excess.data() + at);
            V h;
            V c;
            SinCos(d, hn::Mul(half_wavenumber, excess), h, c);
            const auto twice = hn::Add(h, h);
            Complex e1{hn::Neg(hn::Mul(twice, h)), hn::Mul(twice, c)};
            if (wave.attenuation != 0.0) {
                const auto q = ExpM1(d, hn::Mul(decay, excess));
                const auto magnitude = hn::Add(one, q);
                e1.re = hn::Add(q, hn::Mul(magnitude, e1.re));
                e1.im = hn::Mul(magnitude, e1.im);
            }
            const auto g = hn::Load(d, block.coefficient.data() + at);
            Add(pressure, g, e1);

            const auto R = hn::Load(d, block.delay.data() + at);
            const auto is_apart = hn::Gt(R, zero);  // the edge's own velocity is infinite
            const auto inverse_R =
                hn::IfThenElseZero(is_apart, hn::Div(one, hn::IfThenElse(is_apart, R, one)));
            const auto relative = hn::Mul(excess, inverse_R);
            const auto bend = kCurved ? hn::Add(slope, hn::Mul(half_curvature, excess)) : slope;
            const auto delta = hn::Mul(relative, bend);
            Complex A = Scaled(e1, hn::Sub(slope, delta));
            A.re = hn::Sub(A.re, delta);
            if constexpr (kCurved) {
                const Complex x = Scaled(SetComplex(d, gamma), excess);
                A = Sum(A, Product(by_moment, Moment(x, e1)));
            }
            Add(ahead, g, A);
            Complex T = e1;
            if constexpr (kCurved) {
                const auto shift =
                    hn::IfThenElse(is_near_focus, hn::Neg(hn::Mul(excess, inverse_direct)), one);
                T.re = hn::Add(T.re, shift);
            } else {
                T.re = hn::Add(T.re, one);
            }
            T = Scaled(T, inverse_R);
            Add(across, hn::Load(d, gradient.across_coefficient.data() + at), T);
            if (gradient.has_aside) {
                Add(aside, hn::Load(d, gradient.aside_coefficient.data() + at), T);
            }
        }
        Store(pressure, out.pressure, lane);
        Store(ahead, out.ahead, lane);
        Store(across, out.across, lane);
        Store(aside, out.aside, lane);
    }
}

void SumFlatGradient(const EdgeBlock<double>& block, const WaveParameters& wave,
                     GradientSums& out) {
    SumGradient<false>(block, wave, out);
}

void SumCurvedGradient(const EdgeBlock<double>& block, const WaveParameters& wave,
                       GradientSums& out) {
    SumGradient<true>(block, wave, out);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

// Of its own, because the block of other methods has no gradient.
struct GradientBlock : EdgeBlock<double> {
    using EdgeBlock<double>::EdgeBlock;
};

class ContinuousVelocity : public Share {
public:
    ContinuousVelocity(const Transducer& element, std::unique_ptr<EdgeGenerator<double>> edge,
                       const WaveParameters& wave, std::complex<double> prefactor,
                       const VelocityOutput& output)
        : element_(element),
          edge_(std::move(edge)),
          wave_(wave),
          prefactor_(prefactor),
          output_(output) {
        const Medium& medium = *element.medium;
        const double omega = two_pi / wavelength_of(medium) * medium._soundspeed;
        factor_ = prefactor * std::complex<double>(wave.attenuation, wave.wavenumber) /
                  std::complex<double>(0.0, omega * medium._rho_density);
    }

    int tile_width() const override { return 4 * block_lanes; }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        auto& block = tile.room<GradientBlock>(
            [&] { return std::make_shared<GradientBlock>(edge_->size(), EdgeDetail::gradient); });
        block.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            tile.place(element_, b, block);
            const int passes = edge_->passes(block);
            for (int pass = 0; pass < passes; ++pass) {
                tile.spend()(std::int64_t{2 * block_lanes} * block.size);
                edge_->sample(block, pass);
                tile.note_quadrature(b, block);
                add_block(block, tile, b);
            }
        }
    }

private:
    void add_block(const EdgeBlock<double>& block, PointTile& tile, int b) const {
        const EdgeGradient<double>& gradient = block.gradient;
        GradientSums sums;
        if (gradient.curvature[0] == 0.0) {
            KAVRO_KERNEL(SumFlatGradient)(block, wave_, sums);
        } else {
            KAVRO_KERNEL(SumCurvedGradient)(block, wave_, sums);
        }
        for (int lane = 0; lane < tile.present(b); ++lane) {
            const auto k = static_cast<std::size_t>(lane);
            if (block.reached[k] == 0) {
                continue;
            }
            const double path = block.direct_delay[k];
            const std::complex<double> direct =
                smart_exp(-wave_.attenuation * path, -wave_.wavenumber * path);
            // As in continuous_wave.cpp, of every sum by itself.
            const bool is_far = wave_.attenuation * path > 700.0;
            const auto along = [&](const GradientSums::Sum& sum) {
                const bool is_silent =
                    is_far && !(std::isfinite(sum.re[k]) && std::isfinite(sum.im[k]));
                return is_silent ? 0.0 : std::complex<double>(sum.re[k], sum.im[k]);
            };
            tile.add(b, lane, prefactor_ * (direct * along(sums.pressure)));
            const std::complex<double> scale = factor_ * direct;
            add_velocity(b, lane, tile, gradient.ahead[k], scale * along(sums.ahead));
            add_velocity(b, lane, tile, gradient.across[k], scale * along(sums.across));
            if (gradient.has_aside) {
                add_velocity(b, lane, tile, gradient.aside[k], scale * along(sums.aside));
            }
        }
    }

    // The component along a direction in the element's frame.
    void add_velocity(int b, int lane, const PointTile& tile, const CartesianCoordinate& direction,
                      const std::complex<double>& value) const {
        const std::array<double, 9>& m = element_.rotation_matrix;
        const auto points = static_cast<std::size_t>(element_.coordinate_grid->npoints);
        auto i = static_cast<std::size_t>(tile.first_of(b) + lane);
        for (std::size_t q = 0; q < 3; ++q, i += points) {
            const double global =
                m[q] * direction.x + m[3 + q] * direction.y + m[6 + q] * direction.z;
            output_.real[i] += global * value.real();
            output_.imaginary[i] += global * value.imag();
        }
    }

    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<double>> edge_;
    const WaveParameters wave_;
    const std::complex<double> prefactor_;
    const VelocityOutput output_;
    std::complex<double> factor_;
};

}  // namespace

std::unique_ptr<Share> continuous_velocity_share(const Transducer& element,
                                                 std::unique_ptr<EdgeGenerator<double>> edge,
                                                 const WaveParameters& wave,
                                                 std::complex<double> prefactor,
                                                 const VelocityOutput& output) {
    return std::make_unique<ContinuousVelocity>(element, std::move(edge), wave, prefactor, output);
}

}  // namespace kavro
#endif  // HWY_ONCE
