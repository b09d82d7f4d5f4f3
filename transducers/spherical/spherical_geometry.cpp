#include "transducers/spherical/spherical_geometry.h"

#include <algorithm>
#include <cmath>

namespace kavro {
namespace {

double nearest_on(const SphericalRim& rim, const AxialPoint& point) {
    const double along = point.r - rim.radius;
    const double up = point.z - rim.height;
    return std::sqrt(along * along + up * up);
}

double farthest_on(const SphericalRim& rim, const AxialPoint& point) {
    const double along = point.r + rim.radius;
    const double up = point.z - rim.height;
    return std::sqrt(along * along + up * up);
}

}  // namespace

AxialPoint axial(const CartesianCoordinate& point) {
    return {std::sqrt(point.x * point.x + point.y * point.y), point.z};
}

SphericalGeometry::SphericalGeometry(double curvature_radius, double outer_radius,
                                     double inner_radius)
    : d_(curvature_radius) {
    add_rim(outer_radius, 1.0);
    add_rim(inner_radius, -1.0);
}

void SphericalGeometry::add_rim(double radius, double sign) {
    if (!(radius > 0.0)) {
        return;
    }
    const double a = std::min(radius, d_);
    const double sine = a / d_;
    const double cosine = std::sqrt((d_ - a) * (d_ + a)) / d_;
    const double depth = sine * sine / (1.0 + cosine);
    rims_[count_++] = {sign, a, sine, cosine, depth, depth * d_};
}

bool SphericalGeometry::has_nearly_hemispherical_rim() const {
    return std::any_of(rims().begin(), rims().end(),
                       [](const SphericalRim& rim) { return rim.is_nearly_hemispherical(); });
}

SphericalPole SphericalGeometry::pole(const AxialPoint& point) const {
    const auto [r, z] = point;
    const double up = z - d_;
    const double least = 1e-15 * d_;
    SphericalPole pole{std::sqrt(r * r + up * up), z < d_ ? 1.0 : -1.0, 0.0, 1.0, 0.0, 0.0, 0.0};
    if (pole.s < least) {
        pole.s = least;
        pole.side = 1.0;
    } else {
        pole.sine = r / pole.s;
        pole.cosine = std::abs(up) / pole.s;
    }
    pole.depth = pole.sine * pole.sine / (1.0 + pole.cosine);
    // |d - s| without cancellation.
    const double near = std::abs(2.0 * d_ * z - r * r - z * z) / (d_ + pole.s);
    const double far = d_ + pole.s;
    pole.path = pole.side > 0.0 ? near : far;
    pole.far_path = pole.side > 0.0 ? far : near;
    return pole;
}

SphericalDistances SphericalGeometry::distances(const AxialPoint& point,
                                                const SphericalPole& pole) const {
    if (count_ == 0) {
        return {0.0, 0.0};
    }
    const SphericalRim& outer = rims_[0];
    const SphericalRim& inner = rims_[1];
    const bool before = pole.side > 0.0;
    if (pole.s <= 1e-15 * d_) {
        return {d_, d_};
    }
    if (pole.sine > outer.sine) {
        return {nearest_on(outer, point), farthest_on(outer, point)};
    }
    if (count_ > 1 && pole.sine < inner.sine) {
        return before ? SphericalDistances{nearest_on(inner, point), farthest_on(outer, point)}
                      : SphericalDistances{nearest_on(outer, point), farthest_on(inner, point)};
    }
    return before ? SphericalDistances{pole.path, farthest_on(outer, point)}
                  : SphericalDistances{nearest_on(outer, point), pole.path};
}

bool SphericalGeometry::is_behind(const AxialPoint& point) const {
    const double rim_height = count_ == 0 ? 0.0 : rims_[0].height;
    return point.z < 0.0 || (point.z < rim_height && is_outside(point));
}

bool SphericalGeometry::is_outside(const AxialPoint& point) const {
    const auto [r, z] = point;
    return r * r + z * z - 2.0 * d_ * z > 1e-12 * d_ * d_;
}

}  // namespace kavro
