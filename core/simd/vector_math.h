// Four-wide single-precision functions on __m128.
//
// Range reduction and short minimax polynomials after the single-precision functions of the Cephes
// library (S. L. Moshier). No branches: masks select per lane. Every constant and every order of
// operations is fixed, so results are the same to the last bit on every machine.
#pragma once

#include <emmintrin.h>

namespace kavro {

__m128 log_ps(__m128 x);  // natural logarithm; NaN where x <= 0
__m128 exp_ps(__m128 x);  // argument clamped to +-88.3762626647949
__m128 sin_ps(__m128 x);
__m128 cos_ps(__m128 x);
void sincos_ps(__m128 x, __m128* s, __m128* c);

// e^(re + i im) in every lane.
void complex_exp(__m128 re, __m128 im, __m128* out_re, __m128* out_im);

// (lane 0 + lane 2) + (lane 1 + lane 3).
float horizontal_add_ps(__m128 v);

// Lanes 3, 2, 1, 0 = a, b, c, d, each rounded to single precision.
__m128 _mm_set_doubles(double a, double b, double c, double d);

// Prints "<lane0 lane1 lane2 lane3>" to the console.
void debug_m128(__m128 v);

}  // namespace kavro
