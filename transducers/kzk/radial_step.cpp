#include "transducers/kzk/radial_step.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/flush_denormals.h"
#include "core/simd/vector_dispatch.h"
#include "core/zeros.h"
#include "transducers/kzk/pieces.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/kzk/radial_step.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro::kzk {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, Columns::lanes>;
inline constexpr size_t kStep = hn::MaxLanes(Floats());
inline constexpr size_t kParts = Columns::lanes / kStep;
inline constexpr size_t kLanes = Columns::lanes;
inline constexpr size_t kPiece = rows_at_a_time;

// A value for each run, and zero on both sides of them.
struct Padded {
    HWY_ALIGN float values[3 * kLanes] = {};
    float* data() { return values + kLanes; }
};

class RadialRows {
public:
    RadialRows(RadialSystem& system, const Spend& spend)
        : system_(system),
          spend_(spend),
          run_(static_cast<size_t>(system.run)),
          work_(system.work.data()) {}

    void Apply(float* grid, int last_row) {
        const size_t row = run_ * kLanes;
        // The first row counts in the sums of the backward Euler scheme only.
        if (system_.implicit) {
            std::copy(grid, grid + row, system_.sum.data());
        } else {
            std::fill_n(system_.sum.data(), row, 0.0f);
        }
        KeepEnds();
        const int rows_at_once = std::max(1, rows_at_a_time / static_cast<int>(run_));
        for (int i = 1; i < last_row; ++i) {
            if (i % rows_at_once == 0) {
                SpendPiece(run_ * static_cast<size_t>(rows_at_once));
            }
            Advance(grid + static_cast<size_t>(i) * row);
        }
    }

private:
    using V = hn::Vec<Floats>;

    HWY_INLINE void Advance(float* row) {
        const Floats d;
        V g[kParts];
        V front[kParts];  // the first unknown of each run, its neighbour being zero
        for (size_t v = 0; v < kParts; ++v) {
            g[v] = front[v] = hn::Zero(d);
        }
        Eliminate<true>(row, 0, g, front);
        for (size_t k = 1; k + 1 < run_; ++k) {
            if (k % kPiece == 0) {
                SpendPiece(kPiece);
            }
            Eliminate<false>(row, k, g, front);
        }
        SolveCoupling(row, g, front);
        Substitute(row);
    }

    template <bool kAxis>
    HWY_INLINE V RightHandSide(const float* row, size_t k, size_t lane, V above, V below) {
        const Floats d;
        const size_t at = k * kLanes + lane;
        const V p = hn::Load(d, row + at);
        const V base = system_.implicit ? p : hn::Add(p, p);
        const V here = hn::Load(d, system_.sum.data() + at);
        V r = hn::Add(base, hn::Mul(hn::Load(d, system_.above.data() + at), above));
        r = hn::Sub(r, hn::Mul(hn::Load(d, system_.here.data() + at), here));
        r = hn::Add(r, hn::Mul(hn::Load(d, system_.below.data() + at), below));
        if (kAxis && lane == 0) {
            const V axis = hn::Add(base, hn::Mul(hn::Set(d, system_.axis), hn::Sub(above, here)));
            r = hn::IfThenElse(hn::FirstN(d, 1), axis, r);
        }
        return r;
    }

    template <bool kFirst>
    HWY_INLINE void Eliminate(const float* row, size_t k, V* g, V* front) {
        const Floats d;
        for (size_t v = 0; v < kParts; ++v) {
            const size_t lane = v * kStep;
            const size_t at = k * kLanes + lane;
            const float* sum = system_.sum.data() + at;
            const V below = kFirst ? hn::LoadU(d, lasts_.data() + lane - 1)
                                   : hn::Load(d, sum - (kFirst ? 0 : kLanes));
            const V r = RightHandSide<kFirst>(row, k, lane, hn::Load(d, sum + kLanes), below);
            g[v] = hn::Sub(hn::Mul(r, hn::Load(d, system_.reciprocal.data() + at)),
                           hn::Mul(hn::Load(d, system_.lower.data() + at), g[v]));
            front[v] = hn::Add(front[v], hn::Mul(hn::Load(d, system_.first.data() + at), g[v]));
            hn::Store(g[v], d, work_ + at);
        }
    }

