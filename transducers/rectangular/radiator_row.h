// One row of the radiator's face integral.
#pragma once

#include <complex>

#include "core/aligned_vector.h"
#include "transducers/methods/wave_parameters.h"

namespace kavro {

// How each abscissa of the radiator is weighted, and how its wave propagates.
enum class RadiatorForm {
    // e^(+alpha R) e^(+jkR) sinc(g X_i WX_i / R) sinc(g Y_j WY_j / R), g = k - j alpha: a growing
    // amplitude, the other phase sign, and the abscissa's own position instead of its offset from
    // the point. Deliberate.
    reference,
    // e^(-alpha R) e^(-jkR) sinc(k (x - X_i) WX_i / (2 R)) sinc(k (y - Y_j) WY_j / (2 R)): the
    // field
    // of a cell of the size of the weights, each in its own far field.
    exact,
};

// The rule over a face at one size: positions and weights along x and y (m). Along y there are more
// entries than abscissas, of weight 0, so that vectors need no remainder.
struct RadiatorRule {
    AlignedVector<double> X, WX, Y, WY;
};

// The sum over j of WX_i WY_j times the term of abscissas i and j, over R, at a point.
std::complex<double> radiator_row(const RadiatorRule& rule, int i, double x, double y, double z,
                                  const WaveParameters& wave, RadiatorForm form);

}  // namespace kavro
