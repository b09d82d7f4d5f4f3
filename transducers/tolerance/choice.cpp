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

#include "core/simd/exp-inl.h"

#ifndef KAVRO_CHOICE_TABLES
#define KAVRO_CHOICE_TABLES
namespace kavro {

// 1/eta and growth(eta)/eta at heights eta over the real axis, close enough to each other that the
// least of a line over them is within some per cent of the true one.
struct Growth {
    static constexpr int heights = 14;
    std::array<double, heights> inverse, relative;
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
    Lanes<double> spectrum, margin;  // abscissas; Lambda
    Lanes<double> kink, kink_order;
    Lanes<double> jump;
    Lanes<double> given;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, block_lanes>;
using Bits = hn::RebindToUnsigned<Tag>;
using V = hn::Vec<Tag>;
using M = hn::Mask<Tag>;

HWY_INLINE V Number(double value) {
    return hn::Set(Tag(), value);
}

HWY_INLINE V Square(V x) {
    return hn::Mul(x, x);
}

HWY_INLINE V Product(V a, double b) {
    return hn::Mul(a, Number(b));
}

// A divisor or an argument of a logarithm that must not be zero.
HWY_INLINE V Positive(V x) {
    return hn::Max(x, Number(1e-300));
}

// ln x of a positive number: x = 2^e f with f between sqrt(1/2) and sqrt(2), and the series of
// atanh((f - 1)/(f + 1)); 10 digits.
HWY_INLINE V Log(V x) {
    const Tag d;
    const Bits du;
    const auto bits = hn::BitCast(du, Positive(x));
    const auto offset = hn::Set(du, 0x3fe6a09e667f3bcdULL);  // sqrt(1/2)
    const auto above = hn::Sub(bits, offset);
    // e + 1023 as a number, through the bits of 2^52.
    const auto biased = hn::ShiftRight<52>(hn::Add(above, hn::Set(du, 1023ULL << 52)));
    const auto e = hn::Sub(hn::BitCast(d, hn::Or(biased, hn::Set(du, 0x4330000000000000ULL))),
                           Number(4503599627370496.0 + 1023.0));
    const auto low = hn::And(above, hn::Set(du, (1ULL << 52) - 1));
    const auto f = hn::BitCast(d, hn::Add(low, offset));
    const auto one = Number(1.0);
    const auto s = hn::Div(hn::Sub(f, one), hn::Add(f, one));
    const auto q = Square(s);
    auto series = Number(1.0 / 9.0);
    for (const double term : {1.0 / 7.0, 1.0 / 5.0, 1.0 / 3.0, 1.0}) {
        series = hn::Add(hn::Mul(series, q), Number(term));
    }
    return hn::Add(Product(hn::Mul(s, series), 2.0), Product(e, 0.69314718055994531));
}

// Height of the ellipse with the half axis A about an interval.
HWY_INLINE V Ellipse(V A) {
    return Positive(
        Log(hn::Add(A, hn::Sqrt(hn::Max(hn::Zero(Tag()), hn::Sub(Square(A), Number(1.0)))))));
}

HWY_INLINE V LeastOrder(const Growth& growth, V margin, V X) {
    auto least = hn::Add(Product(margin, growth.inverse[0]), Product(X, growth.relative[0]));
    for (std::size_t j = 1; j < growth.inverse.size(); ++j) {
        least = hn::Min(
            least, hn::Add(Product(margin, growth.inverse[j]), Product(X, growth.relative[j])));
    }
    return least;
}

HWY_INLINE V Hypotenuse(V a, V b) {
    return hn::Sqrt(hn::Add(Square(a), Square(b)));
}

// ---- what the ends of a waveform ask for

struct Ends {
    V kink, kink_order, jump;

