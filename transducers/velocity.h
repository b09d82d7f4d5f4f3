// Continuous waves with the particle velocity.
#pragma once

#include <span>

#include "output.h"
#include "quadrature_report.h"
#include "transducer.h"

namespace kavro {

// 3 npoints real and as many imaginary parts (m/s), in the axes of the points: component q of point
// i at i + q * npoints.
struct VelocityOutput {
    double* real;
    double* imaginary;
};

// The pressure of fnm_cw, added to the elements' outputs, and v = -grad p / (j omega rho), added to
// the velocity's; for all elements together, which share one grid, and of any shapes. With a rule,
// the pressure is that of fnm_cw to the last bit; a tolerance goes for |v| of each element's field,
// too, against its |p| / (rho c). Answers as `solve` does (array.h).
TransducerStatus solve_velocity(std::span<Transducer* const> elements,
                                const VelocityOutput& velocity, Output output = Output::accumulate,
                                QuadratureReport* report = nullptr);

}  // namespace kavro
