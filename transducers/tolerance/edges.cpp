#include <cstddef>
#include <span>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/tolerance/choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/tolerance/edges.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "transducers/tolerance/rungs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

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
        hn::Store(Positive(Product(Positive(envelope), scene.share * demand.tolerance)), d,
                  out.allowed.data() + lane);
        hn::Store(Product(longer, demand.attenuation), d, out.losses.data() + lane);
        hn::Store(Product(z, demand.attenuation), d, out.losses_to_face.data() + lane);
    }
}

// How far a piece's phase is a parabola's rather than a line's: its slope at the far end exceeds
// the mean one by the share mu, nothing of a line and as much again of a parabola. What bends,
// bends next to the foot: fitted to the growth of R over ellipses.
HWY_INLINE V Bent(V s1, V s2, V length, V R1, V R2) {
    const auto steeper = hn::Max(hn::Zero(Tag()), hn::Sub(hn::Mul(s2, R1), hn::Mul(s1, R2)));
    const auto mu = hn::Div(steeper, Positive(hn::Mul(R2, hn::Add(s1, s2))));
    const auto early = hn::Div(Product(mu, 3.3), hn::Add(Product(mu, 2.3), Number(1.0)));
    return hn::Max(mu, hn::Mul(early, hn::Div(length, Positive(s2))));
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
        const auto bent = Bent(s1, s2, length, R1, R2);
        order = hn::Max(nearness, LeastOrder(tables.sine, tables.parabola, bent, margin, X));
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
    // All that an edge adds to a waveform without jumps is below 8 k L times the direct wave: next
    // to its line, rounding apart from it, there is nothing that a kink could spoil.
    const auto next_to_line = hn::Le(Product(L, 8.0 * k), allowed);
    ends.kink = hn::IfThenZeroElse(hn::Or(level, next_to_line), ends.kink);
    ends.jump = hn::IfThenZeroElse(level, ends.jump);
    const Given given = Rung(spectrum, ends);
    StoreRung(given.order, hn::Gt(zero, one), *tables.line_gauss, *tables.line_gauss, out, lane);
    const Indices di;
    const auto count = hn::Load(di, out.count.data() + lane);
    hn::Store(hn::IfThenZeroElse(hn::RebindMask(di, absent), count), di, out.count.data() + lane);
    const auto governing = hn::IfThenElse(hn::Ge(nearness, order), near_margin, margin);
    return StoreAsked(spectrum, governing, ends, given, asked, lane);
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
