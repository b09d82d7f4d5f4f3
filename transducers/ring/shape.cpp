// What a flat annulus states of itself.
#include "transducers/shape.h"

#include <array>
#include <cmath>
#include <span>

#include "core/constants.h"
#include "transducers/circular/circular_edge.h"
#include "transducers/ring/ring_transducer.h"
#include "transducers/surface/half_annulus.h"

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

// The samples of the outer rim, then those of the inner rim with the opposite sign; without a hole
// (an inner radius that is not positive) those of the disc, to the last bit.
template <class Real>
std::unique_ptr<EdgeGenerator<Real>> edge_of(const RingTransducer& ring, const Wanted& wanted,
                                             DelayBy delay_by) {
    const std::array radii{ring.outer_radius, ring.inner_radius};
    const std::size_t rims = ring.inner_radius > 0.0 ? 2 : 1;
    return std::make_unique<CircularEdge<Real>>(ring, std::span(radii.data(), rims), wanted,
                                                delay_by);
}

}  // namespace

// The direct evaluation's window is neutral, unlike the disc's: what lies before the first arrival
// could only be a residue of the two rims. Its Rayleigh integral decays, unlike the disc's.
Departures RingTransducer::departures() const {
    return Departures::common(exact());
}

ApertureDistances RingTransducer::distances(const CartesianCoordinate& p) const {
    const double r = std::sqrt(p.x * p.x + p.y * p.y);
    const double to_rim = r < inner_radius ? inner_radius - r : r - outer_radius;
    const double far = r + outer_radius;
    return {to_rim > 0.0 ? std::sqrt(to_rim * to_rim + p.z * p.z) : std::abs(p.z),
            std::sqrt(p.z * p.z + far * far)};
}

RuleInterval RingTransducer::rule_interval(Method method) const {
    return method == Method::rayleigh_cw ? RuleInterval::none : RuleInterval::half_circle;
}

std::unique_ptr<EdgeGenerator<double>> RingTransducer::edge(const Wanted& wanted) const {
    return edge_of<double>(*this, wanted, DelayBy::quotient);
}

std::unique_ptr<EdgeGenerator<float>> RingTransducer::single_edge(const Wanted& wanted) const {
    return edge_of<float>(*this, wanted, DelayBy::product);
}

EdgeScale RingTransducer::edge_scale(Method) const {
    return {outer_radius / pi, 1.0};
}

FarPattern RingTransducer::far_pattern(double wavenumber) const {
    return annulus_pattern(wavenumber, inner_radius, outer_radius);
}

std::unique_ptr<SurfaceRows<double>> RingTransducer::surface(const Wanted& wanted) const {
    return std::make_unique<HalfAnnulus<double>>(wanted.order, std::fmax(inner_radius, 0.0),
                                                 outer_radius);
}

// The outer rim's response less the inner one's, on both sides of the plane.
void RingTransducer::write_impulse_response(const CartesianCoordinate& p, SampleWindow samples,
                                            double later, double* values) const {
    const double r = std::sqrt(p.x * p.x + p.y * p.y);
    const RimResponse outer(outer_radius, medium->_soundspeed, r, p.z);
    const RimResponse inner(inner_radius, medium->_soundspeed, r, p.z);
    for (int j = samples.begin; j < samples.end; ++j) {
        const double t = time_samples->time_index_value(j) - time_delay - later;
        values[j - samples.begin] = inner_radius > 0.0 ? outer(t) - inner(t) : outer(t);
    }
}

}  // namespace kavro
