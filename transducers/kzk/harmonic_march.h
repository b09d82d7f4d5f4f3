// The harmonic nonlinear march: the steady field of an axisymmetric source driven at one frequency,
// as a series of harmonics on a radial grid, in steps of range.
#pragma once

#include <functional>
#include <optional>

#include "transducers/kzk/fault.h"
#include "transducers/kzk/harmonic_source.h"
#include "transducers/kzk/memory_need.h"
#include "transducers/kzk/outcome.h"
#include "transducers/transducer.h"

namespace kavro::kzk {

// What tells the disc from the shell. The range is counted in a scale length: the Rayleigh distance
// z_R = omega0 a^2/(2c), or the shell's radius of curvature.
struct HarmonicShape {
    double radius = 0.0;                      // a, m
    double hole = 0.0;                        // its radius over a
    double scale_length = 0.0;                // m
    std::function<float(float)> range_of;     // of a plane, in scale lengths, from its z in m
    double gain = 1.0;                        // z_R over the scale length
    double curvature = 0.0;                   // of the source's front: -1 for a shell, 0 for a disc
    double absorption = 0.0;                  // Np at f0 over the scale length
    double nonlinearity = 0.0;                // Kn = beta omega0 u0/c^2 times the scale length
    std::function<double(double)> spreading;  // g of the range: radii grow and pressures fall by it
    // INIT: extent, field, last column, harmonics.
    std::function<void(int, double*, int, int)> initial;
    // COEFF: new range, range of the coefficients, absorption and diffraction weights, harmonics.
    std::function<void(double, double, double*, double*, int)> coefficients;
};

// omega0 = 2 pi f0 of the medium, rad/s.
float angular_frequency(const Medium& medium);

// The element has its records. Marches through the planes of the element's grid and stores each
// harmonic's complex pressure (Pa), entry ix + nx iz + nx nz (n - 1) of both outputs for harmonic
// n. Where the parameters or the medium allow no march, zeros are stored; planes behind the face
// are silent. Warns where the march has grown without bound and the result is not finite.
//
// An exact element's march is that of harmonic_beam.h. For others the time dependence is
// exp(-j n omega0 t), the phase is counted from a plane wave that travels along, a source that
// starts curved (a shell, a disc with the source phase) is driven by a sine instead of a cosine,
// and the source phase's curvature stays off. 20 backward Euler steps damp what the jump at the rim
// stirs up, then Crank-Nicolson steps follow that grow with the range. With a source of high gain
// the first are too long: deliberate.
Outcome march_harmonics(const Transducer& element, const HarmonicShape& shape);

// What keeps it from marching.
std::optional<Fault> harmonic_fault(const Transducer& element, const HarmonicShape& shape);

// What it takes where nothing does.
MemoryNeed harmonic_memory(const Transducer& element, const HarmonicShape& shape);

}  // namespace kavro::kzk
