#include "transducers/circular/circular_edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "core/constants.h"
#include "core/rule_ladder.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/tolerance/choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/circular/circular_edge.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "transducers/blocks/edge_rules-inl.h"

#ifndef KAVRO_CIRCULAR_EDGE_TABLES
#define KAVRO_CIRCULAR_EDGE_TABLES
namespace kavro {

template <class Real>
struct CircularTables {
    const Real* radii;  // of the outer rim and the hole's
    int rims;
    int abscissas;  // of the rule that all lanes share
    Real speed;
    DelayBy delay_by;
    const Real* cosine;
    const Real* weight;
    const Real* scale;  // of each rim's weights, where lanes have rules of their own
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

// The samples of a rim of some lanes. R_i - R_0 = D_i / (R_i + z), and from the middle of the face
// R_i - R_m = (a^2 - 2 a r cos phi_i) / (R_i + R_m).
template <class Real, class Rule, class V>
HWY_INLINE void SampleRim(const CircularTables<Real>& disc, Real radius, const Rule& rule,
                          V r_squared, V r, V z, V middle, EdgeBlock<Real>& block, V& sum) {
    const hn::DFromV<V> d;
    const auto z_squared = hn::Mul(z, z);
    const auto a = hn::Set(d, radius);
    const auto a_squared = hn::Mul(a, a);
    const auto two_a = hn::Set(d, 2 * radius);
    const auto on_rim = hn::Set(d, LimitOnRim(radius));
    const auto least = hn::Set(d, std::numeric_limits<Real>::min());  // of a face without a size
    for (int i = 0; i < rule.count(); ++i) {
        const auto cosine = rule.Abscissa(i);
        const auto along_r = hn::Mul(hn::Mul(cosine, two_a), r);
        const auto D = hn::Sub(hn::Add(r_squared, a_squared), along_r);
        const auto along = hn::Sub(hn::Mul(cosine, r), a);
        const auto on_it = hn::Le(D, hn::Zero(d));
        const auto ratio = hn::IfThenElse(on_it, on_rim, hn::Div(along, D));
        const auto g = rule.Present(hn::Mul(ratio, rule.Weight(i)), i);
        const auto R = AsDelay(hn::Sqrt(hn::Add(hn::IfThenZeroElse(on_it, D), z_squared)), disc);
        rule.Store(g, block.coefficient, i);
        rule.Store(R, block.delay, i);
        if (block.has_excess()) {
            rule.Store(hn::IfThenZeroElse(on_it, hn::Div(D, hn::Add(R, z))), block.excess, i);
            if (block.has_gradient()) {
                rule.Store(hn::Mul(rule.Weight(i), cosine), block.gradient.across_coefficient, i);
            }
        } else if (block.detail == EdgeDetail::from_middle) {
            const auto gained = hn::Sub(a_squared, along_r);
            rule.Store(hn::Div(gained, hn::Max(hn::Add(R, middle), least)), block.excess, i);
        }
        sum = hn::Add(sum, g);
    }
}

template <class Real>
HWY_INLINE void SampleCircular(const CircularTables<Real>& disc, EdgeBlock<Real>& block) {
    const hn::CappedTag<Real, block_lanes> d;
    const int step = static_cast<int>(hn::Lanes(d));
    Lanes<Real> gap, height_squared, rim_delay, middle_path;
    std::transform(block.middle_path.begin(), block.middle_path.end(), middle_path.begin(),
                   [](double path) { return static_cast<Real>(path); });
    for (int lane = 0; lane < block_lanes; lane += step) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const auto z = hn::Load(d, block.z.data() + lane);
        const auto r_squared = hn::Add(hn::Mul(y, y), hn::Mul(x, x));
        const auto r = hn::Sqrt(r_squared);
        const auto middle = hn::Load(d, middle_path.data() + lane);
        auto sum = hn::Zero(d);
        for (int rim = 0; rim < disc.rims; ++rim) {
            if (disc.scale == nullptr) {
                const int first = rim * disc.abscissas;
                const SharedRule<Real> rule(disc.cosine, disc.weight + first, disc.abscissas, first,
                                            lane);
                SampleRim(disc, disc.radii[rim], rule, r_squared, r, z, middle, block, sum);
            } else {
                const OwnRule<Real> rule(disc.cosine, disc.weight, disc.scale[rim],
                                         block.quadrature.rules[static_cast<size_t>(rim)], lane);
                SampleRim(disc, disc.radii[rim], rule, r_squared, r, z, middle, block, sum);
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
        hn::Store(AsDelay(z, disc), d, block.direct_delay.data() + lane);
        hn::Store(Gap(r, disc), d, gap.data() + lane);
        hn::Store(hn::Mul(z, z), d, height_squared.data() + lane);
    }
    StoreRimDelay(gap.data(), height_squared.data(), disc.speed, rim_delay.data());
    for (int lane = 0; lane < block_lanes; lane += step) {
        const auto on_or_outside_rim = hn::Ge(hn::Load(d, gap.data() + lane), hn::Zero(d));
        hn::Store(hn::IfThenElse(on_or_outside_rim, hn::Load(d, rim_delay.data() + lane),
                                 hn::Load(d, block.direct_delay.data() + lane)),
                  d, block.direct_begin.data() + lane);
    }
    if (block.detail == EdgeDetail::arrivals) {
        StoreArrivals(block, disc);
    }
}

void SampleCircularSingle(const CircularTables<float>& disc, EdgeBlock<float>& block) {
    SampleCircular(disc, block);
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
    if (wanted.demand != nullptr) {
        demand_ = *wanted.demand;
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
    scale_.push_back(static_cast<Real>(scale));
    cosine_.clear();
    for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
        cosine_.push_back(static_cast<Real>(std::cos(rule.abscissas[i])));
        weight_.push_back(static_cast<Real>(rule.weights[i] * scale));
    }
}

// What the choice of a rule needs of the points.
template <class Real>
void CircularEdge<Real>::choose_rules(EdgeBlock<Real>& block) const {
    RimScene scene{};
    scene.rims = static_cast<int>(radii_.size());
    Lanes<double> off_axis;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const auto x = static_cast<double>(block.x[lane]);
        const auto y = static_cast<double>(block.y[lane]);
        off_axis[lane] = std::sqrt(x * x + y * y);
        scene.off_axis[lane] = static_cast<float>(off_axis[lane]);
        scene.path[lane] = static_cast<float>(block.z[lane]);
    }
    scene.lever = scene.place = scene.off_axis;
    scene.ratio.fill(1.0f);
    scene.gain.fill(1.0f);
    for (std::size_t k = 0; k < radii_.size(); ++k) {
        const auto radius = static_cast<double>(radii_[k]);
        const auto a = static_cast<float>(radius);
        SeenRim& rim = scene.rim[k];
        rim.radius = rim.inside_below = radius;
        rim.steepness = 1.0;
        scene.area += k == 0 ? pi * radius * radius : -pi * radius * radius;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const auto gap = static_cast<float>(off_axis[lane] - radius);
            const float r = scene.off_axis[lane];
            const float z_squared = scene.path[lane] * scene.path[lane];
            rim.near[lane] = std::sqrt(gap * gap + z_squared);
            rim.far[lane] = std::sqrt((r + a) * (r + a) + z_squared);
            rim.beside[lane] = std::abs(gap);
            rim.least[lane] = gap * gap;
            rim.spread[lane] = 2.0f * a * r;
            rim.along[lane] = gap;
            rim.retreat[lane] = r;
        }
    }
    choose_rims(scene, *demand_, block.quadrature);
    lay_out_lanes(block);
}

// The rims' normals, summed up, point to the side that the point is on.
template <class Real>
void set_gradient_frame(EdgeBlock<Real>& block) {
    block.gradient.set_flat({}, {});
    block.gradient.has_aside = false;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const auto x = static_cast<double>(block.x[lane]);
        const auto y = static_cast<double>(block.y[lane]);
        const double r = std::sqrt(x * x + y * y);
        if (r > 0.0) {
            block.gradient.across[lane] = {x / r, y / r, 0.0};
        }
    }
}

