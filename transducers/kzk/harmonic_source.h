// The harmonic march's initial field and nonlinear source, formula by formula, in the layout of the
// routines that disc and shell offer.
#pragma once

namespace kavro::kzk {

// Fields hold 2 N (Nr + 1) values: all real parts first, harmonic n = 1 ... N at (n - 1)(Nr + 1) +
// j for column j = 0 ... Nr, then all imaginary parts in the same order. The pressure of harmonic n
// is Re P_n cos(n tau) + Im P_n sin(n tau).

// A uniform piston of radius 1, with a hole if there is one, in the fundamental; column j is at j extent/(Nr + 1). `curved`: with
// the phase of a source of the given curvature, sin(G r^2) and cos(G r^2): the drive is a sine then
// and a cosine otherwise, deliberately.
void initial_field(double* field, int extent, int last_column, int harmonics, double curvature,
                   bool curved, double hole = 0.0);

// What the quadratic nonlinearity adds to each harmonic per unit of range, divided by `spreading`.
void nonlinear_source(const double* field, int last_column, int harmonics, double* source,
                      double nonlinearity, double spreading);

}  // namespace kavro::kzk
