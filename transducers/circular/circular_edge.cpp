#include "transducers/circular/circular_edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/circular/circular_edge.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef KAVRO_CIRCULAR_EDGE_TABLES
#define KAVRO_CIRCULAR_EDGE_TABLES
namespace kavro {

template <class Real>
struct CircularTables {
    const Real* radii;  // of the outer rim and the hole's
    int rims;
    int abscissas;
    Real speed;
    DelayBy delay_by;
    const Real* cosine;
    const Real* two_a_cosine;
    const Real* weight;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class V, class Real>
HWY_INLINE V AsDelay(V distance, const CircularTables<Real>& disc) {
    const hn::DFromV<V> d;
    return disc.delay_by == DelayBy::quotient ? hn::Div(distance, hn::Set(d, disc.speed))
                                              : hn::Mul(distance, hn::Set(d, Real(1) / disc.speed));
}

// In double and by division in every variant.
template <class V>
HWY_INLINE V NearestRimDelay(V gap, V z_squared, double speed) {
    const hn::DFromV<V> d;
    return hn::Div(hn::Sqrt(hn::Add(hn::Mul(gap, gap), z_squared)), hn::Set(d, speed));
}

HWY_INLINE void StoreRimDelay(const float* gap, const float* z_squared, float speed, float* out) {
    const hn::CappedTag<double, block_lanes> d;
    const hn::Rebind<float, decltype(d)> df;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto wide_gap = hn::PromoteTo(d, hn::Load(df, gap + lane));
        const auto wide_z = hn::PromoteTo(d, hn::Load(df, z_squared + lane));
        const auto delay = NearestRimDelay(wide_gap, wide_z, static_cast<double>(speed));
        hn::Store(hn::DemoteTo(df, delay), df, out + lane);
    }
}

HWY_INLINE void StoreRimDelay(const double* gap, const double* z_squared, double speed,
                              double* out) {
    const hn::CappedTag<double, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto delay =
            NearestRimDelay(hn::Load(d, gap + lane), hn::Load(d, z_squared + lane), speed);
        hn::Store(delay, d, out + lane);
    }
}

template <class Real>
HWY_INLINE Real OuterRadius(const CircularTables<Real>& disc) {
    return disc.rims > 0 ? disc.radii[0] : Real(0);
}

// From the foot of a point to the nearest rim, negative on the face.
template <class V, class Real>
HWY_INLINE V Gap(V r, const CircularTables<Real>& disc) {
    const hn::DFromV<V> d;
    const auto outside = hn::Sub(r, hn::Set(d, OuterRadius(disc)));
    if (disc.rims < 2) {
        return outside;
    }
    const auto into_hole = hn::Sub(hn::Set(d, disc.radii[1]), r);
    return hn::IfThenElse(hn::Gt(into_hole, hn::Zero(d)), into_hole, outside);
}

// R_i - R_0 = D_i / (R_i + z).
template <class Real>
HWY_INLINE void StoreExcess(EdgeBlock<Real>& block, const CircularTables<Real>& disc) {
    const hn::CappedTag<Real, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto r_squared = hn::Add(hn::Mul(y, y), hn::Mul(x, x));
        const auto r = hn::Sqrt(r_squared);
        for (int i = 0; i < block.size; ++i) {
            const Real a = disc.radii[i / disc.abscissas];
            const auto a_squared = hn::Set(d, a * a);
            const auto D = hn::Sub(hn::Add(r_squared, a_squared),
                                   hn::Mul(hn::Set(d, disc.two_a_cosine[i]), r));
            const auto R = hn::Load(d, block.delay.data() + i * block_lanes + lane);
            hn::Store(hn::IfThenZeroElse(hn::Le(D, hn::Zero(d)), hn::Div(D, hn::Add(R, z))), d,
                      block.excess.data() + i * block_lanes + lane);
        }
    }
}

