#include <cstddef>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/tolerance/choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/tolerance/rims.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "transducers/tolerance/rungs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct RimOfLanes {
    V near, far, least, spread, along, retreat, beside, far_pole;
    double radius, steepness;
    M inside;

    HWY_INLINE RimOfLanes(const SeenRim& rim, const RimScene& scene, int lane)
        : near(Load(rim.near, lane)),
          far(Load(rim.far, lane)),
          least(Load(rim.least, lane)),
          spread(Load(rim.spread, lane)),
          along(Load(rim.along, lane)),
          retreat(Load(rim.retreat, lane)),
          beside(Load(rim.beside, lane)),
          far_pole(Load(rim.far_pole, lane)),
          radius(rim.radius),
          steepness(rim.steepness),
          inside(hn::Lt(Load(scene.place, lane), Number(rim.inside_below))) {}
};

struct RimsOfLanes {
    V off_axis, lever, ratio, path, gain;
    RimOfLanes outer, inner;  // the same where there is one only
    double curvature, area;
    bool has_hole;

    HWY_INLINE RimsOfLanes(const RimScene& scene, int lane)
        : off_axis(Load(scene.off_axis, lane)),
          lever(Load(scene.lever, lane)),
          ratio(Load(scene.ratio, lane)),
          path(Load(scene.path, lane)),
          gain(Load(scene.gain, lane)),
          outer(scene.rim[0], scene, lane),
          inner(scene.rim[scene.rims - 1], scene, lane),
          curvature(scene.curvature),
          area(scene.area),
          has_hole(scene.rims > 1) {}

    HWY_INLINE V FarPole(V D) const { return hn::Sub(Number(1.0), Product(D, curvature)); }
};

// The magnitude of the wave from the rim's nearest (kappa = 0) or farthest point (kappa = 2), by
// stationary phase.
HWY_INLINE V EdgeWave(const RimOfLanes& rim, const RimsOfLanes& face, V R, double kappa, double k) {
    const auto D = hn::Add(rim.least, Product(rim.spread, kappa));
    const auto N = hn::Sub(rim.along, Product(rim.retreat, kappa));
    const auto g = hn::Div(hn::Abs(hn::Mul(Product(face.ratio, rim.radius / pi), N)),
                           Positive(hn::Abs(hn::Mul(D, face.FarPole(D)))));
    const auto turns = Positive(Product(face.off_axis, 2.0 * k * rim.radius / pi));
    return hn::Mul(g, hn::Min(Number(pi), hn::Sqrt(hn::Div(R, turns))));
}

struct Magnitude {
    V value;
    V longer;  // the path of its first wave less the direct one's, which losses tell
};

// The envelope of |p| from below, in units of rho c w.
HWY_INLINE Magnitude RimEnvelope(const RimsOfLanes& face, double k) {
    const auto half_gain = Product(face.gain, 0.5);
    const auto whole = hn::Div(Number(k * face.area / two_pi), Positive(face.outer.far));
    const auto near_wave = EdgeWave(face.outer, face, face.outer.near, 0.0, k);
    const auto far_wave = EdgeWave(face.outer, face, face.outer.far, 2.0, k);
    auto edge = hn::Max(near_wave, far_wave);
    auto direct = face.gain;
    auto inside = face.outer.inside;
    auto nearest = face.outer.near;
    if (face.has_hole) {
        // The two rims' waves nearly cancel where their paths agree.
        const auto both = [&](V wave, V other, V R, V other_R) HWY_ATTR {
            const auto apart = Product(hn::Abs(hn::Sub(R, other_R)), k);
            return hn::Mul(hn::Min(half_gain, hn::Max(wave, other)), hn::Min(Number(1.0), apart));
        };
        const RimOfLanes& hole = face.inner;
        edge = hn::Max(
            both(near_wave, EdgeWave(hole, face, hole.near, 0.0, k), face.outer.near, hole.near),
            both(far_wave, EdgeWave(hole, face, hole.far, 2.0, k), face.outer.far, hole.far));
        // A band narrower than its Fresnel zone casts no beam of its own.
        const double width = face.outer.radius - hole.radius;
        const auto zones = hn::Div(Number(width * width * k / two_pi), Positive(face.outer.near));
        direct = hn::Max(hn::Min(face.gain, edge), hn::Mul(face.gain, hn::Min(Number(1.0), zones)));
        inside = hn::AndNot(hole.inside, inside);
        nearest = hn::Min(nearest, hole.near);
    }
    const auto beam = hn::IfThenElse(inside, direct, hn::Min(half_gain, edge));
    const auto longer = hn::Max(hn::Zero(Tag()), hn::Sub(nearest, face.path));
    return {Positive(Product(hn::Min(whole, beam), 0.5)), hn::IfThenZeroElse(inside, longer)};
}

