// How many abscissas a rim or an edge's piece takes at a point, for a tolerance.
//
// A rule's error is the integrand's coefficient of order m = 2n. As the integrand oscillates, with
// the excursion X = k (R_far - R_near)/2 of its phase, that coefficient does not fall before m = X;
// past that as e^(-sigma m), where the path R is zero at the height sigma over the real axis. With
// Lambda = ln(c G / (tolerance E)), G the size of the coefficients and E the field's magnitude,
// both from below or above as is safe, n is the larger of
//
//     min over eta of (Lambda + X growth(eta)) / 2 eta,     sqrt(X^2 + (Lambda/sigma)^2) / 2,
//
// growth = sinh for the midpoint rule, which is the better one over a rim but for the nearest
// points. Over time, k is the waveform's highest, and the waveform's ends ask, too: a jump J of
// the derivative of order mu leaves, by Euler's and Maclaurin's sum, beta J M h^(mu + 1) of it.
// docs/theory.md has the formulas.
//
// Only +, -, x, /, square roots and polynomials in a fixed order: every width of vectors, and every
// division of the points, gives a point the same n.
#pragma once

#include "transducers/blocks/lane_quadrature.h"
#include "transducers/tolerance/demand.h"

namespace kavro {

// One rim as the lanes of a block see it. Coefficients are ratio N / (D (1 - curvature D)) of D =
// least + spread kappa, N = along - retreat kappa, 0 <= kappa <= 2; metres, or of a bowl shares of
// its radius of curvature.
struct SeenRim {
    double radius;                 // m
    double inside_below;           // of RimScene::place: the points over what the rim encloses
    Lanes<double> near, far;       // R_n, R_f: of the rim's nearest and farthest point (m)
    Lanes<double> beside;          // the largest of the coefficients is radius / (pi beside) (m)
    Lanes<double> least, spread;   // of D
    Lanes<double> along, retreat;  // of N
    Lanes<double> far_pole;        // e^-height of the pole on the far side of a sphere, 0 for none
};

struct RimScene {
    int rims;          // the outer one first
    double area;       // of the face (m^2)
    double curvature;  // 1/4 of a sphere, 0 of a flat face
    SeenRim rim[2];
    Lanes<double> off_axis;  // r (m)
    Lanes<double> lever;     // radius of the pole's circle on the face, r where that is flat (m)
    Lanes<double> place;     // what tells inside from outside
    Lanes<double> ratio;     // |ratio| / radius
    Lanes<double> path;      // R_0 (m)
    Lanes<double> gain;      // of the direct wave: d / s, 1 of a flat face
};

// One rule for each rim. Whatever is not a number takes few abscissas.
void choose_rims(const RimScene& scene, const QuadratureDemand& demand, LaneQuadrature& out);

// A straight piece of an edge, from s = nearer to s = farther from the foot of the perpendicular,
// at the distance L (m). Absent where both are the same.
struct SeenPiece {
    Lanes<double> L, nearer, farther;
};

// A flat face with straight edges.
struct PieceScene {
    double extents[2];  // across and along: their product is the area (m^2)
    double sharpness;   // sine of the sharpest corner, 1 of right ones
    Lanes<double> height;
    Lanes<double> nearest;    // of the face (m)
    Lanes<double> beside[2];  // of the face, in the directions of two edges; 0 over it (m)
    AlignedVector<SeenPiece> pieces;
};

void choose_pieces(const PieceScene& scene, const QuadratureDemand& demand, LaneQuadrature& out);

}  // namespace kavro