// R_i - R_m = (a^2 - 2 a r cos phi_i) / (R_i + R_m).
HWY_INLINE void StoreFromMiddle(EdgeBlock<float>& block, const CircularTables<float>& disc) {
    const hn::CappedTag<float, block_lanes> d;
    const auto least = hn::Set(d, std::numeric_limits<float>::min());  // of a face without a size
    Lanes<float> middle;
    std::transform(block.middle_path.begin(), block.middle_path.end(), middle.begin(),
                   [](double path) { return static_cast<float>(path); });
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto r = hn::Sqrt(hn::Add(hn::Mul(y, y), hn::Mul(x, x)));
        const auto R_m = hn::Load(d, middle.data() + lane);
        for (int i = 0; i < block.size; ++i) {
            const float a = disc.radii[i / disc.abscissas];
            const auto gained =
                hn::Sub(hn::Set(d, a * a), hn::Mul(hn::Set(d, disc.two_a_cosine[i]), r));
            const auto R = hn::Load(d, block.delay.data() + i * block_lanes + lane);
            hn::Store(hn::Div(gained, hn::Max(hn::Add(R, R_m), least)), d,
                      block.excess.data() + i * block_lanes + lane);
        }
    }
}

template <class Real>
HWY_INLINE void StoreArrivals(EdgeBlock<Real>& block, const CircularTables<Real>& disc) {
    const hn::CappedTag<Real, block_lanes> d;
    const auto a = hn::Set(d, OuterRadius(disc));
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto r = hn::Sqrt(hn::Add(hn::Mul(y, y), hn::Mul(x, x)));
        const auto near = Gap(r, disc);
        const auto far = hn::Add(a, r);
        const auto z_squared = hn::Mul(z, z);
        const auto rim = hn::Sqrt(hn::Add(z_squared, hn::Mul(near, near)));
        const auto first = hn::IfThenElse(hn::Gt(near, hn::Zero(d)), rim, z);
        const auto last = hn::Sqrt(hn::Add(hn::Mul(far, far), z_squared));
        hn::Store(AsDelay(first, disc), d, block.first_arrival.data() + lane);
        hn::Store(AsDelay(last, disc), d, block.last_arrival.data() + lane);
    }
}

// (r cos phi - a)/D of a point on the rim as phi goes to 0, for samples so close to it that D is
// rounded to nothing: in single precision from some hundred abscissas on.
template <class Real>
HWY_INLINE Real LimitOnRim(Real a) {
    return a > 0 ? -1 / (2 * a) : 0;
}

