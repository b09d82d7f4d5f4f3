// The geometry of a spherical bowl, whole or with a hole, as its solvers need it.
//
// Points of equal distance R from an observation point P lie on circles of the sphere around the
// line from the centre of curvature F to P. So the surface integral comes down to the rims and to
// the pole, where that line meets the sphere: everything is measured from F, with u = sin and cos
// of angles instead of lengths, in forms that do not cancel anywhere, at F included.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "core/cartesian_coordinate.h"

namespace kavro {

// A circle that bounds the bowl. Angles are those seen from the centre of curvature, against the
// axis.
struct SphericalRim {
    double sign;    // +1 for the outer rim, -1 around the hole
    double radius;  // a, m
    double sine;    // S = a / d
    double cosine;  // C
    double depth;   // V = 1 - C
    double height;  // of the rim's plane over the apex, m

    // The pole on the far side comes close to such a rim near the focal plane, and counts as well.
    bool is_nearly_hemispherical() const { return cosine < 0.125; }
};

// A point in the element's frame by its distance from the axis and its height over the apex (m).
struct AxialPoint {
    double r, z;
};

AxialPoint axial(const CartesianCoordinate& point);

// Where the line from the centre of curvature to a point meets the sphere.
struct SphericalPole {
    double s;         // distance of the point from the centre of curvature, at least 1e-15 d (m)
    double side;      // sigma: +1 for a point before the focal plane (z < d), else -1
    double sine;      // m, of the angle between that line and the axis
    double cosine;    // n, its magnitude
    double depth;     // U = 1 - n
    double path;      // R_0, from the point to the pole on the bowl's side (m)
    double far_path;  // R_1, to the pole on the other side (m)
};

struct SphericalDistances {
    double nearest, farthest;  // of the bowl from a point, m
};

// Lengths in metres.
class SphericalGeometry {
public:
    // A radius that is not positive is left out, one above the radius of curvature is taken as the
    // hemisphere's.
    SphericalGeometry(double curvature_radius, double outer_radius, double inner_radius = 0.0);

    double curvature_radius() const { return d_; }
    std::span<const SphericalRim> rims() const {
        return {rims_.data(), count_};
    }  // outer one first
    bool has_nearly_hemispherical_rim() const;

    SphericalPole pole(const AxialPoint& point) const;
    SphericalDistances distances(const AxialPoint& point) const {
        return distances(point, pole(point));
    }
    SphericalDistances distances(const AxialPoint& point,
                                 const SphericalPole& pole) const;  // its own pole

    // Whether the bowl turns its back to the point: below the rim's plane and outside the sphere.
    // Points on the surface, within rounding, are not behind.
    bool is_behind(const AxialPoint& point) const;

    // Outside the whole sphere; not on it, within rounding.
    bool is_outside(const AxialPoint& point) const;

private:
    void add_rim(double radius, double sign);

    double d_;
    std::array<SphericalRim, 2> rims_{};
    std::size_t count_ = 0;
};

// Closer to the focus than this share of d, the time-domain pressure is interpolated from two
// points beside the axis: the direct wave and the rim waves nearly cancel there.
inline constexpr double nearest_to_focus = 0x1p-18;

}  // namespace kavro
