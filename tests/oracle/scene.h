// What the oracle computes: discs, points, a time axis and a fluid, as plain data.
#pragma once

#include <vector>

#include "oracle/waveform.h"

namespace kavro_oracle {

struct Triple {
    double x = 0.0, y = 0.0, z = 0.0;
};

struct Disc {
    double radius = 5e-3;  // m
    Triple center;         // m
    Triple euler;          // rad
    double amplitude = 1.0;
    double time_delay = 0.0;             // s
    const Waveform* waveform = nullptr;  // not owned
    double phase = 0.0;                  // rad, continuous wave
    int apodization = 0;                 // number of the radial profile, 0 for none
    bool exact = false;                  // instead of the reference's departures
};

struct Scene {
    std::vector<Disc> discs;
    std::vector<Triple> points;  // m
    std::vector<double> times;   // s
    double deltat = 0.0;         // s; 0: `times` is a list in any order
    double speed = 1500.0;       // m/s
    double density = 1000.0;     // kg/m^3
    int ndiv = 32;
    double f0 = 0.0;           // Hz, continuous wave
    double attenuation = 0.0;  // dB/(cm MHz), continuous wave
};

}  // namespace kavro_oracle