template <class Real>
HWY_INLINE void SampleCircular(const CircularTables<Real>& disc, EdgeBlock<Real>& block) {
    const hn::CappedTag<Real, block_lanes> d;
    const int step = static_cast<int>(hn::Lanes(d));
    Lanes<Real> gap, height_squared, rim_delay;
    for (int lane = 0; lane < block_lanes; lane += step) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto r_squared = hn::Add(hn::Mul(y, y), hn::Mul(x, x));
        const auto r = hn::Sqrt(r_squared);
        const auto z_squared = hn::Mul(z, z);
        auto sum = hn::Zero(d);
        Real* coefficient = block.coefficient.data() + lane;
        Real* delay = block.delay.data() + lane;
        for (int rim = 0; rim < disc.rims; ++rim) {
            const auto a = hn::Set(d, disc.radii[rim]);
            const auto a_squared = hn::Mul(a, a);
            const auto on_rim = hn::Set(d, LimitOnRim(disc.radii[rim]));
            for (int i = rim * disc.abscissas; i < (rim + 1) * disc.abscissas; ++i) {
                const auto D = hn::Sub(hn::Add(r_squared, a_squared),
                                       hn::Mul(hn::Set(d, disc.two_a_cosine[i]), r));
                const auto along = hn::Sub(hn::Mul(hn::Set(d, disc.cosine[i]), r), a);
                const auto on_it = hn::Le(D, hn::Zero(d));
                const auto ratio = hn::IfThenElse(on_it, on_rim, hn::Div(along, D));
                const auto g = hn::Mul(ratio, hn::Set(d, disc.weight[i]));
                hn::Store(g, d, coefficient + i * block_lanes);
                hn::Store(AsDelay(hn::Sqrt(hn::Add(hn::IfThenZeroElse(on_it, D), z_squared)), disc),
                          d, delay + i * block_lanes);
                sum = hn::Add(sum, g);
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
        hn::Store(AsDelay(z, disc), d, block.direct_delay.data() + lane);
        hn::Store(Gap(r, disc), d, gap.data() + lane);
        hn::Store(z_squared, d, height_squared.data() + lane);
    }
    StoreRimDelay(gap.data(), height_squared.data(), disc.speed, rim_delay.data());
    for (int lane = 0; lane < block_lanes; lane += step) {
        const auto on_or_outside_rim = hn::Ge(hn::Load(d, gap.data() + lane), hn::Zero(d));
        hn::Store(hn::IfThenElse(on_or_outside_rim, hn::Load(d, rim_delay.data() + lane),
                                 hn::Load(d, block.direct_delay.data() + lane)),
                  d, block.direct_begin.data() + lane);
    }
    for (int lane = 0; lane < block_lanes; ++lane) {
        const auto k = static_cast<size_t>(lane);
        block.reached[k] = block.z[k] < 0 ? 0 : 1;
    }
    if (block.detail == EdgeDetail::excess) {
        StoreExcess(block, disc);
    } else if (block.detail == EdgeDetail::arrivals) {
        StoreArrivals(block, disc);
    }
}

void SampleCircularSingle(const CircularTables<float>& disc, EdgeBlock<float>& block) {
    SampleCircular(disc, block);
    if (block.detail == EdgeDetail::from_middle) {
        StoreFromMiddle(block, disc);
    }
}

void SampleCircularDouble(const CircularTables<double>& disc, EdgeBlock<double>& block) {
    SampleCircular(disc, block);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

template <class Real>
CircularEdge<Real>::CircularEdge(const Transducer& element, std::span<const double> radii,
                                 const Wanted& wanted, DelayBy delay_by)
    : speed_(1), delay_by_(delay_by) {
    const bool in_times = wanted.units() == EdgeUnits::times;
    double density = 0.0;
    if (in_times) {
        speed_ = static_cast<Real>(element.medium->_soundspeed);
        density = element.medium->_rho_density;
    } else {
        delay_by_ = DelayBy::product;  // by 1, like the quotient
    }
    for (std::size_t k = 0; k < radii.size(); ++k) {
        const auto a = static_cast<Real>(radii[k]);
        const double of_times = static_cast<double>(static_cast<Real>(density) * speed_ * a) / pi;
        const double of_lengths = k == 0 ? 1.0 : radii[k] / radii[0];
        const double scale = in_times ? of_times : of_lengths;
        add_rim(wanted.rule, a, k == 0 ? scale : -scale);
    }
}

template <class Real>
CircularEdge<Real>::CircularEdge(const QuadratureRule& rule, double radius, double weight)
    : speed_(1), delay_by_(DelayBy::product) {
    add_rim(rule, static_cast<Real>(radius), weight);
}

template <class Real>
void CircularEdge<Real>::add_rim(const QuadratureRule& rule, Real radius, double scale) {
    radii_.push_back(radius);
    for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
        const auto cosine = static_cast<Real>(std::cos(rule.abscissas[i]));
        cosine_.push_back(cosine);
        two_a_cosine_.push_back(cosine * (2 * radius));
        weight_.push_back(static_cast<Real>(rule.weights[i] * scale));
    }
}

template <class Real>
void CircularEdge<Real>::sample(EdgeBlock<Real>& block, int /* the only pass */) const {
    const int rims = static_cast<int>(radii_.size());
    const CircularTables<Real> tables{
        radii_.data(), rims,           rims > 0 ? size() / rims : 0, speed_,
        delay_by_,     cosine_.data(), two_a_cosine_.data(),         weight_.data()};
    if constexpr (std::is_same_v<Real, float>) {
        if (block.detail == EdgeDetail::from_middle) {
            block.set_flat_paths();
        }
        KAVRO_KERNEL(SampleCircularSingle)(tables, block);
    } else {
        KAVRO_KERNEL(SampleCircularDouble)(tables, block);
    }
}

template class CircularEdge<float>;
template class CircularEdge<double>;

}  // namespace kavro
#endif  // HWY_ONCE