    HWY_INLINE Ends() : kink(hn::Zero(Tag())), kink_order(hn::Zero(Tag())), jump(hn::Zero(Tag())) {}
};

// M_0, M_1 and the ratio of the others: the sizes of g, g tau' and tau'. `width` is n h.
HWY_INLINE Ends AskEnds(const QuadratureDemand& demand, V m0, V m1, V rate, V width, V allowed) {
    constexpr double beta[] = {0.5, 1.0 / 8.0, 0.00802, 2.0 / 720.0, 4.1e-4};
    Ends ends;
    if (demand.ends[0] > 0.0) {
        ends.jump = hn::Div(hn::Mul(width, Product(m0, beta[0] * demand.ends[0])), allowed);
    }
    const auto log_m1 = hn::Sub(Log(m1), Log(allowed));
    const auto log_rate = Log(rate);
    auto log_most = Number(-700.0);
    for (std::size_t order = 1; order < demand.ends.size(); ++order) {
        if (demand.ends[order] > 0.0) {
            const auto moment =
                hn::Add(hn::Add(log_m1, Log(Number(beta[order] * demand.ends[order]))),
                        Product(log_rate, static_cast<double>(order) - 1.0));
            const auto root = Product(moment, 1.0 / (static_cast<double>(order) + 1.0));
            ends.kink_order = hn::IfThenElse(hn::Gt(root, log_most),
                                             Number(static_cast<double>(order)), ends.kink_order);
            log_most = hn::Max(log_most, root);
        }
    }
    ends.kink = hn::Mul(width, Exp(Tag(), hn::Min(log_most, Number(100.0))));
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
    auto n = hn::Max(hn::Max(spectrum, ends.kink), hn::Min(ends.jump, most_of_jump));
    const auto asked = hn::Max(hn::Max(spectrum, ends.kink), ends.jump);
    n = hn::IfThenElse(hn::Eq(n, n), n, Number(ladder::fewest));
    n = hn::Min(hn::Max(n, Number(ladder::fewest)), Number(ladder::most));
    // Up to a whole number, then to two bits behind the leading one.
    constexpr std::uint64_t below_rungs = (1ULL << 50) - 1;
    const auto bits = hn::BitCast(du, hn::Ceil(n));
    const auto up = hn::AndNot(hn::Set(du, below_rungs), hn::Add(bits, hn::Set(du, below_rungs)));
    return {hn::BitCast(d, up), asked};
}

// Stores the choice of some lanes; the least order where `absent`: none at all.
HWY_INLINE void StoreRung(V order, M use_second, const RungOffsets& first,
                          const RungOffsets& second, RuleLanes& out, int lane) {
    const Tag d;
    const Bits du;
    HWY_ALIGN std::uint64_t rung[block_lanes];
    HWY_ALIGN double orders[block_lanes];
    HWY_ALIGN double seconds[block_lanes];
    hn::Store(hn::Sub(hn::ShiftRight<50>(hn::BitCast(du, order)), hn::Set(du, 0x4000ULL >> 2)), du,
              rung);
    hn::Store(order, d, orders);
    hn::Store(hn::IfThenElseZero(use_second, Number(1.0)), d, seconds);
    for (std::size_t l = 0; l < hn::Lanes(d); ++l) {
        const auto k = static_cast<std::size_t>(lane) + l;
        out.offset[k] = seconds[l] != 0.0 ? second[rung[l]] : first[rung[l]];
        out.count[k] = static_cast<std::int32_t>(orders[l]);
    }
}

HWY_INLINE bool StoreAsked(V spectrum, V margin, const Ends& ends, const Given& given, Asked& asked,
                           int lane) {
    const Tag d;
    hn::Store(spectrum, d, asked.spectrum.data() + lane);
    hn::Store(margin, d, asked.margin.data() + lane);
    hn::Store(ends.kink, d, asked.kink.data() + lane);
    hn::Store(ends.kink_order, d, asked.kink_order.data() + lane);
    hn::Store(ends.jump, d, asked.jump.data() + lane);
    hn::Store(given.order, d, asked.given.data() + lane);
    return !hn::AllFalse(d, hn::Gt(given.asked, given.order));
}

// ---- rims

struct RimOfLanes {
    V near, far, least, spread, along, retreat, beside, far_pole;
    double radius;
    M inside;