    // The last unknown of every run, to ends_.
    HWY_INLINE void SolveCoupling(const float* row, const V* g, const V* front) {
        const Floats d;
        const size_t k = run_ - 1;
        for (size_t v = 0; v < kParts; ++v) {
            hn::Store(front[v], d, fronts_.data() + v * kStep);
        }
        HWY_ALIGN float rest[kLanes];
        for (size_t v = 0; v < kParts; ++v) {
            const size_t lane = v * kStep;
            const size_t at = k * kLanes + lane;
            const V r = RightHandSide<false>(row, k, lane, hn::LoadU(d, firsts_.data() + lane + 1),
                                             hn::Load(d, system_.sum.data() + at - kLanes));
            const V next = hn::LoadU(d, fronts_.data() + lane + 1);
            const V known = hn::Add(hn::Mul(hn::Load(d, system_.lower.data() + at), g[v]),
                                    hn::Mul(hn::Load(d, system_.upper.data() + at), next));
            hn::Store(hn::Sub(r, known), d, rest + lane);
        }
        for (size_t v = 0; v < kParts; ++v) {
            const float* column = system_.coupling.data() + v * kStep;
            V x[4];
            for (size_t l = 0; l < kLanes; ++l) {
                const V share = hn::Mul(hn::Set(d, rest[l]), hn::Load(d, column + l * kLanes));
                x[l % 4] = l < 4 ? share : hn::Add(x[l % 4], share);
            }
            hn::Store(hn::Add(hn::Add(x[0], x[1]), hn::Add(x[2], x[3])), d,
                      ends_.data() + v * kStep);
        }
    }

    HWY_INLINE void Finish(float* row, size_t at, V x) {
        const Floats d;
        float* sum = system_.sum.data() + at;
        hn::Store(hn::Add(hn::Load(d, sum), x), d, sum);
        hn::Store(system_.implicit ? x : hn::Sub(x, hn::Load(d, row + at)), d, row + at);
    }

    HWY_INLINE void Substitute(float* row) {
        const Floats d;
        V x[kParts];
        V former[kParts];  // the run before: its last unknown
        for (size_t v = 0; v < kParts; ++v) {
            x[v] = hn::Load(d, ends_.data() + v * kStep);
            former[v] = hn::LoadU(d, ends_.data() + v * kStep - 1);
            Finish(row, (run_ - 1) * kLanes + v * kStep, x[v]);
        }
        for (size_t k = run_ - 1; k-- > 0;) {
            if (k % kPiece == 0 && k > 0) {
                SpendPiece(kPiece);
            }
            for (size_t v = 0; v < kParts; ++v) {
                const size_t at = k * kLanes + v * kStep;
                const V own = hn::Sub(hn::Load(d, work_ + at),
                                      hn::Mul(hn::Load(d, system_.left.data() + at), former[v]));
                x[v] = hn::Sub(own, hn::Mul(hn::Load(d, system_.upper.data() + at), x[v]));
                Finish(row, at, x[v]);
            }
        }
        KeepEnds();
    }

    HWY_INLINE void SpendPiece(size_t columns) const {
        spend_(static_cast<std::int64_t>(columns * kLanes));
    }

    // The sums at both ends of the runs, as their neighbours need them.
    HWY_INLINE void KeepEnds() {
        const Floats d;
        const float* sum = system_.sum.data();
        for (size_t lane = 0; lane < kLanes; lane += kStep) {
            hn::Store(hn::Load(d, sum + lane), d, firsts_.data() + lane);
            hn::Store(hn::Load(d, sum + (run_ - 1) * kLanes + lane), d, lasts_.data() + lane);
        }
    }

