// A point scatterer: a position and a scattering strength.
#pragma once

#include "../core/cartesian_coordinate.h"

namespace kavro {

// A plain value; pulse_echo.h makes echoes of many.
class Scatterer {
public:
    CartesianCoordinate position;  // m
    double amplitude = 1.0;

    Scatterer() = default;
    Scatterer(double x, double y, double z) : position(x, y, z) {}
    Scatterer(double x, double y, double z, double strength)
        : position(x, y, z), amplitude(strength) {}
    explicit Scatterer(CartesianCoordinate place) : position(place) {}
    Scatterer(CartesianCoordinate place, double strength) : position(place), amplitude(strength) {}

    void set_position(double x, double y, double z) { position = {x, y, z}; }
    void set_position(CartesianCoordinate place) { position = place; }
    void set_amplitude(double strength) { amplitude = strength; }
    double get_amplitude() const { return amplitude; }
    CartesianCoordinate get_position() const { return position; }
};

}  // namespace kavro
