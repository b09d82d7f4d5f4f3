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
// docs/theory_tolerance.md has the formulas.
//
// Only +, -, x, /, square roots and polynomials in a fixed order, in single precision: every width
// of vectors, and every division of the points, gives a point the same n.
#pragma once

#include <cstddef>
#include <span>

#include "transducers/blocks/lane_quadrature.h"
#include "transducers/tolerance/demand.h"

namespace kavro {

// One rim as the lanes of a block see it. Coefficients are ratio N / (D (1 - curvature D)) of D =
// least + spread kappa, N = along - retreat kappa, 0 <= kappa <= 2; metres, or of a bowl shares of
// its radius of curvature. Differences that nearly cancel are formed before they are rounded.
struct SeenRim {
    double radius;                // m
    double steepness;             // by which its coefficients exceed their size a quarter round
    double inside_below;          // of RimScene::place: the points over what the rim encloses
    Lanes<float> near, far;       // R_n, R_f: of the rim's nearest and farthest point (m)
    Lanes<float> beside;          // the largest of the coefficients is radius / (pi beside) (m)
    Lanes<float> least, spread;   // of D
    Lanes<float> along, retreat;  // of N
    Lanes<float> far_pole;        // e^-height of the pole on the far side of a sphere, 0 for none
};

struct RimScene {
    int rims;          // the outer one first
    double area;       // of the face (m^2)
    double curvature;  // 1/4 of a sphere, 0 of a flat face
    SeenRim rim[2];
    Lanes<float> off_axis;  // r (m)
    Lanes<float> lever;     // radius of the pole's circle on the face, r where that is flat (m)
    Lanes<float> place;     // what tells inside from outside
    Lanes<float> ratio;     // |ratio| / radius
    Lanes<float> path;      // R_0 (m)
    Lanes<float> gain;      // of the direct wave: d / s, 1 of a flat face
};

// One rule for each rim. Whatever is not a number takes few abscissas.
void choose_rims(const RimScene& scene, const QuadratureDemand& demand, LaneQuadrature& out);

// A flat face with straight edges, and points over and beside it (m).
struct FaceScene {
    double extents[2];             // across and along: their product is the area (m^2)
    double sharpness;              // sine of the sharpest corner, 1 of right ones
    double share;                  // of the tolerance, which the edges of many corners share
    Lanes<float> height, nearest;  // over the plane; from the nearest point of the face
    Lanes<float> beside[2];        // in the directions of two edges; 0 over the face
};

// How large an error a face's pieces may make.
struct FaceAllowance {
    Lanes<float> allowed;
    Lanes<float> losses,
        losses_to_face;  // Np: of the first wave beyond the direct one, and of that
};

FaceAllowance allowance_of(const FaceScene& scene, const QuadratureDemand& demand);

// A straight piece of an edge, from s = nearer to s = farther from the foot of the perpendicular,
// at the distance L (m). Absent where both are the same.
struct SeenPiece {
    Lanes<float> L, nearer, farther;
};

// The rules of some pieces, for out.rules from `first` on.
void choose_pieces(std::span<const SeenPiece> pieces, const FaceScene& scene,
                   const FaceAllowance& allowance, const QuadratureDemand& demand,
                   std::size_t first, LaneQuadrature& out);

}  // namespace kavro
