// Planes, points and radial grid of an exact march.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "core/coordinate_grid.h"
#include "core/kzk_parameters.h"
#include "transducers/kzk/frame.h"

namespace kavro::kzk {

// Radii of columns are in widths of the frame.
struct BeamGrid {
    std::vector<double> z, ranges;  // of the planes: m, and in scale lengths
    std::vector<double> r;          // of a plane's points: distance from the axis in source radii
    double points_per_radius, extent;
    double farthest;      // point within the extent
    double layer;         // radius where the absorbing layer begins
    std::size_t columns;  // the layer included

    // The columns reach as far as the frame must for the axis, and over the points within the
    // extent.
    BeamGrid(const CoordinateGrid& grid, double radius, double scale_length, const Frame& frame,
             const Parameters& parameters);

    double radius(std::size_t column) const {
        return static_cast<double>(column) / points_per_radius;
    }

    // Which share of a column the piston fills, whose hole has a radius in its own: the columns'
    // area is that of the face.
    double face(std::size_t column, double hole) const;

    // Columns whose weighted values are the value at a radius: a cubic through four of them,
    // mirrored about the axis.
    struct Place {
        std::array<std::size_t, 4> columns;
        std::array<double, 4> weights;
    };
    Place place(double radius) const;
};

// What multiplies four even samples for the cubic through them, at a place from the second on.
std::array<double, 4> cubic_weights(double place);

}  // namespace kavro::kzk
