#include "transducers/spherical/spherical_edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "core/constants.h"
#include "core/rule_ladder.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/tolerance/choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/spherical/spherical_edge.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "transducers/blocks/edge_rules-inl.h"

#ifndef KAVRO_SPHERICAL_EDGE_TABLES
#define KAVRO_SPHERICAL_EDGE_TABLES
namespace kavro {

// How a rim's samples count in a pass.
enum class RimPart {
    whole,      // N / (D (1 - D/4))
    near_pole,  // N / D
    far_pole,   // N / (4 - D)
    absent,
};

// What a rim and the points of a block share, rounded.
template <class Real>
struct RimLanes {
    Lanes<Real> least, spread;   // D = least + spread kappa
    Lanes<Real> least_gained;    // of D less the apex's
    Lanes<Real> along, retreat;  // N = along - retreat kappa
    RimPart part;
};

template <class Real>
struct SphericalLanes {
    RimLanes<Real> rims[2];
    int rim_count;
    int abscissas;             // of the rule that all lanes share
    Lanes<Real> product;       // sigma d s
    Lanes<Real> ratio;         // sigma / s, times a neighbour's weight
    Lanes<Real> lever;         // d / s, of the pass that the rim's normals are in
    Lanes<Real> path_squared;  // R_0^2
    Lanes<Real> direct_path;   // R_0, or R_1 in the far pole's pass
    Lanes<Real> middle_path;   // R_m, from the apex
    Lanes<double> exact_ratio;
    Lanes<double> between_poles;  // R_0 - R_1
    Real speed;
    const Real* kappa;
    const Real* weight;
    const Real* scale;  // of each rim's weights, where lanes have rules of their own
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// By a quotient in double, by a product with the reciprocal in single precision.
HWY_INLINE hn::Vec<hn::CappedTag<double, block_lanes>> Delay(
    hn::Vec<hn::CappedTag<double, block_lanes>> distance, double speed) {
    return hn::Div(distance, hn::Set(hn::CappedTag<double, block_lanes>(), speed));
}

HWY_INLINE hn::Vec<hn::CappedTag<float, block_lanes>> Delay(
    hn::Vec<hn::CappedTag<float, block_lanes>> distance, float speed) {
    return hn::Mul(distance, hn::Set(hn::CappedTag<float, block_lanes>(), 1.0f / speed));
}

template <class V>
HWY_INLINE V Fraction(V N, V D, RimPart part) {
    const hn::DFromV<V> d;
    using Real = hn::TFromD<decltype(d)>;
    switch (part) {
        case RimPart::whole:
            return hn::Div(
                N, hn::Mul(D, hn::Sub(hn::Set(d, Real(1)), hn::Mul(D, hn::Set(d, Real(0.25))))));
        case RimPart::near_pole:
            return hn::Div(N, D);
        case RimPart::far_pole:
            return hn::Div(N, hn::Sub(hn::Set(d, Real(4)), D));
        default:
            return hn::Zero(d);
    }
}

// The samples of a rim of the lanes from `lane` on.
template <class Real, class Rule, class V>
HWY_INLINE void SampleRim(const SphericalLanes<Real>& face, const RimLanes<Real>& rim,
                          const Rule& rule, int lane, EdgeBlock<Real>& block, V& sum) {
    const hn::DFromV<V> d;
    const auto load = [&](const Lanes<Real>& lanes)
                          HWY_ATTR { return hn::Load(d, lanes.data() + lane); };
    const auto product = load(face.product);
    const auto ratio = load(face.ratio);
    const auto lever = load(face.lever);
    const auto path_squared = load(face.path_squared);
    const auto direct_path = load(face.direct_path);
    const auto middle_path = load(face.middle_path);
    const auto least = load(rim.least);
    const auto least_gained = load(rim.least_gained);
    const auto spread = load(rim.spread);
    const auto along = load(rim.along);
    const auto retreat = load(rim.retreat);
    for (int i = 0; i < rule.count(); ++i) {
        const auto kappa = rule.Abscissa(i);
        const auto D = hn::Add(least, hn::Mul(spread, kappa));
        const auto N = hn::Sub(along, hn::Mul(retreat, kappa));
        const auto g =
            rule.Present(hn::Mul(hn::Mul(rule.Weight(i), ratio), Fraction(N, D, rim.part)), i);
        const auto R_squared = hn::Add(path_squared, hn::Mul(product, D));
        const auto R = hn::Sqrt(hn::Max(hn::Zero(d), R_squared));
        rule.Store(g, block.coefficient, i);
        rule.Store(Delay(R, face.speed), block.delay, i);
        sum = hn::Add(sum, g);
        if (block.has_excess()) {
            // R^2 - R_0^2 = sigma d s D, and R^2 - R_1^2 = -sigma d s (4 - D).
            const auto gained = rim.part == RimPart::far_pole ? hn::Sub(D, hn::Set(d, Real(4))) : D;
            rule.Store(hn::Div(hn::Mul(product, gained), hn::Add(R, direct_path)), block.excess, i);
            if (block.has_gradient()) {
                const auto cosine = hn::Sub(hn::Set(d, Real(1)), kappa);
                rule.Store(hn::Mul(hn::Mul(rule.Weight(i), lever), cosine),
                           block.gradient.across_coefficient, i);
            }
        } else if (block.detail == EdgeDetail::from_middle) {
            const auto gained = hn::Add(least_gained, hn::Mul(spread, kappa));
            rule.Store(hn::Div(hn::Mul(product, gained), hn::Add(R, middle_path)), block.excess, i);
        }
    }
}

template <class Real>
HWY_INLINE void SampleRims(const SphericalLanes<Real>& face, EdgeBlock<Real>& block) {
    const hn::CappedTag<Real, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        auto sum = hn::Zero(d);
        for (int k = 0; k < face.rim_count; ++k) {
            if (face.scale == nullptr) {
                const int first = k * face.abscissas;
                const SharedRule<Real> rule(face.kappa, face.weight + first, face.abscissas, first,
                                            lane);
                SampleRim(face, face.rims[k], rule, lane, block, sum);
            } else {
                const OwnRule<Real> rule(face.kappa, face.weight, face.scale[k],
                                         block.quadrature.rules[static_cast<size_t>(k)], lane);
                SampleRim(face, face.rims[k], rule, lane, block, sum);
            }
        }
        hn::Store(sum, d, block.coefficient_sum.data() + lane);
        hn::Store(Delay(hn::Load(d, face.direct_path.data() + lane), face.speed), d,
                  block.direct_delay.data() + lane);
    }
}

void SampleRimsSingle(const SphericalLanes<float>& face, EdgeBlock<float>& block) {
    SampleRims(face, block);
}

void SampleRimsDouble(const SphericalLanes<double>& face, EdgeBlock<double>& block) {
    SampleRims(face, block);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

// A point beside the axis that stands for one next to the focus.
struct Neighbour {
    AxialPoint point;
    double weight;
};

// The first or second one: p(r) = (4 - x)/3 p(r_0) + (x - 1)/3 p(2 r_0), x = (r/r_0)^2.
Neighbour neighbour_of(const AxialPoint& point, double d, int index) {
    const double r0 = d * nearest_to_focus;
    const double x = point.r * point.r / (r0 * r0);
    return index == 0 ? Neighbour{{r0, point.z}, (4.0 - x) / 3.0}
                      : Neighbour{{2.0 * r0, point.z}, (x - 1.0) / 3.0};
}

RimPart part_of(const SphericalRim& rim, bool far_pass) {
    if (rim.is_nearly_hemispherical()) {
        return far_pass ? RimPart::far_pole : RimPart::near_pole;
    }
    return far_pass ? RimPart::absent : RimPart::whole;
}

template <class Real>
void set_lane(RimLanes<Real>& lanes, std::size_t lane, const SphericalRim& rim,
              const SphericalPole& pole) {
    const double S = rim.sine;
    const double C = rim.cosine;
    const double across = S - pole.sine;
    const double up = rim.depth - pole.depth;
    lanes.least[lane] = static_cast<Real>(across * across + up * up);
    lanes.spread[lane] = static_cast<Real>(2.0 * S * pole.sine);
    lanes.least_gained[lane] =
        static_cast<Real>(S * (across - pole.sine) + rim.depth * (up - pole.depth));
    lanes.along[lane] = static_cast<Real>(C * pole.sine - S * pole.cosine);
    lanes.retreat[lane] = static_cast<Real>(C * pole.sine);
}

}  // namespace

template <class Real>
SphericalEdge<Real>::SphericalEdge(const Transducer& element, const SphericalGeometry& geometry,
                                   SphericalReach reach, const Wanted& wanted)
    : geometry_(geometry),
      reach_(reach),
      units_(wanted.units()),
      density_speed_(1.0),
      speed_(1.0),
      splits_(geometry.has_nearly_hemispherical_rim()),
      abscissas_(wanted.rule.order()) {
    if (units_ == EdgeUnits::times) {
        speed_ = element.medium->_soundspeed;
        density_speed_ = element.medium->_rho_density * speed_;
    }
    for (const double phi : wanted.rule.abscissas) {
        const double h = std::sin(phi / 2.0);
        kappa_.push_back(static_cast<Real>(2.0 * (h * h)));
    }
    for (const SphericalRim& rim : geometry_.rims()) {
        if (rim.is_nearly_hemispherical()) {
            share_ += rim.sign * (density_speed_ * geometry.curvature_radius() * rim.depth / 2.0);
        }
        const double scale = rim.sign * (density_speed_ * rim.radius / pi);
        scale_.push_back(static_cast<Real>(scale));
        for (const double weight : wanted.rule.weights) {
            weight_.push_back(static_cast<Real>(weight * scale));
        }
    }
    if (wanted.demand != nullptr) {
        demand_ = *wanted.demand;
    }
}

template <class Real>
int SphericalEdge<Real>::size() const {
    return demand_ ? 0 : static_cast<int>(weight_.size()) + (has_share_as_sample() ? 1 : 0);
}

template <class Real>
bool SphericalEdge<Real>::has_share_as_sample() const {
    return splits_ && units_ == EdgeUnits::lengths;
}

template <class Real>
AxialPoint SphericalEdge<Real>::point_of(const EdgeBlock<Real>& block, std::size_t lane) const {
    if constexpr (std::is_same_v<Real, float>) {
        return axial(block.unrounded[lane]);
    } else {
        return axial({block.x[lane], block.y[lane], block.z[lane]});
    }
}

template <class Real>
bool SphericalEdge<Real>::is_next_to_focus(const SphericalPole& pole) const {
    return units_ == EdgeUnits::times && pole.s < nearest_to_focus * geometry_.curvature_radius();
}

template <class Real>
bool SphericalEdge<Real>::reaches(const AxialPoint& point, double s) const {
    if (reach_ == SphericalReach::everywhere) {
        return true;
    }
    const bool near = s < geometry_.curvature_radius() / 16.0;
    return !geometry_.is_behind(point) &&
           (reach_ == SphericalReach::facing || near == (reach_ == SphericalReach::near_focus));
}

template <class Real>
int SphericalEdge<Real>::passes(const EdgeBlock<Real>& block) const {
    int neighbours = 1;
    bool reaches_any = reach_ != SphericalReach::near_focus;
    for (std::size_t lane = 0; units_ == EdgeUnits::times && lane < block_lanes; ++lane) {
        const AxialPoint point = point_of(block, lane);
        const SphericalPole pole = geometry_.pole(point);
        reaches_any = reaches_any || reaches(point, pole.s);
        if (is_next_to_focus(pole)) {
            neighbours = 2;
        }
    }
    if (!reaches_any) {
        return 0;
    }
    return splits_ ? 2 * neighbours : neighbours;
}

// What the lanes share, and the rims' parts in this pass.
template <class Real>
SphericalLanes<Real> SphericalEdge<Real>::tables(bool far_pass) const {
    SphericalLanes<Real> lanes;
    lanes.rim_count = static_cast<int>(geometry_.rims().size());
    lanes.abscissas = abscissas_;
    lanes.speed = static_cast<Real>(speed_);
    lanes.kappa = kappa_.data();
    lanes.weight = weight_.data();
    lanes.scale = nullptr;
    if (demand_) {
        lanes.kappa = rim_ladder<Real>().turn.data();
        lanes.weight = rim_ladder<Real>().weight.data();
        lanes.scale = scale_.data();
    }
    for (std::size_t k = 0; k < geometry_.rims().size(); ++k) {
        lanes.rims[k].part = part_of(geometry_.rims()[k], far_pass);
    }
    return lanes;
}

template <class Real>
void SphericalEdge<Real>::place(EdgeBlock<Real>& block, std::size_t lane, Pass pass,
                                SphericalLanes<Real>& lanes, RimScene* scene) const {
    const double d = geometry_.curvature_radius();
    AxialPoint point = point_of(block, lane);
    SphericalPole pole = geometry_.pole(point);
    const bool next_to_focus = is_next_to_focus(pole);
    block.reached[lane] = (next_to_focus || pass.neighbour == 0) && reaches(point, pole.s) ? 1 : 0;
    double weight = 1.0;
    if (next_to_focus) {
        const Neighbour neighbour = neighbour_of(point, d, pass.neighbour);
        point = neighbour.point;
        weight = neighbour.weight;
        pole = geometry_.pole(point);
    }
    for (std::size_t k = 0; k < geometry_.rims().size(); ++k) {
        set_lane(lanes.rims[k], lane, geometry_.rims()[k], pole);
    }
    lanes.exact_ratio[lane] = weight * (pole.side / pole.s);
    lanes.lever[lane] = static_cast<Real>(pass.far_pole ? 0.0 : d / pole.s);
    lanes.between_poles[lane] = -2.0 * pole.side * std::min(pole.s, d);
    lanes.product[lane] = static_cast<Real>(pole.side * d * pole.s);
    lanes.ratio[lane] = static_cast<Real>(lanes.exact_ratio[lane]);
    lanes.path_squared[lane] = static_cast<Real>(pole.path * pole.path);
    block.direct_path[lane] = pass.far_pole ? pole.far_path : pole.path;
    lanes.direct_path[lane] = static_cast<Real>(block.direct_path[lane]);
    block.middle_path[lane] = std::sqrt(point.r * point.r + point.z * point.z);
    lanes.middle_path[lane] = static_cast<Real>(block.middle_path[lane]);
    const double both = block.middle_path[lane] + pole.path;  // 0 in the apex
    const double gained =
        pole.side * d * pole.s * (pole.sine * pole.sine + pole.depth * pole.depth);
    block.middle_excess[lane] = both == 0.0 ? 0.0 : gained / both;
    if (block.has_gradient()) {
        set_gradient_frame(block, lane, pass, point, pole);
    }
    if (scene != nullptr) {
        see(point, pole, lane, *scene);
    }
    const SphericalDistances distances = geometry_.distances(point, pole);
    block.first_arrival[lane] = static_cast<Real>(distances.nearest / speed_);
    block.last_arrival[lane] = static_cast<Real>(distances.farthest / speed_);
}

// Ahead is away from the centre of curvature; across, in the plane of the axis, to the side of the
// pole that the rim is sampled from.
template <class Real>
void SphericalEdge<Real>::set_gradient_frame(EdgeBlock<Real>& block, std::size_t lane, Pass pass,
                                             const AxialPoint& point,
                                             const SphericalPole& pole) const {
    const double x = point.r > 0.0 ? static_cast<double>(block.x[lane]) / point.r : 1.0;
    const double y = point.r > 0.0 ? static_cast<double>(block.y[lane]) / point.r : 0.0;
    EdgeGradient<Real>& gradient = block.gradient;
    gradient.has_aside = false;
    gradient.ahead[lane] = {pole.sine * x, pole.sine * y, -pole.side * pole.cosine};
    gradient.across[lane] = {pole.cosine * x, pole.cosine * y, pole.side * pole.sine};
    gradient.curvature[lane] = static_cast<Real>(1.0 / pole.s);
    const bool to_nearer = (pole.side > 0.0) != pass.far_pole;
    gradient.direct_slope[lane] = to_nearer && !geometry_.is_outside(point) ? Real(-1) : Real(1);
}

// What the choice of a rule needs of a point.
template <class Real>
void SphericalEdge<Real>::see(const AxialPoint& point, const SphericalPole& pole, std::size_t lane,
                              RimScene& scene) const {
    const double d = geometry_.curvature_radius();
    scene.off_axis[lane] = static_cast<float>(point.r);
    scene.lever[lane] = static_cast<float>(pole.sine * d);
    scene.place[lane] = static_cast<float>(pole.sine);
    scene.ratio[lane] = static_cast<float>(1.0 / pole.s);
    scene.path[lane] = static_cast<float>(pole.path);
    scene.gain[lane] = static_cast<float>(d / pole.s);
    for (std::size_t k = 0; k < geometry_.rims().size(); ++k) {
        const SphericalRim& from = geometry_.rims()[k];
        SeenRim& rim = scene.rim[k];
        RimLanes<float> measures;
        set_lane(measures, lane, from, pole);
        const auto up = static_cast<float>(point.z - from.height);
        const auto gap = static_cast<float>(point.r - from.radius);
        const auto across = static_cast<float>(point.r + from.radius);
        const float least = measures.least[lane];
        rim.near[lane] = std::sqrt(gap * gap + up * up);
        rim.far[lane] = std::sqrt(across * across + up * up);
        rim.beside[lane] =
            static_cast<float>(pole.s) * std::sqrt(std::max(0.0f, least * (1.0f - 0.25f * least)));
        rim.least[lane] = least;
        rim.spread[lane] = measures.spread[lane];
        rim.along[lane] = measures.along[lane];
        rim.retreat[lane] = measures.retreat[lane];
        // With the passes split, the far pole is a removable one as well.
        const bool has_pole = pole.sine > 0.0 && !from.is_nearly_hemispherical();
        rim.far_pole[lane] =
            has_pole ? static_cast<float>(from.depth * pole.depth / (from.sine * pole.sine)) : 0.0f;
    }
}

template <class Real>
RimScene SphericalEdge<Real>::scene() const {
    RimScene scene{};
    scene.rims = static_cast<int>(geometry_.rims().size());
    scene.curvature = 0.25;
    const double d = geometry_.curvature_radius();
    for (std::size_t k = 0; k < geometry_.rims().size(); ++k) {
        const SphericalRim& rim = geometry_.rims()[k];
        scene.rim[k].radius = rim.radius;
        scene.rim[k].inside_below = rim.sine;
        // Split between two poles, a rim's samples are steeper; found by trial.
        scene.rim[k].steepness = rim.is_nearly_hemispherical() ? 8.0 : 1.0;
        scene.area += rim.sign * two_pi * d * d * rim.depth;
    }
    return scene;
}

// The direct wave's window and what of its coefficient moves between the poles.
template <class Real>
void SphericalEdge<Real>::finish(EdgeBlock<Real>& block, Pass pass,
                                 const SphericalLanes<Real>& lanes) const {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double moved = (pass.far_pole ? share_ : -share_) * lanes.exact_ratio[lane];
        const Real direct = block.direct_delay[lane];
        block.coefficient_sum[lane] += static_cast<Real>(splits_ ? moved : 0.0);
        block.direct_begin[lane] = std::max(direct, block.first_arrival[lane]);
        block.direct_end[lane] = std::min(direct, block.last_arrival[lane]);
        if (has_share_as_sample()) {
            const std::size_t row =
                demand_ ? static_cast<std::size_t>(block.samples[lane]++) : weight_.size();
            const std::size_t at = row * block_lanes + lane;
            block.coefficient[at] = static_cast<Real>(pass.far_pole ? moved : 0.0);
            block.delay[at] = direct;
            if (block.has_excess()) {
                block.excess[at] =
                    static_cast<Real>(pass.far_pole ? lanes.between_poles[lane] : 0.0);
            }
            if (block.has_gradient()) {
                block.delay[at] = std::sqrt(lanes.path_squared[lane]);
                block.gradient.across_coefficient[at] = Real(0);
            }
        }
    }
}

