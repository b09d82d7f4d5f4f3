// The diffraction step of the exact harmonic march, in vectors of harmonics.
#pragma once

#include <cstddef>

#include "transducers/kzk/harmonic_kernels.h"

namespace kavro::kzk {

// Rows of radius as in HarmonicRows, `rows` of them; beyond the last the field is zero. Advances
// harmonic_lanes harmonics from `first` on by dP/ds = j/(4 n G) (Laplacian of P), where `length` is
// s/(4 G) over the square of the radial step.
//
// The radial derivatives are of fourth order. Along the range the step is the (2,3) Pade
// approximation of the exponential, of fifth order: it follows a phase of one radian to 1e-4 and
// lets what turns much faster die, so that nothing rings. Its factors are three tridiagonal solves.
// `spend` is told of the steps, and may throw.
void diffract_harmonics(HarmonicRows& field, double length, std::size_t rows, std::size_t stride,
                        std::size_t first, AlignedVector<double>& scratch, const Spend& spend);

// Values of the scratch for each row.
inline constexpr std::size_t scratch_of_diffraction = 4 * harmonic_lanes;

}  // namespace kavro::kzk
