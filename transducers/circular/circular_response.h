// The disc's spatial impulse response in closed form.
#pragma once

#include <cmath>

#include "core/constants.h"

namespace kavro {

// The share of the circle of radius sqrt(q) about the foot of the point that lies on the face, as a
// velocity: (c / pi) acos(X / Y).
inline double arc_response(double c, double r, double a, double q) {
    const double X = r * r + q - a * a;
    const double Y = q > 0.0 ? 2.0 * r * std::sqrt(q) : 0.0;
    return Y >= std::abs(X) ? c / pi * std::acos(X / Y) : 0.0;
}

// h(t) in m/s at a point r from the axis and z over the plane of a face of radius a.
struct CircularResponse {
    double a, c, r, z;
    double t_axial, t_near, t_far;

    CircularResponse(double radius, double speed, double distance, double height)
        : a(radius),
          c(speed),
          r(distance),
          z(height),
          t_axial(z / c),
          t_near(std::sqrt((r - a) * (r - a) + z * z) / c),
          t_far(std::sqrt((a + r) * (a + r) + z * z) / c) {}

    double operator()(double t) const {
        const double q = c * c * t * t - z * z;
        if (r == 0.0) {
            return t_axial <= t && t <= std::sqrt(z * z + a * a) / c ? c : 0.0;
        }
        if (r < a) {
            if (t_axial <= t && t <= t_near) {
                return c;
            }
            return t_near < t && t <= t_far ? arc_response(c, r, a, q) : 0.0;
        }
        if (r == a) {
            const bool arrived = t_axial <= t && t <= t_far;
            return arrived && q >= 0.0 ? (q > 0.0 ? arc_response(c, r, a, q) : c) : 0.0;
        }
        return t_near <= t && t <= t_far ? arc_response(c, r, a, q) : 0.0;
    }
};

}  // namespace kavro
