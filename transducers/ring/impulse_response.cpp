// The flat annulus's arrival times and spatial impulse response.
#include <cmath>

#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_series.h"
#include "transducers/methods/arrival_times.h"
#include "transducers/ring/ring_transducer.h"

namespace kavro {
namespace {

// What one rim encloses contributes to h(t), m/s, at a point r from the axis and |z| from the
// plane: the share of the circle of radius sqrt(q) about the point's foot that lies inside the rim,
// as a velocity.
struct RimResponse {
    double a, c, r, z;
    double t_axial, t_near, t_far;

    RimResponse(double radius, double speed, double distance, double height)
        : a(radius),
          c(speed),
          r(distance),
          z(height),
          t_axial(std::abs(z) / c),
          t_near(std::sqrt((r - a) * (r - a) + z * z) / c),
          t_far(std::sqrt((a + r) * (a + r) + z * z) / c) {}

    double operator()(double t) const {
        if (r <= a && t_axial <= t && t <= t_near) {
            return c;
        }
        if (!(t_near <= t && t <= t_far)) {
            return 0.0;
        }
        const double q = c * c * t * t - z * z;
        const double X = r * r + q - a * a;
        const double Y = q > 0.0 ? 2.0 * r * std::sqrt(q) : 0.0;
        if (X >= Y) {
            return 0.0;
        }
        return X <= -Y ? c : c / pi * std::acos(X / Y);
    }
};

}  // namespace

TransducerStatus RingTransducer::impulse_begin_and_end_times() {
    if (coordinate_grid == nullptr || medium == nullptr) {
        return status_failure;
    }
    record_arrival_times(*this, [this](const CartesianCoordinate& p) -> ApertureDistances {
        const double r = std::sqrt(p.x * p.x + p.y * p.y);
        const double to_rim = r < inner_radius ? inner_radius - r : r - outer_radius;
        const double far = r + outer_radius;
        return {to_rim > 0.0 ? std::sqrt(to_rim * to_rim + p.z * p.z) : std::abs(p.z),
                std::sqrt(p.z * p.z + far * far)};
    });
    return status_success;
}

// The outer rim's response less the inner one's, on both sides of the plane. Every amplitude
// counts.
TransducerStatus RingTransducer::impulse_response() {
    if (!has_impulse_response_records()) {
        return status_failure;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return add_point_series(
            *this, [this](const CartesianCoordinate& p, SampleWindow samples, double* values) {
                const double r = std::sqrt(p.x * p.x + p.y * p.y);
                const RimResponse outer(outer_radius, medium->_soundspeed, r, p.z);
                const RimResponse inner(inner_radius, medium->_soundspeed, r, p.z);
                for (int j = samples.begin; j < samples.end; ++j) {
                    const double t = time_samples->time_index_value(j) - time_delay;
                    values[j - samples.begin] = inner_radius > 0.0 ? outer(t) - inner(t) : outer(t);
                }
            });
    });
}

}  // namespace kavro
