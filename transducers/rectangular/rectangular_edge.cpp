#include "transducers/rectangular/rectangular_edge.h"

#include <cstddef>
#include <limits>
#include <type_traits>

#include "core/constants.h"
#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/rectangular/rectangular_edge.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#ifndef KAVRO_RECTANGULAR_EDGE_TABLES
#define KAVRO_RECTANGULAR_EDGE_TABLES
namespace kavro {

// The rule along one pair of edges.
template <class Real>
struct EdgePairTables {
    int count;
    const Real* piece;         // u_i^2
    const Real* piece_weight;  // w_i / 2
    const Real* whole;         // t_i times half the length
    const Real* whole_weight;  // w_i times half the length
};

template <class Real>
struct RectangularTables {
    Real half_width, half_height, speed;
    EdgePairTables<Real> along_x, along_y;
};

}  // namespace kavro
#endif

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Real>
using Tag = hn::CappedTag<Real, block_lanes>;

// Distances from the feet to the two ends of an interval about 0, or to the two edges there.
template <class V>
struct Ends {
    V below, above;                // half + position, half - position
    V below_gained, above_gained;  // their squares less that of the position

    HWY_INLINE Ends(V half, V position)
        : below(hn::Add(half, position)),
          above(hn::Sub(half, position)),
          below_gained(hn::Mul(half, hn::Add(below, position))),
          above_gained(hn::Mul(half, hn::Sub(above, position))) {}
};

// Whether no foot of the block lies between the ends.
template <class Real>
HWY_INLINE bool AllOutside(Real half, const Lanes<Real>& position) {
    const Tag<Real> d;
    bool all = true;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const Ends ends(hn::Set(d, half), hn::Load(d, position.data() + lane));
        const auto zero = hn::Zero(d);
        all = all && hn::AllTrue(d, hn::Or(hn::Le(ends.below, zero), hn::Le(ends.above, zero)));
    }
    return all;
}

// The terms of some lanes of a block as they are stored one after the other.
template <bool kFromMiddle, class Real>
struct TermWriter {
    using V = hn::Vec<Tag<Real>>;

    EdgeBlock<Real>& block;
    int lane;
    V z, z_squared, inverse_speed;
    V middle_path;
    V sum;
    size_t at;
    bool normals_along_x = false;  // of the edges at hand: else along y

    HWY_INLINE TermWriter(EdgeBlock<Real>& target, int first_lane, Real speed)
        : block(target), lane(first_lane), at(static_cast<size_t>(first_lane)) {
        const Tag<Real> d;
        z = hn::Load(d, block.z.data() + lane);
        z_squared = hn::Mul(z, z);
        inverse_speed = hn::Set(d, Real(1) / speed);
        if constexpr (kFromMiddle) {
            Lanes<Real> middle;
            for (int l = lane; l < lane + static_cast<int>(hn::Lanes(d)); ++l) {
                const auto k = static_cast<size_t>(l);
                middle[k] = static_cast<Real>(block.middle_path[k]);
            }
            middle_path = hn::Load(d, middle.data() + lane);
        }
        sum = hn::Zero(d);
    }

    // Both edges at their distances, on each a sample at sqrt(q) along it; q_gained is q less the
    // square of where the middle is along it.
    HWY_INLINE void Write(V weight, const Ends<V>& distances, V q, V q_gained,
                          hn::Mask<Tag<Real>> present) {
        if (block.has_gradient()) {
            const auto by_normal = hn::IfThenElseZero(present, weight);
            WriteNormal(by_normal, at);
            WriteNormal(hn::Neg(by_normal), at + block_lanes);
        }
        Write(weight, distances.below, q, hn::Add(distances.below_gained, q_gained), present);
        Write(weight, distances.above, q, hn::Add(distances.above_gained, q_gained), present);
    }

    HWY_INLINE void WriteNormal(V b, size_t where) {
        const Tag<Real> d;
        EdgeGradient<Real>& gradient = block.gradient;
        hn::Store(normals_along_x ? b : hn::Zero(d), d, gradient.across_coefficient.data() + where);
        hn::Store(normals_along_x ? hn::Zero(d) : b, d, gradient.aside_coefficient.data() + where);
    }

    // gained: R^2 - R_m^2.
    HWY_INLINE void Write(V weight, V L, V q, V gained, hn::Mask<Tag<Real>> present) {
        const Tag<Real> d;
        const auto L_squared = hn::Mul(L, L);
        const auto D = hn::Add(L_squared, q);
        const auto on_it = hn::Le(D, hn::Zero(d));  // only on a face without a size
        const auto g =
            hn::IfThenElseZero(hn::AndNot(on_it, present), hn::Div(hn::Mul(weight, L), D));
        const auto R = hn::Sqrt(hn::Add(hn::Add(z_squared, L_squared), q));
        hn::Store(g, d, block.coefficient.data() + at);
        hn::Store(hn::Mul(R, inverse_speed), d, block.delay.data() + at);
        if constexpr (kFromMiddle) {
            const auto least = hn::Set(d, std::numeric_limits<Real>::min());  // as of no size
            hn::Store(hn::Div(gained, hn::Max(hn::Add(R, middle_path), least)), d,
                      block.excess.data() + at);
        } else if (block.has_excess()) {
            hn::Store(hn::IfThenZeroElse(on_it, hn::Div(D, hn::Add(R, z))), d,
                      block.excess.data() + at);
        }
        sum = hn::Add(sum, g);
        at += block_lanes;
    }

