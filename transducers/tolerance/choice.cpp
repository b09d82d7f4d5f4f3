#include "transducers/tolerance/choice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "core/constants.h"
#include "core/rule_ladder.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/tolerance/choice.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/vector_math-inl.h"

#ifndef KAVRO_CHOICE_TABLES
#define KAVRO_CHOICE_TABLES
namespace kavro {

// 1/eta and growth(eta)/eta at heights eta over the real axis, close enough to each other that the
// least of a line over them is within some per cent of the true one.
struct Growth {
    static constexpr int heights = 14;
    std::array<float, heights> inverse, relative;
};

struct ChoiceTables {
    Growth sine;      // of the midpoint rule, and of a phase that is linear along a piece
    Growth gauss;     // Gauss's rule over a rim
    Growth parabola;  // a phase that is quadratic along a piece
    const RungOffsets* midpoint;
    const RungOffsets* rim_gauss;
    const RungOffsets* line_gauss;
};

// What a rim or piece asks for, and of which a lane got less.
struct Asked {
    Lanes<float> spectrum, margin;  // abscissas; Lambda
    Lanes<float> kink, kink_order;
    Lanes<float> jump;
    Lanes<float> given;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<float, block_lanes>;
using Bits = hn::RebindToUnsigned<Tag>;
using Indices = hn::RebindToSigned<Tag>;
using V = hn::Vec<Tag>;
using M = hn::Mask<Tag>;

HWY_INLINE V Number(double value) {
    return hn::Set(Tag(), static_cast<float>(value));
}

HWY_INLINE V Load(const Lanes<float>& lanes, int lane) {
    return hn::Load(Tag(), lanes.data() + lane);
}

HWY_INLINE V Square(V x) {
    return hn::Mul(x, x);
}

HWY_INLINE V Product(V a, double b) {
    return hn::Mul(a, Number(b));
}

// A divisor or an argument of a logarithm that must not be zero.
HWY_INLINE V Positive(V x) {
    return hn::Max(x, Number(1e-36));
}

// ln x of a positive number: x = 2^e f with f between sqrt(1/2) and sqrt(2), and the series of
// atanh((f - 1)/(f + 1)); five digits.
HWY_INLINE V Log(V x) {
    const Tag d;
    const Bits du;
    const Indices di;
    const auto offset = hn::Set(du, 0x3f3504f3u);  // sqrt(1/2)
    const auto above = hn::Sub(hn::BitCast(du, Positive(x)), offset);
    const auto e = hn::ConvertTo(d, hn::ShiftRight<23>(hn::BitCast(di, above)));
    const auto mantissa = hn::And(above, hn::Set(du, (1u << 23) - 1));
    const auto f = hn::BitCast(d, hn::Add(mantissa, offset));
    const auto one = Number(1.0);
    const auto s = hn::Div(hn::Sub(f, one), hn::Add(f, one));
    const auto q = Square(s);
    const auto series = hn::Add(hn::Mul(hn::Add(Product(q, 1.0 / 5.0), Number(1.0 / 3.0)), q), one);
    return hn::Add(Product(hn::Mul(s, series), 2.0), Product(e, 0.69314718055994531));
}

// Height of the ellipse with the half axis A about an interval.
HWY_INLINE V Ellipse(V A) {
    const auto excess = hn::Max(hn::Zero(Tag()), hn::Sub(Square(A), Number(1.0)));
    return Positive(Log(hn::Add(A, hn::Sqrt(excess))));
}

HWY_INLINE V OrderAt(const Growth& growth, std::size_t height, V margin, V X) {
    const Tag d;
    return hn::Add(hn::Mul(margin, hn::Set(d, growth.inverse[height])),
                   hn::Mul(X, hn::Set(d, growth.relative[height])));
}

HWY_INLINE V LeastOrder(const Growth& growth, V margin, V X) {
    auto least = OrderAt(growth, 0, margin, X);
    for (std::size_t j = 1; j < growth.inverse.size(); ++j) {
        least = hn::Min(least, OrderAt(growth, j, margin, X));
    }
    return least;
}

// The same from a few heights, so never below it.
HWY_INLINE V RoughOrder(const Growth& growth, V margin, V X) {
    return hn::Min(OrderAt(growth, 13, margin, X),
                   hn::Min(OrderAt(growth, 10, margin, X), OrderAt(growth, 6, margin, X)));
}

// Found by trial: pulses peak above their envelope, and gradients are the steeper ones next to an
// edge.
HWY_INLINE double SafetyOf(const QuadratureDemand& demand) {
    return demand.of_gradient ? 8.0 : demand.over_time ? 4.0 : 2.0;
}

HWY_INLINE V Hypotenuse(V a, V b) {
    return hn::Sqrt(hn::Add(Square(a), Square(b)));
}

// Lambda of what is singular next to an edge, where Gauss's rule begins or ends. At the distance
// `near` that is a peak no larger than k and no wider than `near`: the closer, the less it matters.
HWY_INLINE V NearMargin(V near, double k, V allowed, V losses_to_face, V losses, V at_most) {
    const auto peak = Log(hn::Div(Product(near, 8.0 * k), allowed));
    const auto margin = hn::Add(peak, hn::Add(losses, losses_to_face));
    return hn::Min(at_most, hn::Max(hn::Zero(Tag()), margin));
}

// ---- what the ends of a waveform ask for

struct Ends {
    V kink, kink_order, jump;

