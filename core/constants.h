// The literals of pi that every formula of the system uses.
//
// They stop at 14 decimals on purpose: abscissas, frequencies and window edges are reproducible to
// the last bit only if every formula uses the same value, and these are the values in use.
#pragma once

namespace kavro {

inline constexpr double pi = 3.14159265358979;
inline constexpr double two_pi = 6.28318530717958;
inline constexpr double half_pi = 1.570796326794895;

}  // namespace kavro
