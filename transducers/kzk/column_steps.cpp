#include "transducers/kzk/column_steps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "core/simd/vector_dispatch.h"
#include "core/zeros.h"
#include "transducers/kzk/pieces.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/kzk/column_steps.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro::kzk {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

inline constexpr size_t kLanes = 16;
inline constexpr size_t kPiece = rows_at_a_time;

HWY_INLINE void SpendPiece(const Spend& spend, size_t rows, size_t lanes) {
    spend(static_cast<std::int64_t>(rows * lanes));
}

// ---- absorption

template <int kGroups>
HWY_INLINE void AbsorbGroups(const Absorption::System& system, float* columns, size_t stride,
                             const Spend& spend) {
    const hn::CappedTag<float, kLanes> d;
    using V = hn::Vec<decltype(d)>;
    constexpr size_t kStep = hn::MaxLanes(decltype(d)());
    constexpr size_t kParts = kGroups * kLanes / kStep;
    const auto last = static_cast<size_t>(system.last_row);
    const V off_diagonal = hn::Set(d, system.off_diagonal);
    const V neighbour = hn::Set(d, system.neighbour);
    const V same = hn::Set(d, system.same);
    V before[kParts];  // old values of the row before
    V g[kParts];
    for (size_t v = 0; v < kParts; ++v) {
        before[v] = hn::Load(d, columns + v * kStep);
    }
    for (size_t i = 1; i < last; ++i) {
        if (i % kPiece == 0) {
            SpendPiece(spend, kPiece, kGroups * kLanes);
        }
        float* row = columns + i * stride;
        const V diagonal = hn::Set(d, system.diagonal.data()[i]);
        for (size_t v = 0; v < kParts; ++v) {
            V r = hn::Load(d, row + v * kStep);
            if (!system.implicit) {
                const V old = r;
                const V after = hn::Load(d, row + stride + v * kStep);
                r = hn::Add(hn::Add(hn::Mul(neighbour, after), hn::Mul(same, old)),
                            hn::Mul(neighbour, before[v]));
                before[v] = old;
            }
            if (i > 1) {
                r = hn::Sub(r, hn::Mul(off_diagonal, g[v]));
            }
            g[v] = hn::Div(r, diagonal);
            hn::Store(g[v], d, row + v * kStep);
        }
    }
    for (size_t i = last - 2; i >= 1; --i) {
        if (i % kPiece == 0) {
            SpendPiece(spend, kPiece, kGroups * kLanes);
        }
        float* row = columns + i * stride;
        const V diagonal = hn::Set(d, system.diagonal.data()[i]);
        for (size_t v = 0; v < kParts; ++v) {
            g[v] = hn::Sub(hn::Load(d, row + v * kStep),
                           hn::Div(hn::Mul(off_diagonal, g[v]), diagonal));
            hn::Store(g[v], d, row + v * kStep);
        }
    }
}

void AbsorbOne(const Absorption::System& system, float* columns, size_t stride,
               const Spend& spend) {
    AbsorbGroups<1>(system, columns, stride, spend);
}

void AbsorbTwo(const Absorption::System& system, float* columns, size_t stride,
               const Spend& spend) {
    AbsorbGroups<2>(system, columns, stride, spend);
}

// ---- distortion, in vectors of as many columns as there are doubles

using Doubles = hn::CappedTag<double, kLanes>;
using Singles = hn::Rebind<float, Doubles>;
using Single = hn::Vec<Singles>;

// Fills the scratch with the values of all rows and where they move. Whether they keep their order
// strictly.
bool MoveColumns(const Distortion::Axis& axis, const float* columns, size_t stride, float length,
                 Distortion::Scratch& scratch, const Spend& spend) {
    const Doubles wide;
    const Singles d;
    const size_t rows = axis.tau.size();
    const auto lambda = hn::Set(d, length);
    auto ordered = hn::Eq(lambda, lambda);
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
        auto former = hn::Set(d, -std::numeric_limits<float>::infinity());
        for (size_t i = 0; i < rows; ++i) {
            if (i % kPiece == 0) {
                SpendPiece(spend, kPiece, hn::Lanes(d));
            }
            const auto u = hn::Load(d, columns + i * stride + lane);
            const auto shift = hn::PromoteTo(wide, hn::Mul(u, lambda));
            const auto moved = hn::DemoteTo(d, hn::Sub(hn::Set(wide, axis.tau.data()[i]), shift));
            ordered = hn::And(ordered, hn::Gt(moved, former));
            former = moved;
            hn::Store(u, d, scratch.values.data() + i * kLanes + lane);
            hn::Store(moved, d, scratch.moved.data() + i * kLanes + lane);
        }
    }
    return hn::AllTrue(d, ordered);
}

