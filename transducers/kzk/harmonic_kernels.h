// The two halves of a step of the harmonic nonlinear march, in vectors of harmonics.
#pragma once

#include <cstddef>

#include "core/aligned_vector.h"
#include "core/interrupted.h"

namespace kavro::kzk {

// Real and imaginary parts, row by row of radius; a row holds the harmonics, `stride` values, zero
// beyond the last. stride is a multiple of harmonic_lanes.
struct HarmonicRows {
    AlignedVector<double> re, im;
};

inline constexpr std::size_t harmonic_lanes = 8;

constexpr std::size_t harmonic_stride(std::size_t harmonics) {
    return (harmonics + harmonic_lanes - 1) / harmonic_lanes * harmonic_lanes;
}

// A step of range: per harmonic, what multiplies the values on each side. Zero beyond the last.
struct HarmonicStep {
    bool implicit = true;            // backward Euler, else Crank-Nicolson
    double length = 0.0;             // h
    AlignedVector<double> diagonal;  // of the matrix: 1 and the absorption of the step
    AlignedVector<double> kept;      // Crank-Nicolson: 1 less the former absorption
    AlignedVector<double> twist;     // d: diffraction weight, h over the radial step squared
    AlignedVector<double> coupling;  // n Kn/2 over the spreading
};

// 1 -+ 1/(2j) of row j.
struct HarmonicRadius {
    AlignedVector<double> below, above;
};

// The nonlinear source of rows first ... past - 1. Each harmonic's sums run over the others in
// ascending order, so the bits are those of the plain loops. With very many harmonics a row takes
// minutes: `spend` is told of the steps, and may throw.
void couple_harmonics(const HarmonicRows& field, const HarmonicStep& step, std::size_t harmonics,
                      std::size_t stride, std::size_t first, std::size_t past, HarmonicRows& source,
                      AlignedVector<double>& scratch, const Spend& spend);

// Advances the harmonics first ... first + count - 1 (multiples of harmonic_lanes) by block
// elimination along the radius. The matrices' blocks are complex numbers and those beside the
// diagonal imaginary; leaving the zeros out changes no bit but the signs of zeros.
void advance_harmonics(HarmonicRows& field, const HarmonicRows& source, const HarmonicStep& step,
                       const HarmonicRadius& radius, std::size_t stride, std::size_t first,
                       std::size_t count, AlignedVector<double>& scratch, const Spend& spend);

}  // namespace kavro::kzk