template <class Real>
void SphericalEdge<Real>::choose_rules(EdgeBlock<Real>& block, const RimScene& scene,
                                       const SphericalLanes<Real>& lanes) const {
    block.quadrature.rules.clear();
    if (scene.rims > 0) {
        choose_rims(scene, *demand_, block.quadrature);
    }
    for (std::size_t k = 0; k < block.quadrature.rules.size(); ++k) {
        if (lanes.rims[k].part == RimPart::absent) {
            block.quadrature.rules[k].count.fill(0);
        }
    }
    lay_out_lanes(block, has_share_as_sample() ? 1 : 0);
}

template <class Real>
void SphericalEdge<Real>::sample(EdgeBlock<Real>& block, int index) const {
    const Pass pass{splits_ ? index / 2 : index, splits_ && index % 2 == 1};
    SphericalLanes<Real> lanes = tables(pass.far_pole);
    std::optional<RimScene> seen;
    if (demand_) {
        seen = scene();
    }
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        place(block, lane, pass, lanes, seen ? &*seen : nullptr);
    }
    if (seen) {
        choose_rules(block, *seen, lanes);
    }
    if constexpr (std::is_same_v<Real, float>) {
        KAVRO_KERNEL(SampleRimsSingle)(lanes, block);
    } else {
        KAVRO_KERNEL(SampleRimsDouble)(lanes, block);
    }
    finish(block, pass, lanes);
    if (seen) {
        fill_up_lanes(block);
    }
}

template class SphericalEdge<float>;
template class SphericalEdge<double>;

}  // namespace kavro
#endif  // HWY_ONCE
