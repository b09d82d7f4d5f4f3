// The diffraction step of the transient nonlinear march.
#pragma once

#include <cstddef>

#include "core/aligned_vector.h"
#include "core/interrupted.h"

namespace kavro::kzk {

// How a row of the march's grid, the pressures of all radii at one retarded time, lies in memory.
//
// The radii are cut into 16 runs of equal length, one for each lane of a vector: column j = lane *
// run + k lies at k * 16 + lane. Whatever lies beyond the last column stays zero.
struct Columns {
    static constexpr int lanes = 16;
    int last = 0;  // column of the outer edge
    int run = 0;

    Columns() = default;
    explicit Columns(int last_column);

    std::size_t row() const { return static_cast<std::size_t>(run) * lanes; }
    std::size_t place(int j) const {
        return static_cast<std::size_t>(j % run) * lanes + static_cast<std::size_t>(j / run);
    }
};

// What the kernel reads and writes; arrays are laid out like a row of the grid.
struct RadialSystem {
    int run = 0;
    bool implicit = true;  // backward Euler, else Crank-Nicolson
    float axis = 0.0f;     // of the axis row's right-hand side
    // Right-hand side: factors of the running sums at the next, the same and the former column.
    AlignedVector<float> above, here, below;
    // The factored matrix, see RadialStep.
    AlignedVector<float> reciprocal, lower, upper, left, first;
    AlignedVector<float> coupling;  // 16 x 16, column after column
    AlignedVector<float> sum, work;
};

// Advances the rows of retarded time one after another: each needs the sum of all before it, and a
// tridiagonal solve along the radius.
//
// The matrix is the same for all rows and is factored once. The runs are solved side by side, one
// in each lane: the last column of each run is set apart, and what is left of a run depends on two
// of these only. So a row is an elimination along the run, 16 unknowns through their inverse
// matrix, and a substitution back; the factors are computed in double. Results agree with Thomas's
// elimination along the whole radius to rounding. `spend` is told of the steps, and may throw.
class RadialStep {
public:
    // `coefficients_in_double`: the Crank-Nicolson matrix is rounded once from double precision.
    RadialStep(const Columns& columns, bool implicit, bool coefficients_in_double,
               const Spend& spend);

    // What it takes, in rows of the grid.
    static constexpr std::size_t rows_taken = 10 + 3 * sizeof(double) / sizeof(float);

    // alpha: retarded-time step times range step over the square of the radial step.
    void factor(float alpha, const Spend& spend);

    // Advances rows 1 ... last_row - 1 of the grid; the first and the last row stay.
    void apply(float* grid, int last_row, const Spend& spend);

private:
    struct Tridiagonal;
    struct Response;
    Tridiagonal matrix_of(float alpha, const Spend& spend) const;
    void set_right_hand_side(float alpha, const Spend& spend);
    Response set_run(int lane, const Tridiagonal& matrix, const Spend& spend);
    void set_runs(const Tridiagonal& matrix, const Spend& spend);

    Columns columns_;
    bool in_double_;
    float alpha_ = -1.0f;  // of the factors; negative for none
    RadialSystem system_;
};

}  // namespace kavro::kzk
