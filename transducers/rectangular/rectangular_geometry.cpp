#include "transducers/rectangular/rectangular_geometry.h"

#include <cmath>

namespace kavro {

double nearest_distance(const RectangularTransducer& rectangle, const CartesianCoordinate& local) {
    const double dx = std::abs(local.x) - rectangle.width * 0.5;
    const double dy = std::abs(local.y) - rectangle.height * 0.5;
    if (dx <= 0.0 && dy <= 0.0) {
        return std::abs(local.z);
    }
    const double beside_x = dx <= 0.0 ? 0.0 : dx * dx;
    const double beside_y = dy <= 0.0 ? 0.0 : dy * dy;
    return std::sqrt(beside_x + beside_y + local.z * local.z);
}

double farthest_distance(const RectangularTransducer& rectangle, const CartesianCoordinate& local) {
    const double dx = std::abs(local.x) + rectangle.width * 0.5;
    const double dy = std::abs(local.y) + rectangle.height * 0.5;
    return std::sqrt(dy * dy + local.z * local.z + dx * dx);
}

}  // namespace kavro
