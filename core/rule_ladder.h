// Quadrature rules of rising order, of which each point may take its own.
#pragma once

#include <array>
#include <cstdint>

#include "core/aligned_vector.h"

namespace kavro {

// The orders n = 2, 3, 4, 5, 6, 7, 8, 10, 12, 14, 16, 20, ... 1024, four to an octave. A rung is
// numbered by the exponent and the two leading bits of n's mantissa: no search finds it. Rungs 1
// and 3 have no order of their own.
namespace ladder {

inline constexpr int fewest = 2;
inline constexpr int most = 1024;
inline constexpr int rungs = 37;

}  // namespace ladder

// Where each rung's rule begins in tables that hold all of them one after the other.
using RungOffsets = std::array<std::int32_t, ladder::rungs>;

// Rules over half a rim, 0 <= phi <= pi. The midpoint rule, phi_i = (i + 1/2) pi / n, is the better
// one for what is smooth and of period 2 pi; Gauss's is it close to a rim.
template <class Real>
struct RimLadder {
    AlignedVector<Real> cosine;  // cos phi_i
    AlignedVector<Real> turn;    // 1 - cos phi_i
    AlignedVector<Real> weight;  // they sum to pi
    RungOffsets midpoint{}, gauss{};
};

// Gauss's rules on [0, 1].
template <class Real>
struct LineLadder {
    AlignedVector<Real> abscissa, weight;
    RungOffsets gauss{};
};

// Made by the first call, once per process; immutable, and shared by all threads. Throws
// Interrupted where the console port asks to stop (from the calling thread only), and
// std::bad_alloc.
template <class Real>
const RimLadder<Real>& rim_ladder();
template <class Real>
const LineLadder<Real>& line_ladder();

extern template const RimLadder<float>& rim_ladder();
extern template const RimLadder<double>& rim_ladder();
extern template const LineLadder<float>& line_ladder();
extern template const LineLadder<double>& line_ladder();

}  // namespace kavro