HWY_INLINE bool ChooseRim(const RimOfLanes& rim, const RimsOfLanes& face, const Magnitude& field,
                          const QuadratureDemand& demand, const ChoiceTables& tables,
                          RuleLanes& out, Asked& asked, int lane) {
    const Tag d;
    const auto one = Number(1.0);
    const double k = demand.highest_wavenumber;
    const auto sum = Positive(hn::Add(rim.far, rim.near));
    const auto difference =
        hn::Div(Product(face.off_axis, 4.0 * rim.radius), sum);  // R_far - R_near
    const auto X = Product(difference, 0.5 * k);
    const auto D = hn::Add(rim.least, rim.spread);
    const auto N = hn::Add(hn::Abs(hn::Sub(rim.along, rim.retreat)), hn::Abs(rim.retreat));
    const auto flatness = hn::Max(Number(0.05), face.FarPole(D));
    const auto size =
        hn::Div(hn::Mul(Product(face.ratio, rim.radius), N), Positive(hn::Mul(D, flatness)));
    auto G = hn::Mul(size, hn::Min(one, Product(sum, 0.5 * k)));
    if (demand.of_gradient) {
        G = hn::Max(size, hn::Div(Product(face.gain, rim.radius), sum));
    }
    // Two rims share the tolerance. A jump makes a spike of its own, of which the other rim leaves
    // the share of the band between them.
    const double tolerance = demand.tolerance / (face.has_hole ? 2.0 : 1.0);
    const double band = face.has_hole ? 1.0 - face.inner.radius / face.outer.radius : 1.0;
    auto magnitude = field.value;
    if (demand.over_time) {
        magnitude = hn::Max(magnitude, Product(size, band * demand.ends[0] * 0.25 / pi));
    }
    const auto allowed = Positive(Product(magnitude, tolerance));
    const auto losses = Product(field.longer, demand.attenuation);
    const auto least_margin = hn::Max(
        Number(0.5),
        hn::Add(Log(hn::Div(Product(G, rim.steepness * SafetyOf(demand)), allowed)), losses));
    // What the forms below err by grows with Lambda; up to 18 the safety has it.
    const auto margin = hn::Max(
        least_margin, hn::Add(least_margin, Product(hn::Sub(least_margin, Number(18.0)), 0.08)));
    const auto with_path = hn::Add(margin, Product(face.path, demand.attenuation));

    const auto height = Positive(Log(hn::Div(sum, Positive(difference))));
    auto nearness = Hypotenuse(X, hn::Div(with_path, height));
    auto pole_height = Number(1e6);
    auto pole_margin = hn::Zero(d);
    if (face.curvature > 0.0) {
        const auto has_pole = hn::Gt(rim.far_pole, hn::Zero(d));
        pole_height = hn::IfThenElse(has_pole, Positive(hn::Neg(Log(hn::Min(rim.far_pole, one)))),
                                     pole_height);
        pole_margin =
            hn::Max(margin, hn::Add(Log(hn::Div(Product(face.gain, 8.0), allowed)), losses));
        nearness = hn::Max(nearness, hn::Div(pole_margin, pole_height));
    }
    auto shift = hn::IfThenElseZero(
        hn::Gt(hn::Abs(rim.retreat), hn::Abs(hn::Sub(rim.along, rim.retreat))), one);
    if (demand.of_gradient) {
        shift = one;  // by the normal's cosine
    }

    auto order = nearness;
    if (!hn::AllTrue(d, hn::Ge(nearness, RoughOrder(tables.sine, margin, X)))) {
        order = hn::Max(nearness, LeastOrder(tables.sine, margin, X));
    }
    auto spectrum = Product(hn::Add(shift, order), 0.5);
    Ends ends;
    if (demand.over_time) {
        const double a = rim.radius;
        const auto m0 = hn::Div(Number(a / pi), Positive(hn::Max(rim.beside, Number(1e-6 * a))));
        const auto reach = hn::Min(Number(a), Product(face.lever, 2.0));
        const auto m1 = hn::Div(Product(reach, a / (two_pi * demand.speed)), Positive(rim.near));
        ends =
            AskEnds(demand, m0, m1, Product(difference, 0.5 / demand.speed), Number(pi), allowed);
    }
    Given given = Rung(spectrum, ends);
    auto governing = margin;
    auto gauss_is_better = hn::Gt(hn::Zero(d), one);
    // Gauss's ellipse is higher than the strip of the same point only below this height, and its
    // rule oscillates no less well: further off it cannot win.
    const auto is_near = hn::Lt(hn::Min(height, pole_height), Number(0.7));
    if (!hn::AllFalse(d, hn::And(is_near, hn::Ge(nearness, order)))) {
        const auto of_gauss = [&](V strip) HWY_ATTR {
            const auto y = Product(strip, 2.0 / pi);
            return Ellipse(Product(hn::Add(y, hn::Sqrt(hn::Add(Number(4.0), Square(y)))), 0.5));
        };
        const auto q = hn::Div(difference, sum);
        const auto stretched = hn::Mul(X, hn::Sub(one, Product(Square(q), 0.2)));
        auto near_margin = with_path;
        if (!demand.of_gradient) {
            near_margin = NearMargin(rim.near, rim.steepness * k, allowed,
                                     hn::Sub(with_path, margin), losses, with_path);
        }
        const auto smooth_order = hn::Max(LeastOrder(tables.gauss, margin, stretched),
                                          hn::Div(pole_margin, of_gauss(pole_height)));
        const auto near_order =
            Hypotenuse(Product(stretched, half_pi), hn::Div(near_margin, of_gauss(height)));
        const auto gauss_order = hn::Max(smooth_order, near_order);
        const auto by_gauss = Product(hn::Add(shift, gauss_order), 0.5);
        Ends wider = ends;
        wider.kink = Product(ends.kink, half_pi);
        wider.jump = Product(ends.jump, half_pi);
        const Given other = Rung(by_gauss, wider);
        // Where both end with the ladder, the one that asks for less.
        gauss_is_better = hn::Or(
            hn::Lt(other.order, given.order),
            hn::And(hn::Eq(other.order, given.order),
                    hn::And(hn::Gt(given.asked, given.order), hn::Lt(other.asked, given.asked))));
        const auto better = [&](V yes, V no)
                                HWY_ATTR { return hn::IfThenElse(gauss_is_better, yes, no); };
        spectrum = better(by_gauss, spectrum);
        const auto by_nearness = hn::And(gauss_is_better, hn::Ge(near_order, smooth_order));
        governing = hn::IfThenElse(by_nearness, near_margin, governing);
        ends.kink = better(wider.kink, ends.kink);
        ends.jump = better(wider.jump, ends.jump);
        given = {better(other.order, given.order), better(other.asked, given.asked)};
    }
    StoreRung(given.order, gauss_is_better, *tables.midpoint, *tables.rim_gauss, out, lane);
    return StoreAsked(spectrum, governing, ends, given, asked, lane);
}

