// Where the nonlinear marches record: the planes of a regular grid and the points on each.
#pragma once

#include <vector>

#include "core/coordinate_grid.h"

namespace kavro::kzk {

// Single precision, as the marches place their planes.
struct Planes {
    std::vector<float> z;  // range of each plane, m
    std::vector<float> r;  // distance of each of a plane's points from the axis, in source radii

    // Planes and points are those of the grid's axes if `exact`. Otherwise they are spread evenly
    // from limit to limit, whatever the spacing is, y does not count, and the first point of each
    // plane is taken to be on the axis, wherever xmin is: deliberate.
    Planes(const CoordinateGrid& grid, double radius, bool exact);

    int nx() const { return static_cast<int>(r.size()); }
    int nz() const { return static_cast<int>(z.size()); }

    // Whether the grid has planes at all: a regular one, with room for nx times nz points.
    static bool fit(const CoordinateGrid& grid);
};

}  // namespace kavro::kzk
