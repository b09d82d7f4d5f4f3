// The steps of the transient nonlinear march that go along retarded time, column by column:
// absorption and nonlinear distortion. `spend` is told of the steps along long columns, and may
// throw.
#pragma once

#include <cstddef>
#include <vector>

#include "core/aligned_vector.h"
#include "core/interrupted.h"

namespace kavro::kzk {

// The absorption step's tridiagonal system, the same for all columns: constant diagonals, so that
// the eliminated diagonal is known beforehand.
class Absorption {
public:
    // kappa: range step times absorption over the square of the retarded-time step. Rows 1 ...
    // last_row - 1 are solved for.
    Absorption(float kappa, bool implicit, int last_row, const Spend& spend);

    // Advances `groups` (1 or 2) neighbouring groups of 16 columns, rows `stride` values apart, in
    // place. The bits are those of Thomas's elimination, column by column.
    void apply(float* columns, std::size_t stride, int groups, const Spend& spend) const;

    struct System {
        bool implicit;
        int last_row;
        float off_diagonal;
        float neighbour, same;        // right-hand side of the Crank-Nicolson scheme
        std::vector<float> diagonal;  // eliminated
    };

private:
    System system_;
};

// The distortion step: every sample of a column moves along retarded time in proportion to its
// value, and the column is sampled anew. That solves the lossless Burgers equation as long as no
// sample overtakes another.
class Distortion {
public:
    // The retarded times of all rows, rad.
    Distortion(std::vector<double> taus, const Spend& spend);

    struct Result {
        float steepest = 0.0f;  // slope against the moved times along the sign of the step, or 0
        bool shock = false;     // a sample has overtaken another
    };

    struct Scratch {
        AlignedVector<float> values, moved;
    };

    // Distorts 16 columns, rows `stride` values apart, in place. length: range step times the
    // coefficient of nonlinearity, whose sign `forward` says.
    Result apply(float* columns, std::size_t stride, float length, bool forward, Scratch& scratch,
                 const Spend& spend) const;

    // Bytes for each row that it holds, and that a scratch does.
    static constexpr std::size_t bytes_of_row = sizeof(double) + sizeof(float);
    static constexpr std::size_t bytes_of_scratch_row = 2 * 16 * sizeof(float);

    struct Axis {
        std::vector<double> tau;
        std::vector<float> tau_up;  // smallest single-precision number that is not below
        bool increasing;
    };

private:
    Axis axis_;
};

}  // namespace kavro::kzk