    // Two terms of coefficient 0, so that what follows begins a four.
    HWY_INLINE void FillFour() {
        const Tag<Real> d;
        for (int i = 0; i < 2; ++i, at += block_lanes) {
            hn::Store(hn::Zero(d), d, block.coefficient.data() + at);
            hn::Store(hn::Load(d, block.delay.data() + at - block_lanes), d,
                      block.delay.data() + at);
            if (kFromMiddle || block.has_excess()) {
                hn::Store(hn::Zero(d), d, block.excess.data() + at);
            }
            if (block.has_gradient()) {
                WriteNormal(hn::Zero(d), at);
            }
        }
    }
};

// Terms of both edges of one direction: whole fours.
HWY_INLINE int TermsOfPair(int count, bool all_outside) {
    return all_outside ? (count + 1) / 2 * 4 : count * 4;
}

// Both edges of one direction. `ends` are those along the edges, `distances` those of the edges
// themselves.
template <bool kFromMiddle, class Real, class V>
HWY_INLINE void WritePair(const EdgePairTables<Real>& tables, V position, const Ends<V>& ends,
                          const Ends<V>& distances, bool all_outside,
                          TermWriter<kFromMiddle, Real>& writer) {
    const Tag<Real> d;
    const auto zero = hn::Zero(d);
    const auto outside = hn::Or(hn::Le(ends.below, zero), hn::Le(ends.above, zero));
    const auto inside = hn::Not(outside);
    const auto everywhere = hn::Or(inside, outside);
    const auto position_squared = hn::Mul(position, position);
    const auto below_squared = hn::Mul(ends.below, ends.below);
    const auto above_squared = hn::Mul(ends.above, ends.above);
    for (int i = 0; i < tables.count; ++i) {
        const auto whole = hn::Set(d, tables.whole[i]);
        const auto from_foot = hn::Add(whole, position);
        const auto q = hn::Mul(from_foot, from_foot);
        const auto q_gained = hn::Mul(whole, hn::Add(from_foot, position));
        const auto weight = hn::Set(d, tables.whole_weight[i]);
        if (all_outside) {
            writer.Write(weight, distances, q, q_gained, everywhere);
            continue;
        }
        // A point outside has its terms where they are among outsiders only, by fours.
        const bool first = i % 2 == 0;
        const auto piece = hn::Set(d, tables.piece[i]);
        const auto piece_weight = hn::Set(d, tables.piece_weight[i]);
        const auto write = [&](V end, V end_squared, hn::Mask<Tag<Real>> present) HWY_ATTR {
            const auto q_piece = hn::Mul(end_squared, piece);
            writer.Write(hn::IfThenElse(outside, weight, hn::Mul(piece_weight, end)), distances,
                         hn::IfThenElse(outside, q, q_piece),
                         hn::IfThenElse(outside, q_gained, hn::Sub(q_piece, position_squared)),
                         present);
        };
        write(ends.below, below_squared, first ? everywhere : inside);
        write(ends.above, above_squared, first ? inside : everywhere);
    }
    if (all_outside && tables.count % 2 != 0) {
        writer.FillFour();
    }
}

// In double a quotient, in single precision a product.
template <class V>
HWY_INLINE V AxialDelay(V distance, double speed) {
    return hn::Div(distance, hn::Set(hn::DFromV<V>(), speed));
}

template <class V>
HWY_INLINE V AxialDelay(V distance, float speed) {
    return hn::Mul(distance, hn::Set(hn::DFromV<V>(), 1.0f / speed));
}

// From the nearest point of the face.
template <class V>
HWY_INLINE V NearestDistance(V half_width, V half_height, V ax, V ay, V z) {
    const auto over_width = hn::Le(ax, half_width);
    const auto over_height = hn::Le(ay, half_height);
    const auto dx = hn::IfThenZeroElse(over_width, hn::Sub(ax, half_width));
    const auto dy = hn::IfThenZeroElse(over_height, hn::Sub(ay, half_height));
    const auto in_plane = hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy));
    return hn::IfThenElse(hn::And(over_width, over_height), hn::Abs(z),
                          hn::Sqrt(hn::Add(in_plane, hn::Mul(z, z))));
}

template <class V>
HWY_INLINE V FarthestDistance(V half_width, V half_height, V ax, V ay, V z) {
    const auto dx = hn::Add(ax, half_width);
    const auto dy = hn::Add(ay, half_height);
    return hn::Sqrt(hn::Add(hn::Add(hn::Mul(dy, dy), hn::Mul(z, z)), hn::Mul(dx, dx)));
}

