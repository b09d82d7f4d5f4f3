// The parameters of the nonlinear marches as the host describes them.
#pragma once

#include "core/numerical_integration.h"
#include "mex.h"
#include "transducers/operations.h"

namespace kavro {

// Reads the option 'kzk' of a nonlinear operation, a structure with named fields, into the rule.
//
// Both marches: extent (radial extent in source radii, a whole number) and points_per_radius.
// kzk_transient: step (normalised range step), implicit and diffraction (true unless told).
// kzk_cw: growth (of the range step), harmonics (their number), source_phase (false unless told).
//
// Throws InputError for a field that is missing, unknown or not what it must be.
void set_kzk_parameters_from(NumericalIntegration& rule, const mxArray* structure,
                             const Operation& operation);

}  // namespace kavro