    HWY_INLINE RimOfLanes(const SeenRim& rim, const RimScene& scene, int lane)
        : radius(rim.radius) {
        const Tag d;
        near = hn::Load(d, rim.near.data() + lane);
        far = hn::Load(d, rim.far.data() + lane);
        least = hn::Load(d, rim.least.data() + lane);
        spread = hn::Load(d, rim.spread.data() + lane);
        along = hn::Load(d, rim.along.data() + lane);
        retreat = hn::Load(d, rim.retreat.data() + lane);
        beside = hn::Load(d, rim.beside.data() + lane);
        far_pole = hn::Load(d, rim.far_pole.data() + lane);
        inside = hn::Lt(hn::Load(d, scene.place.data() + lane), Number(rim.inside_below));
    }
};

struct RimsOfLanes {
    V off_axis, lever, ratio, path, gain;
    RimOfLanes outer, inner;  // the same where there is one only
    double curvature, area;
    bool has_hole;

    HWY_INLINE RimsOfLanes(const RimScene& scene, int lane)
        : off_axis(hn::Load(Tag(), scene.off_axis.data() + lane)),
          lever(hn::Load(Tag(), scene.lever.data() + lane)),
          ratio(hn::Load(Tag(), scene.ratio.data() + lane)),
          path(hn::Load(Tag(), scene.path.data() + lane)),
          gain(hn::Load(Tag(), scene.gain.data() + lane)),
          outer(scene.rim[0], scene, lane),
          inner(scene.rim[scene.rims - 1], scene, lane),
          curvature(scene.curvature),
          area(scene.area),
          has_hole(scene.rims > 1) {}
};

// The magnitude of the wave from the rim's nearest (kappa = 0) or farthest point (kappa = 2), by
// stationary phase.
HWY_INLINE V EdgeWave(const RimOfLanes& rim, const RimsOfLanes& face, V R, double kappa, double k) {
    const auto D = hn::Add(rim.least, Product(rim.spread, kappa));
    const auto N = hn::Sub(rim.along, Product(rim.retreat, kappa));
    const auto denominator = hn::Mul(D, hn::Sub(Number(1.0), Product(D, face.curvature)));
    const auto g =
        hn::Div(hn::Abs(hn::Mul(Product(face.ratio, rim.radius / pi), N)), Positive(denominator));
    const auto turns = Positive(Product(face.off_axis, 2.0 * k * rim.radius / pi));
    return hn::Mul(g, hn::Min(Number(pi), hn::Sqrt(hn::Div(R, turns))));
}

struct Magnitude {
    V value;
    V longer;  // the path of its first wave less the direct one's, which losses tell
};

// The envelope of |p| from below, in units of rho c w.
HWY_INLINE Magnitude RimEnvelope(const RimsOfLanes& face, double k) {
    const auto zero = hn::Zero(Tag());
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
    const auto longer = hn::Max(zero, hn::Sub(nearest, face.path));
    return {Positive(Product(hn::Min(whole, beam), 0.5)), hn::IfThenZeroElse(inside, longer)};
}

HWY_INLINE bool ChooseRim(const RimOfLanes& rim, const RimsOfLanes& face, const Magnitude& field,
                          const QuadratureDemand& demand, const ChoiceTables& tables,
                          RuleLanes& out, Asked& asked, int lane) {
    const Tag d;
    const auto one = Number(1.0);
    const double k = demand.highest_wavenumber;
    const auto sum = hn::Add(rim.far, rim.near);
    const auto difference =
        hn::Div(Product(face.off_axis, 4.0 * rim.radius), Positive(sum));  // R_far - R_near
    const auto X = Product(difference, 0.5 * k);
    const auto D = hn::Add(rim.least, rim.spread);
    const auto N = hn::Add(hn::Abs(hn::Sub(rim.along, rim.retreat)), hn::Abs(rim.retreat));
    const auto flatness = hn::Max(Number(0.05), hn::Sub(one, Product(D, face.curvature)));
    const auto size =
        hn::Div(hn::Mul(Product(face.ratio, rim.radius), N), Positive(hn::Mul(D, flatness)));
    const auto G = hn::Mul(size, hn::Min(one, Product(sum, 0.5 * k)));
    // Two rims share the tolerance. A jump makes a spike of its own.
    const double tolerance = demand.tolerance / (face.has_hole ? 2.0 : 1.0);
    auto magnitude = field.value;
    if (demand.over_time) {
        magnitude = hn::Max(magnitude, Product(size, demand.ends[0] * 0.25 / pi));
    }
    const auto allowed = Positive(Product(magnitude, tolerance));
    const double safety = demand.over_time ? 4.0 : 2.0;
    const auto losses = Product(field.longer, demand.attenuation);
    const auto margin =
        hn::Max(Number(0.5), hn::Add(Log(hn::Div(Product(G, safety), allowed)), losses));
    const auto with_path = hn::Add(margin, Product(face.path, demand.attenuation));

    const auto height = Positive(Log(hn::Div(sum, Positive(difference))));
    const auto pole = hn::Max(Positive(rim.far_pole), Number(1e-200));
    const auto pole_height = Positive(hn::Neg(Log(hn::Min(pole, one))));
    const auto pole_margin = hn::IfThenElseZero(
        hn::Gt(rim.far_pole, hn::Zero(d)),
        hn::Max(margin, hn::Add(Log(hn::Div(Product(face.gain, 8.0), allowed)), losses)));
    const auto shift = hn::IfThenElseZero(
        hn::Gt(hn::Abs(rim.retreat), hn::Abs(hn::Sub(rim.along, rim.retreat))), one);
    const auto half = Number(0.5);

    const auto oscillation = LeastOrder(tables.sine, margin, X);
    const auto nearness =
        hn::Max(Hypotenuse(X, hn::Div(with_path, height)), hn::Div(pole_margin, pole_height));
    auto spectrum = hn::Mul(half, hn::Add(shift, hn::Max(oscillation, nearness)));
    Ends ends;
    if (demand.over_time) {
        const double a = rim.radius;
        const auto m0 = hn::Div(Number(a / pi), hn::Max(rim.beside, Number(1e-6 * a)));
        const auto m1 = hn::Div(
            Product(hn::Min(Number(a), Product(face.lever, 2.0)), a / (two_pi * demand.speed)),
            Positive(rim.near));
        ends =
            AskEnds(demand, m0, m1, Product(difference, 0.5 / demand.speed), Number(pi), allowed);
    }
    Given given = Rung(spectrum, ends);
    auto gauss_is_better = hn::Lt(one, hn::Zero(d));
    // Gauss's rule oscillates no less well: it can only win where something is near.
    if (!hn::AllFalse(d, hn::Gt(nearness, oscillation))) {
        const auto of_gauss = [&](V of_midpoint) HWY_ATTR {
            const auto y = Product(of_midpoint, 2.0 / pi);
            return Ellipse(hn::Mul(half, hn::Add(y, hn::Sqrt(hn::Add(Number(4.0), Square(y))))));
        };
        const auto q = hn::Div(difference, Positive(sum));
        const auto stretched = hn::Mul(X, hn::Sub(one, Product(Square(q), 0.2)));
        const auto near_it =
            hn::Max(Hypotenuse(Product(stretched, half_pi), hn::Div(with_path, of_gauss(height))),
                    hn::Div(pole_margin, of_gauss(pole_height)));
        const auto by_gauss = hn::Mul(
            half, hn::Add(shift, hn::Max(LeastOrder(tables.gauss, margin, stretched), near_it)));
        Ends wider = ends;
        wider.kink = Product(ends.kink, half_pi);
        wider.jump = Product(ends.jump, half_pi);
        const Given other = Rung(by_gauss, wider);
        gauss_is_better = hn::Lt(other.order, given.order);
        spectrum = hn::IfThenElse(gauss_is_better, by_gauss, spectrum);
        ends.kink = hn::IfThenElse(gauss_is_better, wider.kink, ends.kink);
        ends.jump = hn::IfThenElse(gauss_is_better, wider.jump, ends.jump);
        given.order = hn::IfThenElse(gauss_is_better, other.order, given.order);
        given.asked = hn::IfThenElse(gauss_is_better, other.asked, given.asked);
    }
    StoreRung(given.order, gauss_is_better, *tables.midpoint, *tables.rim_gauss, out, lane);
    return StoreAsked(spectrum, margin, ends, given, asked, lane);
}

// Returns the rims of which a lane asks for more than it gets, as bits.
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

HWY_INLINE Magnitude FaceEnvelope(const PieceScene& scene, double k, int lane) {
    const Tag d;
    const double wavelength = two_pi / k;
    const auto R = hn::Load(d, scene.nearest.data() + lane);
    const auto zone = hn::Sqrt(Product(hn::Max(R, Number(1e-3 * wavelength)), wavelength));
    auto value = Number(0.5 * scene.sharpness);
    for (int i = 0; i < 2; ++i) {
        const auto gap = hn::Load(d, scene.beside[i].data() + lane);
        const auto past = hn::Min(Number(0.5), hn::Div(zone, Positive(Product(gap, two_pi))));
        const auto part = hn::Min(Number(1.0), hn::Div(Number(scene.extents[i]), zone));
        value = hn::Mul(value, hn::IfThenElse(hn::Gt(gap, hn::Zero(d)), hn::Min(part, past), part));
    }
    const auto z = hn::Load(d, scene.height.data() + lane);
    return {Positive(value), hn::Max(hn::Zero(d), hn::Sub(R, z))};
}

HWY_INLINE bool ChoosePiece(const SeenPiece& piece, V z, const Magnitude& field,
                            const QuadratureDemand& demand, const ChoiceTables& tables,
                            RuleLanes& out, Asked& asked, int lane) {
    const Tag d;
    const auto zero = hn::Zero(d);
    const auto one = Number(1.0);
    const double k = demand.highest_wavenumber;
    const auto L = hn::Abs(hn::Load(d, piece.L.data() + lane));
    const auto s1 = hn::Load(d, piece.nearer.data() + lane);
    const auto s2 = hn::Load(d, piece.farther.data() + lane);
    const auto length = hn::Sub(s2, s1);
    const auto L2 = Square(L);
    const auto B2 = hn::Add(L2, Square(z));
    const auto R1 = hn::Sqrt(hn::Add(B2, Square(s1)));
    const auto R2 = hn::Sqrt(hn::Add(B2, Square(s2)));
    const auto sum = hn::Add(R1, R2);
    const auto X = hn::Div(Product(hn::Mul(length, hn::Add(s1, s2)), 0.5 * k), Positive(sum));
    const auto height = Ellipse(hn::Div(sum, Positive(length)));
    const auto D1 = Positive(hn::Add(L2, Square(s1)));
    const auto share = hn::Min(Number(0.5), hn::Div(Product(hn::Mul(L, length), 1.0 / two_pi), D1));
    const auto G = hn::Mul(Product(share, 2.0), hn::Min(one, Product(sum, 0.5 * k)));
    const auto allowed = Positive(Product(field.value, demand.tolerance));
    const auto losses = Product(field.longer, demand.attenuation);
    const auto margin =
        hn::Max(Number(0.5), hn::Add(Log(hn::Div(Product(G, 2.0), allowed)), losses));
    const auto with_path = hn::Add(margin, Product(z, demand.attenuation));
    const auto bent =
        hn::Div(hn::Mul(hn::Sub(one, hn::Div(s1, Positive(s2))), hn::Sqrt(B2)), Positive(R2));
    const auto oscillation =
        hn::Add(hn::Mul(hn::Sub(one, bent), LeastOrder(tables.sine, margin, X)),
                hn::Mul(bent, LeastOrder(tables.parabola, margin, X)));
    auto spectrum = Product(hn::Max(oscillation, Hypotenuse(X, hn::Div(with_path, height))), 0.5);
    Ends ends;
    if (demand.over_time) {
        const auto of_L = Product(L, 1.0 / two_pi);
        const auto m0 = hn::Div(of_L, D1);
        const auto m1 = hn::Div(hn::Min(Number(0.25 / pi), hn::Div(hn::Mul(of_L, s2), D1)),
                                Positive(Product(R1, demand.speed)));
        ends = AskEnds(demand, m0, m1, hn::Div(s2, Positive(Product(R2, demand.speed))),
                       Product(length, half_pi), Product(allowed, 0.75));
    }
    const auto none = hn::Le(length, zero);
    const auto level = hn::Or(none, hn::Le(L, zero));
    spectrum = hn::IfThenZeroElse(level, spectrum);
    ends.kink = hn::IfThenZeroElse(level, ends.kink);
    ends.jump = hn::IfThenZeroElse(level, ends.jump);
    const Given given = Rung(spectrum, ends);
    StoreRung(given.order, none, *tables.line_gauss, *tables.line_gauss, out, lane);
    return StoreAsked(spectrum, margin, ends, given, asked, lane);
}

bool ChoosePieceOfBlock(const PieceScene& scene, std::size_t index, const QuadratureDemand& demand,
                        const ChoiceTables& tables, RuleLanes& out, Asked& asked) {
    const Tag d;
    bool falls_short = false;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const Magnitude field = FaceEnvelope(scene, demand.wavenumber, lane);
        if (ChoosePiece(scene.pieces[index], hn::Load(d, scene.height.data() + lane), field, demand,
                        tables, out, asked, lane)) {
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
        table.inverse[j] = 1.0 / eta;
        table.relative[j] = std::min(growth(eta), 1e100) / eta;
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

void begin(LaneQuadrature& out, std::size_t rules) {
    out.rules.resize(rules);
    out.error.fill(0.0);
    out.shortfall.fill(Shortfall::none);
}

// The error where a lane got less than it asked for.
void note_shortfall(const Asked& asked, double tolerance, LaneQuadrature& out) {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double given = asked.given[lane];
        const auto note = [&](double wanted, double power, Shortfall why) {
            if (wanted > given) {
                const double error = std::min(1.0, tolerance * std::pow(wanted / given, power));
                if (error > out.error[lane]) {
                    out.error[lane] = error;
                    out.shortfall[lane] = why;
                }
            }
        };
        note(asked.jump[lane], 1.0, Shortfall::jump);
        note(asked.kink[lane], asked.kink_order[lane] + 1.0, Shortfall::kink);
        // What is smooth falls like e^(-margin n / wanted).
        const double wanted = asked.spectrum[lane];
        if (wanted > given) {
            const double left = asked.margin[lane] * (1.0 - given / wanted);
            note(wanted, left / std::log(wanted / given), Shortfall::edge);
        }
    }
}

}  // namespace

void choose_rims(const RimScene& scene, const QuadratureDemand& demand, LaneQuadrature& out) {
    begin(out, static_cast<std::size_t>(scene.rims));
    Asked asked[2];
    const int fall_short = KAVRO_KERNEL(ChooseRims)(scene, demand, choice_tables(), out, asked);
    for (int rim = 0; rim < scene.rims; ++rim) {
        if ((fall_short >> rim & 1) != 0) {
            note_shortfall(asked[rim], demand.tolerance, out);
        }
    }
}

void choose_pieces(const PieceScene& scene, const QuadratureDemand& demand, LaneQuadrature& out) {
    begin(out, scene.pieces.size());
    for (std::size_t i = 0; i < scene.pieces.size(); ++i) {
        Asked asked;
        if (KAVRO_KERNEL(ChoosePieceOfBlock)(scene, i, demand, choice_tables(), out.rules[i],
                                             asked)) {
            note_shortfall(asked, demand.tolerance, out);
        }
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            if (!(scene.pieces[i].farther[lane] > scene.pieces[i].nearer[lane])) {
                out.rules[i].count[lane] = 0;
            }
        }
    }
}

}  // namespace kavro
#endif  // HWY_ONCE
