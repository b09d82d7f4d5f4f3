// The spatial impulse response of a rectangle at one point.
#pragma once

#include <array>

#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// Lines through the foot of the point cut the plane into quadrants. The face is the signed sum of
// four rectangles with a corner at the foot, of the sides a = width/2 +- |x| and b = height/2 +-
// |y|; a negative side turns the sign s. Such a rectangle answers, t seconds after an impulse, with
// sigma = sqrt(c^2 t^2 - z^2), by the part of the circle of radius sigma about the foot that it
// holds,
//
//     s c / (2 pi) [pi/2 - acos(a / sigma) - acos(b / sigma)],
//
// each arc cosine only once the circle reaches that side, from |z|/c until the circle has passed
// the far corner. In m/s; the same in front of the face and behind.
class CornerResponse {
public:
    CornerResponse(const RectangularTransducer& rectangle, const CartesianCoordinate& local);

    double at(double t) const;

private:
    struct Side {
        double length;   // m, positive
        double sign;     // of the length as computed
        double arrival;  // s, of the circle at this side
    };
    struct Corner {
        double sign;
        double arrival;  // s
    };

    double arc(const Side& side, double t, double sigma) const;

    double c_;
    double z_squared_;
    double begin_;
    std::array<Side, 2> along_x_, along_y_;
    std::array<Corner, 4> corners_;  // of sides (i, j) at i + 2 j
};

}  // namespace kavro
