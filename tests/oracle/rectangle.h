// The pressure of flat rectangles, written down loop by loop. Every function adds into its field
// the share of each rectangle in turn; where reference behaviour and exact sibling differ, `exact`
// of the scene chooses.
#pragma once

#include <vector>

#include "oracle/disc.h"
#include "oracle/disc_continuous_wave.h"

namespace kavro_oracle {

struct Rectangle {
    double width = 4e-3, height = 6e-3;  // m, along x and y
    Triple center;                       // m
    Triple euler;                        // rad
    double amplitude = 1.0;
    double phase = 0.0;                  // rad
    double time_delay = 0.0;             // s
    const Waveform* waveform = nullptr;  // not owned
};

struct RectangleScene {
    std::vector<Rectangle> rectangles;
    std::vector<Triple> points;  // m
    std::vector<double> times;   // s
    double deltat = 0.0;         // s; 0: `times` is a list in any order
    double speed = 1500.0;       // m/s
    double density = 1000.0;     // kg/m^3
    double f0 = 1e6;             // Hz; 0: not set
    double attenuation = 0.0;    // dB/(cm MHz)
    int ndiv = 12;
    bool exact = false;
};

// ---- continuous wave: rounding is measured by `terms` of the field
ComplexField complex_silence(const RectangleScene& scene);

void add_fnm_cw(const RectangleScene& scene, ComplexField& field);
void add_fnm_cw_single(const RectangleScene& scene, ComplexField& field);
void add_fnm_cw_sse(const RectangleScene& scene, ComplexField& field);
void add_fnm_cw_sse2(const RectangleScene& scene, ComplexField& field);
void add_farfield_cw(const RectangleScene& scene, ComplexField& field);
void add_farfield_cw_lossless(const RectangleScene& scene, ComplexField& field);
void add_rayleigh_cw(const RectangleScene& scene, ComplexField& field);
void add_rayleigh_cw_sse(const RectangleScene& scene, ComplexField& field);

// Returns the size that the rule is left with.
int add_radiator_cw(const RectangleScene& scene, ComplexField& field);

// ---- transient

Field silence(const RectangleScene& scene);

struct ArrivalBounds {
    double begin, end;  // s
};

ArrivalBounds arrival_bounds(const RectangleScene& scene, const Rectangle& rectangle);

void add_impulse_response(const RectangleScene& scene, Field& field);
void add_fnm_transient(const RectangleScene& scene, Field& field, WindowLog* log = nullptr);

// fnm_tsd and fnm_fdtsd, and fnm_tsd_low_precision.
void add_double(const RectangleScene& scene, Terms terms, Field& field, WindowLog* log = nullptr);
void add_single(const RectangleScene& scene, Field& field, WindowLog* log = nullptr);

// The single-precision sum of the same rounded geometry and factors, but with every product and sum
// in double: what rounding in the sums costs is the distance from it.
void add_single_unrounded(const RectangleScene& scene, Field& field, WindowLog* log = nullptr);

}  // namespace kavro_oracle