template <bool kFromMiddle, class Real>
HWY_INLINE void SampleRectangular(const RectangularTables<Real>& face, EdgeBlock<Real>& block) {
    const Tag<Real> d;
    const auto half_width = hn::Set(d, face.half_width);
    const auto half_height = hn::Set(d, face.half_height);
    const bool outside_x = AllOutside(face.half_width, block.x);
    const bool outside_y = AllOutside(face.half_height, block.y);
    block.size =
        TermsOfPair(face.along_x.count, outside_x) + TermsOfPair(face.along_y.count, outside_y);
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        const auto x = hn::Load(d, block.x.data() + lane);
        const auto y = hn::Load(d, block.y.data() + lane);
        const Ends ends_x(half_width, x);
        const Ends ends_y(half_height, y);
        TermWriter<kFromMiddle, Real> writer(block, lane, face.speed);
        WritePair(face.along_x, x, ends_x, ends_y, outside_x, writer);
        writer.normals_along_x = true;
        WritePair(face.along_y, y, ends_y, ends_x, outside_y, writer);
        hn::Store(writer.sum, d, block.coefficient_sum.data() + lane);

        const auto z = writer.z;
        const auto ax = hn::Abs(x);
        const auto ay = hn::Abs(y);
        const auto begin =
            AxialDelay(NearestDistance(half_width, half_height, ax, ay, z), face.speed);
        hn::Store(AxialDelay(z, face.speed), d, block.direct_delay.data() + lane);
        hn::Store(begin, d, block.direct_begin.data() + lane);
        if (block.detail == EdgeDetail::arrivals) {
            const auto far = FarthestDistance(half_width, half_height, ax, ay, z);
            hn::Store(begin, d, block.first_arrival.data() + lane);
            hn::Store(AxialDelay(far, face.speed), d, block.last_arrival.data() + lane);
        }
    }
    for (size_t lane = 0; lane < block_lanes; ++lane) {
        block.reached[lane] = block.z[lane] < 0 ? 0 : 1;
    }
}

void SampleRectangularSingle(const RectangularTables<float>& face, EdgeBlock<float>& block) {
    if (block.detail == EdgeDetail::from_middle) {
        SampleRectangular<true>(face, block);
    } else {
        SampleRectangular<false>(face, block);
    }
}

void SampleRectangularDouble(const RectangularTables<double>& face, EdgeBlock<double>& block) {
    SampleRectangular<false>(face, block);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

template <class Real>
RectangularEdge<Real>::RectangularEdge(const RectangularTransducer& element, const Wanted& wanted)
    : half_width_(static_cast<Real>(element.width * 0.5)),
      half_height_(static_cast<Real>(element.height * 0.5)) {
    double scale = 1.0;
    if (wanted.units() == EdgeUnits::times) {
        speed_ = static_cast<Real>(element.medium->_soundspeed);
        const auto density = static_cast<Real>(element.medium->_rho_density);
        scale = static_cast<double>(density * speed_) / -two_pi;
    }
    const double half_width = element.width * 0.5;
    const double half_height = element.height * 0.5;
    const bool four_wide =
        wanted.method == Method::fnm_cw_sse || wanted.method == Method::fnm_cw_sse2;
    const std::size_t all = wanted.rule.abscissas.size();
    const std::size_t n = four_wide && !element.exact() ? all / 4 * 4 : all;
    for (std::size_t i = 0; i < n; ++i) {
        double t = wanted.rule.abscissas[i];
        if (wanted.method == Method::fnm_cw_single) {
            t = static_cast<double>(static_cast<float>(t));
        }
        const double w = wanted.rule.weights[i];
        const double u = (t + 1) * 0.5;
        piece_.push_back(static_cast<Real>(u * u));
        piece_weight_.push_back(static_cast<Real>(w * 0.5 * scale));
        along_x_.push_back(static_cast<Real>(t * half_width));
        along_x_weight_.push_back(static_cast<Real>(w * half_width * scale));
        along_y_.push_back(static_cast<Real>(t * half_height));
        along_y_weight_.push_back(static_cast<Real>(w * half_height * scale));
    }
}

template <class Real>
void RectangularEdge<Real>::sample(EdgeBlock<Real>& block, int /* the only pass */) const {
    const int n = static_cast<int>(piece_.size());
    if (block.has_gradient()) {
        block.gradient.set_flat({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    }
    const RectangularTables<Real> tables{
        half_width_,
        half_height_,
        speed_,
        {n, piece_.data(), piece_weight_.data(), along_x_.data(), along_x_weight_.data()},
        {n, piece_.data(), piece_weight_.data(), along_y_.data(), along_y_weight_.data()}};
    if constexpr (std::is_same_v<Real, float>) {
        if (block.detail == EdgeDetail::from_middle) {
            block.set_flat_paths();
        }
        KAVRO_KERNEL(SampleRectangularSingle)(tables, block);
    } else {
        KAVRO_KERNEL(SampleRectangularDouble)(tables, block);
    }
}

template class RectangularEdge<float>;
template class RectangularEdge<double>;

}  // namespace kavro
#endif  // HWY_ONCE