    HWY_INLINE Ends() : kink(hn::Zero(Tag())), kink_order(hn::Zero(Tag())), jump(hn::Zero(Tag())) {}
};

// M_0, M_1 and the ratio of the others: the sizes of g, g tau' and tau'. `width` is n h.
HWY_INLINE Ends AskEnds(const QuadratureDemand& demand, V m0, V m1, V rate, V width, V allowed) {
    Ends ends;
    if (demand.ends[0] > 0.0) {
        const auto jump =
            hn::Div(hn::Mul(width, Product(m0, end_share[0] * demand.ends[0])), allowed);
        // Where all of it is heard at once, a rule of any order sums to the same.
        ends.jump = hn::IfThenElseZero(hn::Gt(rate, hn::Zero(Tag())), jump);
    }
    const auto log_m1 = Log(hn::Div(m1, allowed));
    const auto log_rate = Log(rate);
    auto log_most = Number(-80.0);
    for (std::size_t order = 1; order < demand.ends.size(); ++order) {
        if (demand.ends[order] > 0.0) {
            const auto power = static_cast<double>(order);
            const auto moment = hn::Add(hn::Add(log_m1, Number(demand.log_ends[order])),
                                        Product(log_rate, power - 1.0));
            const auto root = Product(moment, 1.0 / (power + 1.0));
            ends.kink_order =
                hn::IfThenElse(hn::Gt(root, log_most), Number(power), ends.kink_order);
            log_most = hn::Max(log_most, root);
        }
    }
    ends.kink = hn::Mul(width, ExpSingle(Tag(), log_most));
    return ends;
}

// ---- from what is asked for to a rung

struct Given {
    V order;
    V asked;  // without limits
};

HWY_INLINE Given Rung(V spectrum, const Ends& ends) {
    const Tag d;
    const Bits du;
    // A jump would ask for a hundredfold and more.
    const auto most_of_jump = hn::Max(Product(spectrum, 4.0), Number(64.0));
    const auto smooth = hn::Max(spectrum, ends.kink);
    auto n = hn::Max(smooth, hn::Min(ends.jump, most_of_jump));
    n = hn::IfThenElse(hn::Eq(n, n), n, Number(ladder::fewest));
    n = hn::Min(hn::Max(n, Number(ladder::fewest)), Number(ladder::most));
    // Up to a whole number, then to two bits behind the leading one.
    constexpr std::uint32_t below_rungs = (1u << 21) - 1;
    const auto bits = hn::BitCast(du, hn::Ceil(n));
    const auto up = hn::AndNot(hn::Set(du, below_rungs), hn::Add(bits, hn::Set(du, below_rungs)));
    return {hn::BitCast(d, up), hn::Max(smooth, ends.jump)};
}

// Stores the choice of some lanes from the tables of the first or of the second kind.
HWY_INLINE void StoreRung(V order, M is_second, const RungOffsets& first, const RungOffsets& second,
                          RuleLanes& out, int lane) {
    const Tag d;
    const Indices di;
    constexpr std::int32_t rung_of_two = 0x40000000 >> 21;
    const auto rung = hn::Sub(hn::ShiftRight<21>(hn::BitCast(di, order)), hn::Set(di, rung_of_two));
    auto offset = hn::GatherIndex(di, first.data(), rung);
    if (!hn::AllFalse(d, is_second)) {
        offset = hn::IfThenElse(hn::RebindMask(di, is_second),
                                hn::GatherIndex(di, second.data(), rung), offset);
    }
    hn::Store(offset, di, out.offset.data() + lane);
    hn::Store(hn::ConvertTo(di, order), di, out.count.data() + lane);
}

// Whether a lane gets less than it asks for.
HWY_INLINE bool StoreAsked(V spectrum, V margin, const Ends& ends, const Given& given, Asked& asked,
                           int lane) {
    const Tag d;
    if (hn::AllFalse(d, hn::Gt(given.asked, given.order))) {
        hn::Store(given.order, d, asked.spectrum.data() + lane);
        hn::Store(hn::Zero(d), d, asked.kink.data() + lane);
        hn::Store(hn::Zero(d), d, asked.jump.data() + lane);
        hn::Store(given.order, d, asked.given.data() + lane);
        return false;
    }
    hn::Store(spectrum, d, asked.spectrum.data() + lane);
    hn::Store(margin, d, asked.margin.data() + lane);
    hn::Store(ends.kink, d, asked.kink.data() + lane);
    hn::Store(ends.kink_order, d, asked.kink_order.data() + lane);
    hn::Store(ends.jump, d, asked.jump.data() + lane);
    hn::Store(given.order, d, asked.given.data() + lane);
    return true;
}

// ---- rims

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
    // Two rims share the tolerance. A jump makes a spike of its own.
    const double tolerance = demand.tolerance / (face.has_hole ? 2.0 : 1.0);
    auto magnitude = field.value;
    if (demand.over_time) {
        magnitude = hn::Max(magnitude, Product(size, demand.ends[0] * 0.25 / pi));
    }
    const auto allowed = Positive(Product(magnitude, tolerance));
    const auto losses = Product(field.longer, demand.attenuation);
    const auto margin = hn::Max(
        Number(0.5),
        hn::Add(Log(hn::Div(Product(G, rim.steepness * SafetyOf(demand)), allowed)), losses));
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
        auto gauss_order = hn::Max(
            LeastOrder(tables.gauss, margin, stretched),
            Hypotenuse(Product(stretched, half_pi), hn::Div(near_margin, of_gauss(height))));
        gauss_order = hn::Max(gauss_order, hn::Div(pole_margin, of_gauss(pole_height)));
        const auto by_gauss = Product(hn::Add(shift, gauss_order), 0.5);
        Ends wider = ends;
        wider.kink = Product(ends.kink, half_pi);
        wider.jump = Product(ends.jump, half_pi);
        const Given other = Rung(by_gauss, wider);
        gauss_is_better = hn::Lt(other.order, given.order);
        const auto better = [&](V yes, V no)
                                HWY_ATTR { return hn::IfThenElse(gauss_is_better, yes, no); };
        spectrum = better(by_gauss, spectrum);
        ends.kink = better(wider.kink, ends.kink);
        ends.jump = better(wider.jump, ends.jump);
        given = {better(other.order, given.order), better(other.asked, given.asked)};
    }
    StoreRung(given.order, gauss_is_better, *tables.midpoint, *tables.rim_gauss, out, lane);
    return StoreAsked(spectrum, margin, ends, given, asked, lane);
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

// ---- pieces

void FindAllowance(const FaceScene& scene, const QuadratureDemand& demand, FaceAllowance& out) {
    const Tag d;
    const double wavelength = two_pi / demand.wavenumber;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto R = Load(scene.nearest, lane);
        const auto z = Load(scene.height, lane);
        const auto zone = hn::Sqrt(Product(hn::Max(R, Number(1e-3 * wavelength)), wavelength));
        const auto in_zones = hn::Div(Number(1.0), Positive(zone));
        auto envelope = Number(0.5 * scene.sharpness);
        for (int i = 0; i < 2; ++i) {
            const auto gap = Load(scene.beside[i], lane);
            const auto past = hn::Min(Number(0.5), hn::Div(zone, Positive(Product(gap, two_pi))));
            const auto part = hn::Min(Number(1.0), Product(in_zones, scene.extents[i]));
            const auto is_beside = hn::Gt(gap, hn::Zero(d));
            envelope = hn::Mul(envelope, hn::IfThenElse(is_beside, hn::Min(part, past), part));
        }
        const auto longer = hn::Max(hn::Zero(d), hn::Sub(R, z));
        hn::Store(Positive(Product(Positive(envelope), demand.tolerance)), d,
                  out.allowed.data() + lane);
        hn::Store(Product(longer, demand.attenuation), d, out.losses.data() + lane);
        hn::Store(Product(z, demand.attenuation), d, out.losses_to_face.data() + lane);
    }
}

