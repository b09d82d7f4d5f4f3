// Places of an array's elements at random.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "../core/cartesian_coordinate.h"

namespace kavro {

// A disc, or a bowl with its apex at the origin, open towards +z; lengths in m. Elements are discs.
struct RandomAperture {
    double radius = 0.0;
    double element_radius = 0.0;
    double hole_radius = 0.0;
    double minimum_gap = 0.0;  // between the rims of elements
    double rad_curvature = std::numeric_limits<double>::infinity();
};

// Centres of elements that lie within the aperture and apart, all places equally likely: each is
// drawn until it fits. The same seed gives the same places on every machine. Throws InputError
// where no room is found; about half of an aperture is as much as can be covered.
std::vector<CartesianCoordinate> random_places(int count, const RandomAperture& aperture,
                                               std::uint64_t seed);

}  // namespace kavro