// The two moved samples that a new one lies between.
struct Bracket {
    Single u_before, u, tau_before, tau;
};

class Resampling {
public:
    Resampling(const Distortion::Axis& axis, const Distortion::Scratch& scratch, size_t lane,
               const Spend& spend)
        : axis_(axis),
          spend_(spend),
          values_(scratch.values.data() + lane),
          moved_(scratch.moved.data() + lane),
          last_(axis.tau.size() - 1) {}

    // The steepest slope, for positive slopes (forward) or negative ones.
    Single Apply(float* columns, size_t stride, bool forward) {
        const Singles d;
        const auto end = hn::Load(d, values_ + last_ * kLanes);
        auto steepest = hn::Zero(d);
        for (size_t i = 1; i < last_; ++i) {
            float* to = columns + i * stride;
            hn::Mask<Singles> past;
            const Bracket at = Find(axis_.tau_up.data()[i], past);
            const auto slope = hn::Div(hn::Sub(at.u, at.u_before), hn::Sub(at.tau, at.tau_before));
            const auto value = Interpolate(axis_.tau.data()[i], at, slope);
            if (i % kPiece == 0 || searched_ > kPiece) {
                SpendPiece(spend_, kPiece + std::exchange(searched_, 0), hn::Lanes(d));
            }
            hn::Store(hn::IfThenElse(past, end, value), d, to);
            const auto counted = hn::IfThenZeroElse(past, slope);
            steepest = hn::IfThenElse(
                forward ? hn::Gt(counted, steepest) : hn::Lt(counted, steepest), counted, steepest);
        }
        return steepest;
    }

private:
    // The first moved sample of each column that is not before tau, from the one found last time
    // on; `past` where there is none. Columns that have moved by very different amounts are far
    // apart: the search then takes many rows.
    HWY_INLINE Bracket Find(float tau, hn::Mask<Singles>& past) {
        const Singles d;
        const auto target = hn::Set(d, tau);
        auto moved = hn::Load(d, moved_ + next_ * kLanes);
        past = hn::Lt(moved, target);
        while (next_ < last_ && hn::AllTrue(d, past)) {
            ++next_;
            moved = hn::Load(d, moved_ + next_ * kLanes);
            past = hn::Lt(moved, target);
        }
        Bracket at{hn::Load(d, values_ + (next_ - 1) * kLanes),
                   hn::Load(d, values_ + next_ * kLanes),
                   hn::Load(d, moved_ + (next_ - 1) * kLanes), moved};
        size_t k = next_ + 1;
        for (; k <= last_ && !hn::AllFalse(d, past); ++k) {
            at.u_before = hn::IfThenElse(past, at.u, at.u_before);
            at.tau_before = hn::IfThenElse(past, at.tau, at.tau_before);
            at.u = hn::IfThenElse(past, hn::Load(d, values_ + k * kLanes), at.u);
            at.tau = hn::IfThenElse(past, hn::Load(d, moved_ + k * kLanes), at.tau);
            past = hn::And(past, hn::Lt(at.tau, target));
        }
        searched_ += k - next_ - 1;
        return at;
    }

    static HWY_INLINE Single Interpolate(double tau, const Bracket& at, Single slope) {
        const Doubles wide;
        const auto ahead = hn::Sub(hn::Set(wide, tau), hn::PromoteTo(wide, at.tau_before));
        return hn::DemoteTo(Singles(), hn::Add(hn::Mul(ahead, hn::PromoteTo(wide, slope)),
                                               hn::PromoteTo(wide, at.u_before)));
    }

    const Distortion::Axis& axis_;
    const Spend& spend_;
    size_t searched_ = 0;  // rows since the last word
    const float* values_;
    const float* moved_;
    size_t last_;
    size_t next_ = 1;
};