HWY_INLINE bool ChoosePiece(const SeenPiece& piece, const FaceScene& scene,
                            const FaceAllowance& allowance, const QuadratureDemand& demand,
                            const ChoiceTables& tables, RuleLanes& out, Asked& asked, int lane) {
    const Tag d;
    const auto zero = hn::Zero(d);
    const auto one = Number(1.0);
    const double k = demand.highest_wavenumber;
    const auto s1 = Load(piece.nearer, lane);
    const auto s2 = Load(piece.farther, lane);
    const auto length = hn::Sub(s2, s1);
    const auto absent = hn::Le(length, zero);
    if (hn::AllTrue(d, absent)) {
        hn::Store(hn::Zero(Indices()), Indices(), out.count.data() + lane);
        hn::Store(zero, d, asked.given.data() + lane);
        hn::Store(zero, d, asked.spectrum.data() + lane);
        hn::Store(zero, d, asked.kink.data() + lane);
        hn::Store(zero, d, asked.jump.data() + lane);
        return false;
    }
    const auto L = hn::Abs(Load(piece.L, lane));
    const auto z = Load(scene.height, lane);
    const auto allowed = Load(allowance.allowed, lane);
    const auto L2 = Square(L);
    const auto B2 = hn::Add(L2, Square(z));
    const auto R1 = hn::Sqrt(hn::Add(B2, Square(s1)));
    const auto R2 = hn::Sqrt(hn::Add(B2, Square(s2)));
    const auto sum = Positive(hn::Add(R1, R2));
    const auto X = hn::Div(Product(hn::Mul(length, hn::Add(s1, s2)), 0.5 * k), sum);
    const auto height = Ellipse(hn::Div(sum, Positive(length)));
    const auto D1 = Positive(hn::Add(L2, Square(s1)));
    const auto share = hn::Div(Product(hn::Mul(L, length), 1.0 / two_pi), D1);
    auto G = Product(hn::Min(Number(0.5), share), 2.0);
    if (demand.of_gradient) {
        G = hn::Max(G, hn::Div(length, sum));
    } else {
        G = hn::Mul(G, hn::Min(one, Product(sum, 0.5 * k)));
    }
    const auto margin = hn::Max(
        Number(0.5),
        hn::Add(Log(hn::Div(Product(G, SafetyOf(demand)), allowed)), Load(allowance.losses, lane)));
    const auto to_face = Load(allowance.losses_to_face, lane);
    auto near_margin = hn::Add(margin, to_face);
    if (!demand.of_gradient) {
        near_margin = NearMargin(L, k, allowed, to_face, Load(allowance.losses, lane), near_margin);
    }
    const auto nearness = Hypotenuse(X, hn::Div(near_margin, height));
    auto order = nearness;
    if (!hn::AllTrue(d, hn::Or(absent, hn::Ge(nearness, RoughOrder(tables.parabola, margin, X))))) {
        const auto bent =
            hn::Div(hn::Mul(hn::Sub(one, hn::Div(s1, Positive(s2))), hn::Sqrt(B2)), Positive(R2));
        const auto straight = LeastOrder(tables.sine, margin, X);
        const auto more = hn::Sub(LeastOrder(tables.parabola, margin, X), straight);
        order = hn::Max(nearness, hn::Add(straight, hn::Mul(bent, more)));
    }
    auto spectrum = Product(order, 0.5);
    Ends ends;
    if (demand.over_time) {
        const auto of_L = hn::Div(Product(L, 1.0 / two_pi), D1);
        const auto m1 = hn::Div(hn::Min(Number(0.25 / pi), hn::Mul(of_L, s2)),
                                Positive(Product(R1, demand.speed)));
        ends = AskEnds(demand, of_L, m1, hn::Div(s2, Positive(Product(R2, demand.speed))),
                       Product(length, half_pi), Product(allowed, 0.75));
    }
    // In line with an edge all its coefficients are zero, but those of the gradient.
    const auto in_line = hn::Le(L, demand.of_gradient ? Number(-1.0) : zero);
    const auto level = hn::Or(absent, in_line);
    spectrum = hn::IfThenZeroElse(level, spectrum);
    ends.kink = hn::IfThenZeroElse(level, ends.kink);
    ends.jump = hn::IfThenZeroElse(level, ends.jump);
    const Given given = Rung(spectrum, ends);
    StoreRung(given.order, hn::Gt(zero, one), *tables.line_gauss, *tables.line_gauss, out, lane);
    const Indices di;
    const auto count = hn::Load(di, out.count.data() + lane);
    hn::Store(hn::IfThenZeroElse(hn::RebindMask(di, absent), count), di, out.count.data() + lane);
    return StoreAsked(spectrum, margin, ends, given, asked, lane);
}

