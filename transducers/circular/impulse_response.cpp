#include <cmath>

#include "core/constants.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/methods/guarded.h"
#include "transducers/methods/point_series.h"

namespace kavro {
namespace {

// The share of the circle of radius sqrt(q) about the foot of the point that lies on the face, as a
// velocity: (c / pi) acos(X / Y).
double arc(double c, double r, double a, double q) {
    const double X = r * r + q - a * a;
    const double Y = q > 0.0 ? 2.0 * r * std::sqrt(q) : 0.0;
    return Y >= std::abs(X) ? c / pi * std::acos(X / Y) : 0.0;
}

// h(t) in m/s at a point r from the axis and z over the plane of a face of radius a.
struct DiscResponse {
    double a, c, r, z;
    double t_axial, t_near, t_far;

    DiscResponse(double radius, double speed, double distance, double height)
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
            return t_near < t && t <= t_far ? arc(c, r, a, q) : 0.0;
        }
        if (r == a) {
            const bool arrived = t_axial <= t && t <= t_far;
            return arrived && q >= 0.0 ? (q > 0.0 ? arc(c, r, a, q) : c) : 0.0;
        }
        return t_near <= t && t <= t_far ? arc(c, r, a, q) : 0.0;
    }
};

}  // namespace

// The sign of z is not looked at, as in impulse_begin_and_end_times: behind the face the plateau
// begins before the element's delay, on purpose; exactly, it begins with |z|. Every amplitude
// counts.
TransducerStatus CircularTransducer::impulse_response() {
    if (!has_impulse_response_records()) {
        return status_failure;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return add_point_series(
            *this, [this](const CartesianCoordinate& p, SampleWindow samples, double* values) {
                const double height = exact() ? std::abs(p.z) : p.z;
                const DiscResponse h(radius, medium->_soundspeed, std::sqrt(p.x * p.x + p.y * p.y),
                                     height);
                for (int j = samples.begin; j < samples.end; ++j) {
                    values[j - samples.begin] = h(time_samples->time_index_value(j) - time_delay);
                }
            });
    });
}

}  // namespace kavro
