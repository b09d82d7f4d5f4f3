// The parameters of the nonlinear marches.
#pragma once

namespace kavro::kzk {

// Plain numbers, whatever they are: a march says what it cannot run with.
struct Parameters {
    // Both marches: the radial grid.
    float extent = 0.0f;             // in source radii; the fraction does not count
    float points_per_radius = 0.0f;  // columns in a source radius

    // The transient march.
    float step = 0.0f;         // of range, in Rayleigh distances or radii of curvature
    float implicit = 0.0f;     // exactly 1: backward Euler; anything else: Crank-Nicolson
    float diffraction = 0.0f;  // exactly 1: on; anything else: a plane wave

    // The harmonic march.
    float growth = 0.0f;   // of the range steps, over (1 + range)^2
    int harmonics = 0;     // how many, the fundamental included
    int source_phase = 0;  // disc only; above 0: the source has the phase r^2, and the grid spreads

    bool is_implicit() const { return implicit == 1.0f; }
    bool diffracts() const { return diffraction == 1.0f; }
};

}  // namespace kavro::kzk