bool ChoosePieces(const SeenPiece& piece, const FaceScene& scene, const FaceAllowance& allowance,
                  const QuadratureDemand& demand, const ChoiceTables& tables, RuleLanes& out,
                  Asked& asked) {
    bool falls_short = false;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(Tag()))) {
        if (ChoosePiece(piece, scene, allowance, demand, tables, out, asked, lane)) {
            falls_short = true;
        }
    }
    return falls_short;
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

template <class Function>
Growth tabulated(Function growth) {
    Growth table{};
    double eta = 0.09;
    for (std::size_t j = 0; j < table.inverse.size(); ++j, eta *= 1.4) {
        table.inverse[j] = static_cast<float>(1.0 / eta);
        table.relative[j] = static_cast<float>(std::min(growth(eta), 1e30) / eta);
    }
    return table;
}

double growth_of_parabola(double eta) {
    constexpr int steps = 200;
    double largest = 0.0;
    for (int i = 1; i < steps; ++i) {
        const double theta = pi * i / steps;
        largest = std::max(
            largest, (1.0 + std::cosh(eta) * std::cos(theta)) * std::sinh(eta) * std::sin(theta));
    }
    return largest;
}

const ChoiceTables& choice_tables() {
    static const ChoiceTables tables{
        tabulated([](double eta) { return std::sinh(eta); }),
        tabulated([](double eta) { return std::sinh(half_pi * std::sinh(eta)); }),
        tabulated(growth_of_parabola),
        &rim_ladder<double>().midpoint,
        &rim_ladder<double>().gauss,
        &line_ladder<double>().gauss};
    return tables;
}