float ResampleColumns(const Distortion::Axis& axis, const Distortion::Scratch& scratch,
                      float* columns, size_t stride, bool forward, const Spend& spend) {
    const Singles d;
    auto steepest = hn::Zero(d);
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
        const auto own =
            Resampling(axis, scratch, lane, spend).Apply(columns + lane, stride, forward);
        steepest = forward ? hn::Max(steepest, own) : hn::Min(steepest, own);
    }
    const auto lanes = forward ? hn::MaxOfLanes(d, steepest) : hn::MinOfLanes(d, steepest);
    return hn::GetLane(lanes);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro::kzk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::kzk {

Absorption::Absorption(float kappa, bool implicit, int last_row, const Spend& spend)
    : system_{implicit,     last_row,     implicit ? -kappa : -kappa / 2.0f,
              kappa / 2.0f, 1.0f - kappa, {}} {
    const float off = system_.off_diagonal;
    const float diagonal = implicit ? 1.0f + 2.0f * kappa : 1.0f + kappa;
    assign_zeros(system_.diagonal, static_cast<std::size_t>(last_row), spend);
    for (std::size_t i = 0; i < system_.diagonal.size(); ++i) {
        if (i % rows_at_a_time == 0) {
            spend(4 * rows_at_a_time);
        }
        system_.diagonal[i] = i < 2 ? diagonal : diagonal - off * off / system_.diagonal[i - 1];
    }
}

void Absorption::apply(float* columns, std::size_t stride, int groups, const Spend& spend) const {
    if (groups == 1) {
        KAVRO_KERNEL(AbsorbOne)(system_, columns, stride, spend);
    } else {
        KAVRO_KERNEL(AbsorbTwo)(system_, columns, stride, spend);
    }
}

Distortion::Distortion(std::vector<double> taus, const Spend& spend)
    : axis_{std::move(taus), {}, true} {
    axis_.tau_up.reserve(axis_.tau.size());
    for (std::size_t i = 0; i < axis_.tau.size(); ++i) {
        if (i % rows_at_a_time == 0) {
            spend(4 * rows_at_a_time);
        }
        const double tau = axis_.tau[i];
        auto up = static_cast<float>(tau);
        if (static_cast<double>(up) < tau) {
            up = std::nextafter(up, std::numeric_limits<float>::infinity());
        }
        axis_.tau_up.push_back(up);
        axis_.increasing =
            axis_.increasing && std::isfinite(up) && (i == 0 || tau > axis_.tau[i - 1]);
    }
}

namespace {

// One column, sample by sample, in whatever order the samples have come to be.
void resample_column(const Distortion::Axis& axis, const float* u, const float* moved,
                     float* column, std::size_t stride, bool forward, const Spend& spend,
                     Distortion::Result& result) {
    constexpr std::size_t lanes = HWY_NAMESPACE::kLanes;
    const std::size_t last = axis.tau.size() - 1;
    for (std::size_t i = 2; i <= last; ++i) {
        spend(1);
        result.shock = result.shock || moved[i * lanes] <= moved[(i - 1) * lanes];
    }
    std::size_t k = 1;
    for (std::size_t i = 1; i < last; ++i) {
        spend(4);
        while (k <= last && static_cast<double>(moved[k * lanes]) < axis.tau[i]) {
            ++k;
            spend(1);
        }
        if (k > last) {
            column[i * stride] = u[last * lanes];
            continue;
        }
        const float slope =
            (u[k * lanes] - u[(k - 1) * lanes]) / (moved[k * lanes] - moved[(k - 1) * lanes]);
        if (forward ? slope > result.steepest : slope < result.steepest) {
            result.steepest = slope;
        }
        column[i * stride] =
            static_cast<float>((axis.tau[i] - static_cast<double>(moved[(k - 1) * lanes])) *
                                   static_cast<double>(slope) +
                               static_cast<double>(u[(k - 1) * lanes]));
    }
}

}  // namespace

Distortion::Result Distortion::apply(float* columns, std::size_t stride, float length, bool forward,
                                     Scratch& scratch, const Spend& spend) const {
    constexpr std::size_t lanes = HWY_NAMESPACE::kLanes;
    for (AlignedVector<float>* values : {&scratch.values, &scratch.moved}) {
        if (values->empty()) {
            assign_zeros(*values, axis_.tau.size() * lanes, spend);
        }
    }
    Result result;
    const bool ordered =
        KAVRO_KERNEL(MoveColumns)(axis_, columns, stride, length, scratch, spend) &&
        axis_.increasing;
    if (ordered) {
        result.steepest =
            KAVRO_KERNEL(ResampleColumns)(axis_, scratch, columns, stride, forward, spend);
        return result;
    }
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        resample_column(axis_, scratch.values.data() + lane, scratch.moved.data() + lane,
                        columns + lane, stride, forward, spend, result);
    }
    return result;
}

}  // namespace kavro::kzk
#endif  // HWY_ONCE