    RadialSystem& system_;
    const Spend& spend_;
    size_t run_;
    float* work_;
    Padded firsts_, lasts_, fronts_, ends_;
};

void AdvanceRadialRows(RadialSystem& system, float* grid, int last_row, const Spend& spend) {
    RadialRows(system, spend).Apply(grid, last_row);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro::kzk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::kzk {

Columns::Columns(int last_column) : last(last_column), run(std::max(2, last_column / lanes + 1)) {}

// Of all columns and what fills the last run up, in double.
struct RadialStep::Tridiagonal {
    std::vector<double> a, b, c;
};

RadialStep::RadialStep(const Columns& columns, bool implicit, bool coefficients_in_double,
                       const Spend& spend)
    : columns_(columns), in_double_(coefficients_in_double) {
    system_.run = columns.run;
    system_.implicit = implicit;
    for (AlignedVector<float>* array :
         {&system_.above, &system_.here, &system_.below, &system_.reciprocal, &system_.lower,
          &system_.upper, &system_.left, &system_.first, &system_.sum, &system_.work}) {
        assign_zeros(*array, columns.row(), spend);
    }
    system_.coupling.assign(Columns::lanes * Columns::lanes, 0.0f);
}

// The matrix carries half of what the right-hand side does: the row's own share in the sum over
// retarded time is half a step.
RadialStep::Tridiagonal RadialStep::matrix_of(float alpha, const Spend& spend) const {
    const float part = system_.implicit ? 8.0f : 16.0f;
    Tridiagonal matrix;
    for (std::vector<double>* diagonal : {&matrix.a, &matrix.b, &matrix.c}) {
        assign_zeros(*diagonal, columns_.row(), spend);
    }
    const auto share = [&](float e, float sign) {
        if (in_double_ && !system_.implicit) {
            return static_cast<float>((static_cast<double>(e) + static_cast<double>(sign)) *
                                      static_cast<double>(alpha) / static_cast<double>(part));
        }
        return (e + sign) * alpha / part;
    };
    matrix.b[0] = static_cast<double>(1.0f + alpha / (part / 4.0f));
    matrix.c[0] = static_cast<double>(-alpha / (part / 4.0f));
    for (std::size_t j = static_cast<std::size_t>(columns_.last); j < columns_.row(); ++j) {
        matrix.b[j] = 1.0;
    }
    for (int j = 1; j < columns_.last; ++j) {
        if (j % rows_at_a_time == 0) {
            spend(2 * rows_at_a_time);
        }
        const auto at = static_cast<std::size_t>(j);
        const float e = 1.0f / static_cast<float>(2 * j);
        matrix.a[at] = static_cast<double>(share(e, -1.0f));
        matrix.b[at] = static_cast<double>(1.0f + alpha / (part / 2.0f));
        matrix.c[at] = j < columns_.last - 1 ? static_cast<double>(-share(e, 1.0f)) : 0.0;
    }
    return matrix;
}

void RadialStep::set_right_hand_side(float alpha, const Spend& spend) {
    const float quarter = system_.implicit ? alpha / 4.0f : alpha / 8.0f;
    const float half = system_.implicit ? alpha / 2.0f : alpha / 4.0f;
    system_.axis = system_.implicit ? alpha : alpha / 2.0f;
    for (int j = 1; j < columns_.last; ++j) {
        if (j % rows_at_a_time == 0) {
            spend(2 * rows_at_a_time);
        }
        const std::size_t at = columns_.place(j);
        const float e = 1.0f / static_cast<float>(2 * j);
        system_.above[at] = j < columns_.last - 1 ? quarter * (1.0f + e) : 0.0f;
        system_.here[at] = half;
        system_.below[at] = quarter * (1.0f - e);
    }
}

// How the first and the last but one unknown of a run hang on the columns set apart at its two
// ends.
struct RadialStep::Response {
    double first_left = 0.0, first_right = 0.0, last_left = 0.0, last_right = 0.0;
};

// The elimination of all but the last column of a run, and what the substitution back needs.
RadialStep::Response RadialStep::set_run(int lane, const Tridiagonal& matrix, const Spend& spend) {
    Response response;
    double ratio = 0.0;  // upper over diagonal, of the row before
    double left = 0.0;
    double first = 1.0;
    for (int k = 0; k < columns_.run - 1; ++k) {
        if (k % rows_at_a_time == 0) {
            spend(4 * rows_at_a_time);
        }
        const int j = lane * columns_.run + k;
        const auto row = static_cast<std::size_t>(j);
        const std::size_t at = columns_.place(j);
        const double within = k == 0 ? 0.0 : matrix.a[row];
        const double reciprocal = 1.0 / (matrix.b[row] - within * ratio);
        left = k == 0 ? matrix.a[row] * reciprocal : -within * reciprocal * left;
        ratio = matrix.c[row] * reciprocal;
        system_.reciprocal[at] = static_cast<float>(reciprocal);
        system_.lower[at] = static_cast<float>(within * reciprocal);
        system_.left[at] = static_cast<float>(left);
        system_.first[at] = static_cast<float>(first);
        system_.upper[at] = static_cast<float>(ratio);
        response.first_left -= first * left;
        first *= -ratio;
    }
    response.first_right = first;
    response.last_left = -left;
    response.last_right = -ratio;
    return response;
}

// All runs, and the inverse of the matrix that is left for their last columns.
void RadialStep::set_runs(const Tridiagonal& matrix, const Spend& spend) {
    constexpr std::size_t n = Columns::lanes;
    std::array<Response, n> response;
    for (std::size_t l = 0; l < n; ++l) {
        response[l] = set_run(static_cast<int>(l), matrix, spend);
    }
    std::array<double, n> a{}, b{}, c{};
    for (std::size_t l = 0; l < n; ++l) {
        const int j = static_cast<int>(l + 1) * columns_.run - 1;
        const auto row = static_cast<std::size_t>(j);
        system_.lower[columns_.place(j)] = static_cast<float>(matrix.a[row]);
        system_.upper[columns_.place(j)] = static_cast<float>(matrix.c[row]);
        a[l] = matrix.a[row] * response[l].last_left;
        b[l] = matrix.b[row] + matrix.a[row] * response[l].last_right;
        if (l < n - 1) {
            b[l] += matrix.c[row] * response[l + 1].first_left;
            c[l] = matrix.c[row] * response[l + 1].first_right;
        }
    }
    for (std::size_t column = 0; column < n; ++column) {
        std::array<double, n> diagonal{}, x{};
        for (std::size_t l = 0; l < n; ++l) {
            const double w = l == 0 ? 0.0 : a[l] / diagonal[l - 1];
            diagonal[l] = b[l] - (l == 0 ? 0.0 : w * c[l - 1]);
            x[l] = (l == column ? 1.0 : 0.0) - (l == 0 ? 0.0 : w * x[l - 1]);
        }
        for (std::size_t l = n; l-- > 0;) {
            x[l] = (x[l] - (l == n - 1 ? 0.0 : c[l] * x[l + 1])) / diagonal[l];
            system_.coupling[column * n + l] = static_cast<float>(x[l]);
        }
    }
}

void RadialStep::factor(float alpha, const Spend& spend) {
    if (alpha == alpha_) {
        return;
    }
    const Tridiagonal matrix = matrix_of(alpha, spend);
    set_right_hand_side(alpha, spend);
    set_runs(matrix, spend);
    alpha_ = alpha;
}

void RadialStep::apply(float* grid, int last_row, const Spend& spend) {
    const FlushDenormals flush;
    KAVRO_KERNEL(AdvanceRadialRows)(system_, grid, last_row, spend);
}

}  // namespace kavro::kzk
#endif  // HWY_ONCE