template <class Real>
void CircularEdge<Real>::sample(EdgeBlock<Real>& block, int /* the only pass */) const {
    const int rims = static_cast<int>(radii_.size());
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        block.reached[lane] = block.z[lane] < 0 ? 0 : 1;
    }
    if (block.has_gradient()) {
        set_gradient_frame(block);
    }
    CircularTables<Real> tables{radii_.data(),  rims,      static_cast<int>(cosine_.size()),
                                speed_,         delay_by_, cosine_.data(),
                                weight_.data(), nullptr};
    if (demand_) {
        choose_rules(block);
        const RimLadder<Real>& ladder = rim_ladder<Real>();
        tables.cosine = ladder.cosine.data();
        tables.weight = ladder.weight.data();
        tables.scale = scale_.data();
    }
    if constexpr (std::is_same_v<Real, float>) {
        if (block.detail == EdgeDetail::from_middle) {
            block.set_flat_paths();
        }
        KAVRO_KERNEL(SampleCircularSingle)(tables, block);
    } else {
        KAVRO_KERNEL(SampleCircularDouble)(tables, block);
    }
    if (demand_) {
        fill_up_lanes(block);
    }
}

template class CircularEdge<float>;
template class CircularEdge<double>;

}  // namespace kavro
#endif  // HWY_ONCE
