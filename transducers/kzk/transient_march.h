// The transient nonlinear march: diffraction, absorption and nonlinear distortion of a pulse from
// an axisymmetric source, in steps of range.
#pragma once

#include <optional>

#include "transducers/kzk/fault.h"
#include "transducers/kzk/memory_need.h"
#include "transducers/kzk/outcome.h"
#include "transducers/transducer.h"

namespace kavro::kzk {

// What tells the disc from the shell. The range is counted in a scale length: the Rayleigh distance
// z_R = omega0 a^2/(2c), or the shell's radius of curvature.
struct TransientShape {
    double radius = 0.0;        // a, m
    double hole = 0.0;          // its radius over a
    double scale_length = 0.0;  // m
    double curvature = 0.0;     // of the source's front: -1 for a shell, 0 for a disc
    float rayleigh = 0.0f;
    float gain = 1.0f;                    // z_R over the scale length
    float source_lead = 0.0f;             // rad, by which the source's rim fires before its centre
    float nonlinearity = 0.0f;            // Kn = beta omega0 u0/c^2 times the scale length
    float absorption = 0.0f;              // Np at f0 over the scale length
    float last_range = 0.0f;              // of the grid's zmax, in scale lengths
    bool coefficients_in_double = false;  // of the Crank-Nicolson matrix
    bool prints_nonlinearity = false;
    bool shock_is_warning = false;  // else it is printed
    const char* shock_message = "";
};

// The element has its records. Marches the element's excitation through the planes of its grid and
// stores the pressure (Pa), entry ix + nx iz + n nx nz for time sample n. Where the parameters,
// medium and axes allow no march, zeros are stored.
//
// An exact element's march is that of transient_beam.h. For others the tau axis must have been set
// (set_kzk_tau_axis; status_failure where it is not as long as the march needs). The step is
// shortened to half of what is left to the nearest shock. A shock ends either march one step later
// with a message; planes that were not reached are silent. So are, deliberately, planes beyond the
// first that a step passes, and the last plane where rounding leaves it at the very end of the
// march.
Outcome march_transient(const Transducer& element, const TransientShape& shape);

// What keeps it from marching.
std::optional<Fault> transient_fault(const Transducer& element, const TransientShape& shape);

// What it takes where nothing does.
MemoryNeed transient_memory(const Transducer& element, const TransientShape& shape);

}  // namespace kavro::kzk
