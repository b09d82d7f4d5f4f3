// The complex pressure of flat discs at one frequency, written down sum by sum: time dependence
// e^(+j omega t), so a path of length R gives e^(-j k R).
#pragma once

#include <vector>

#include "oracle/scene.h"

namespace kavro_oracle {

struct ComplexField {
    std::vector<Complex> values;  // one for each point
    // Of every point, the sum of the magnitudes of all terms that its value is the sum of.
    std::vector<double> terms;
};

ComplexField fnm_cw(const Scene& scene);
ComplexField fnm_cw_apodized(const Scene& scene);
ComplexField rayleigh_cw(const Scene& scene);
ComplexField rayleigh_cw_apodized(const Scene& scene);

// In single precision, four abscissas at a time; those that fill no group of four are left out
// unless the disc is exact.
//
// Rounded to single precision: k, alpha, the radius, the local coordinates (behind is what has a
// negative z after that), and, once they are computed in double, the cosines and weights, the
// radii of rings, their squares and areas. From there on every operation rounds. Terms go to lane
// i mod 4; the lanes are added at the end, widened and multiplied with the prefactor in double.
ComplexField fnm_cw_sse(const Scene& scene);
ComplexField rayleigh_cw_sse(const Scene& scene);

// The radial profiles of the velocity, 1 cosine, 2 raised cosine, 3 quadratic, 4 quartic, anything
// else uniform; and their derivatives with respect to the radius r.
double profile(int index, double r, double a);
double profile_slope(int index, double r, double a);

// Nepers per metre.
double nepers(const Scene& scene);

// amplitude e^(j phase)
Complex weight_of(const Disc& disc);

// rho c (a/pi) w; exact: times jk/(alpha + jk).
Complex nearfield_factor(const Scene& scene, const Disc& disc, double k);

// 2 j rho f0 w
Complex rayleigh_factor(const Scene& scene, const Disc& disc);

}  // namespace kavro_oracle
