// Continuous waves and the surface rule of bowls, for both precisions.
#pragma once

#include <vector>

#include "oracle/curved_geometry.h"

namespace kavro_oracle {

struct Wave {
    double k;      // rad/m
    double alpha;  // Np/m

    Complex over(double R) const;  // e^(-(alpha + jk) R)
};

// 1 MHz where no frequency is set; with 1500 m/s where no speed is set, and the frequency as it is.
Wave wave_of(const ApertureScene& scene);
Wave rayleigh_wave_of(const ApertureScene& scene);

// Circles of a bowl at the abscissas of a rule on [0, pi]: radius, height, area per azimuth.
struct Polar {
    std::vector<double> q, z, dA;
};

Polar polar_of(const std::vector<Rim>& rims, double d, const Rule& rule);

}  // namespace kavro_oracle
