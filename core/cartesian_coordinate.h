// A point, a direction or a triple of Euler angles in three dimensions.
#pragma once

namespace kavro {

struct CartesianCoordinate {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    CartesianCoordinate() = default;
    CartesianCoordinate(double x_value, double y_value, double z_value)
        : x(x_value), y(y_value), z(z_value) {}

    // Euclidean distance, summed as (dx^2 + dy^2) + dz^2.
    double calculate_distance(CartesianCoordinate other) const;
    double calculate_distance(double other_x, double other_y, double other_z) const;
};

}  // namespace kavro