// Returns the rims of which a lane gets less than it asks for, as bits.
int ChooseRims(const RimScene& scene, const QuadratureDemand& demand, const ChoiceTables& tables,
               LaneQuadrature& out, Asked* asked) {
    const double k = demand.wavenumber;
    int fall_short = 0;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(Tag()))) {
        const RimsOfLanes face(scene, lane);
        Magnitude field = RimEnvelope(face, k);
        // The two rims of a narrow band of frequencies have nodes.
        if (demand.over_time && face.has_hole && demand.ends[0] == 0.0 &&
            demand.ends[1] < 1e-3 * k * demand.speed / two_pi) {
            field.value = Product(field.value, 0.5);
        }
        for (int rim = 0; rim < scene.rims; ++rim) {
            const auto r = static_cast<std::size_t>(rim);
            if (ChooseRim(rim == 0 ? face.outer : face.inner, face, field, demand, tables,
                          out.rules[r], asked[r], lane)) {
                fall_short |= 1 << rim;
            }
        }
    }
    return fall_short;
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void choose_rims(const RimScene& scene, const QuadratureDemand& demand, LaneQuadrature& out) {
    out.begin(static_cast<std::size_t>(scene.rims));
    Asked asked[2];
    const int fall_short = KAVRO_KERNEL(ChooseRims)(scene, demand, choice_tables(), out, asked);
    for (int rim = 0; rim < scene.rims; ++rim) {
        if ((fall_short >> rim & 1) != 0) {
            note_shortfall(asked[rim], demand.tolerance, out);
        }
    }
}

}  // namespace kavro
#endif  // HWY_ONCE
