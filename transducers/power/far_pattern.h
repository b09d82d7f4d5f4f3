// What a face sends far away.
#pragma once

#include <complex>
#include <functional>
#include <span>

#include "core/cartesian_coordinate.h"
#include "transducers/polygon/polygon_transducer.h"

namespace kavro {

// By the direction of a unit vector u in the element's frame, u.z >= 0: the integral over the face
// of e^(jk u.r), m^2. Far away, at the distance R from where r is counted from, the element's
// pressure is j omega rho w / (2 pi R) e^(-jkR) times this.
struct FarPattern {
    std::function<std::complex<double>(const CartesianCoordinate& u)> at;  // none: is not known
    bool is_axisymmetric = false;  // at depends on u.z and the square root of 1 - u.z^2 only
};

// Of a flat annulus; an inner radius that is not positive is no hole.
FarPattern annulus_pattern(double wavenumber, double inner_radius, double outer_radius);

// Of a rectangle about the origin.
FarPattern rectangle_pattern(double wavenumber, double width, double height);

// Of the convex face that these sides go around counter-clockwise.
FarPattern polygon_pattern(double wavenumber, std::span<const PolygonTransducer::Side> sides,
                           double area);

// Of the part of a bowl between two angles, as seen from the centre of curvature against the axis;
// r is counted from the apex.
FarPattern bowl_pattern(double wavenumber, double curvature_radius, double inner_angle,
                        double outer_angle);

}  // namespace kavro