// The error where a lane got less than it asked for.
void note_shortfall(const Asked& asked, double tolerance, LaneQuadrature& out) {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double given = static_cast<double>(asked.given[lane]);
        const auto note = [&](double wanted, double power, Shortfall why) {
            if (wanted > given) {
                const double error = std::min(1.0, tolerance * std::pow(wanted / given, power));
                if (error > out.error[lane]) {
                    out.error[lane] = error;
                    out.shortfall[lane] = why;
                }
            }
        };
        note(static_cast<double>(asked.jump[lane]), 1.0, Shortfall::jump);
        note(static_cast<double>(asked.kink[lane]),
             static_cast<double>(asked.kink_order[lane]) + 1.0, Shortfall::kink);
        // What is smooth falls like e^(-margin n / wanted).
        const double wanted = static_cast<double>(asked.spectrum[lane]);
        if (wanted > given) {
            const double left = static_cast<double>(asked.margin[lane]) * (1.0 - given / wanted);
            note(wanted, left / std::log(wanted / given), Shortfall::edge);
        }
    }
}

}  // namespace

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

FaceAllowance allowance_of(const FaceScene& scene, const QuadratureDemand& demand) {
    FaceAllowance allowance;
    KAVRO_KERNEL(FindAllowance)(scene, demand, allowance);
    return allowance;
}

void choose_pieces(std::span<const SeenPiece> pieces, const FaceScene& scene,
                   const FaceAllowance& allowance, const QuadratureDemand& demand,
                   std::size_t first, LaneQuadrature& out) {
    for (const SeenPiece& piece : pieces) {
        Asked asked;
        if (KAVRO_KERNEL(ChoosePieces)(piece, scene, allowance, demand, choice_tables(),
                                       out.rules[first++], asked)) {
            note_shortfall(asked, demand.tolerance, out);
        }
    }
}

}  // namespace kavro
#endif  // HWY_ONCE
