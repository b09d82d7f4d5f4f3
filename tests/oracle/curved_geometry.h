// Steps that the methods of curved apertures share: rims, pole, first and last distance, the points
// that are skipped, and the windows of flat and curved ones.
#pragma once

#include <vector>

#include "oracle/curved.h"
#include "oracle/disc_steps.h"
#include "oracle/gauss.h"

namespace kavro_oracle {

// A circle that bounds the aperture; sign +1 outside, -1 around the hole.
struct Rim {
    double sign = 1.0;
    double a = 0.0;  // radius
    double S = 0.0;  // sine of its angle seen from the centre of curvature
    double C = 1.0;  // cosine
    double V = 0.0;  // 1 - C
    double z_rim = 0.0;

    bool nearly_hemispherical() const { return C < 0.125; }
};

// The outer rim, then the inner one if there is one.
std::vector<Rim> rims_of(const Aperture& aperture);

// Distance from the axis and height. The flat apertures take the square as it was before the root.
struct Place {
    double r, z;
    double r_squared = r * r;
};

Place place_of(const Aperture& aperture, const Triple& point);

// Of a point, with respect to a sphere of radius d.
struct Pole {
    double s, sigma, m, n, U, R0, R1;
    bool at_focus;
};

Pole pole_of(double d, const Place& place);

struct Distances {
    double first, last;
};

Distances distances_of(const std::vector<Rim>& rims, double d, const Place& place);
Distances flat_distances_of(const std::vector<Rim>& rims, const Place& place);

bool is_skipped(const std::vector<Rim>& rims, double d, const Place& place);

// Of rim and pole at one abscissa.
struct Spot {
    double D2, N;
    double K() const { return N / (D2 * (1.0 - D2 / 4.0)); }
    double A() const { return N / D2; }
    double B() const { return N / (4.0 - D2); }
    double R(const Pole& pole, double d) const;
    double excess(const Pole& pole, double d) const;  // R - R0
};

Spot spot_of(const Rim& rim, const Pole& pole, double kappa);

// kappa = 1 - cos phi of an angle.
double kappa_of(double phi);

// The point itself, or two neighbours beside the axis where it is next to the focus.
struct Neighbour {
    Place place;
    double weight;
};

std::vector<Neighbour> neighbours_of(double d, const Place& place);

// Samples from a delay on for the waveform's width, and from delay tau_a to the width after tau_b.
Window edge_window(const ApertureScene& scene, const Aperture& aperture, double tau);
Window window_between(const ApertureScene& scene, const Aperture& aperture, double tau_a,
                      double tau_b);

}  // namespace kavro_oracle
