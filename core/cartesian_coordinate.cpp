#include "core/cartesian_coordinate.h"

#include <cmath>

namespace kavro {

double CartesianCoordinate::calculate_distance(CartesianCoordinate other) const {
    return calculate_distance(other.x, other.y, other.z);
}

double CartesianCoordinate::calculate_distance(double other_x, double other_y,
                                               double other_z) const {
    const double dx = x - other_x;
    const double dy = y - other_y;
    const double dz = z - other_z;
    return std::sqrt((dx * dx + dy * dy) + dz * dz);
}

}  // namespace kavro
