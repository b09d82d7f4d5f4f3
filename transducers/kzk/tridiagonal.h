// The plain solvers of tridiagonal systems that the nonlinear marches are defined by: Thomas's
// elimination without pivoting.
#pragma once

namespace kavro::kzk {

// Solves a_j x_(j-1) + b_j x_j + c_j x_(j+1) = r_j for j = first ... last, bounds truncated to
// whole numbers; a of the first and c of the last row are not read. bet and gam are work space.
// Nothing happens where last < first.
void solve_tridiagonal(float first, float last, const float* a, const float* b, const float* c,
                       const float* r, float* x, float* bet, float* gam);

// Solves a system with 2 x 2 blocks, rows 0 ... last: `matrix` holds 12 values per row, the lower,
// diagonal and upper block, each row by row; `r` the right-hand side, real and imaginary parts in
// turn. The lower block of the first and the upper one of the last row are not read. The solution
// replaces r and is in `solution` as well. bet and gam are work space of the matrix's size.
void solve_block_tridiagonal(const double* matrix, int last, double* r, double* solution,
                             double* bet, double* gam);

}  // namespace kavro::kzk
