#include "core/coordinate_grid.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "core/counts.h"
#include "core/input_error.h"

namespace kavro {
namespace {

std::int32_t axis_count(const std::string& axis, double min, double max, double spacing) {
    if (spacing < 0.0) {
        throw InputError("delta" + axis + " must be greater than or equal to 0.\n");
    }
    if (max - min < 0.0) {
        throw InputError(axis + "max - " + axis + "min must be greater than or equal to 0.\n");
    }
    const std::string what = axis + " coordinate values";
    const std::optional<std::int32_t> count = count_of_steps(min, max, spacing, what.c_str());
    if (!count) {
        throw InputError("Computed number of " + what + " is less than 1.\n  Check values of " +
                         axis + "min, " + axis + "max, and delta" + axis + ".\n");
    }
    return *count;
}

std::vector<double> axis_values(std::int32_t count, double min, double spacing) {
    std::vector<double> values(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = i * spacing + min;
    }
    return values;
}

void take_column(const double* column, std::size_t n, std::vector<double>& values, double& min,
                 double& max) {
    values.assign(column, column + n);
    min = max = n > 0 ? column[0] : 0.0;
    for (const double value : values) {
        min = value < min ? value : min;
        max = value > max ? value : max;
    }
}

}  // namespace

bool CoordinateGrid::CoordinateGridVector(const double* coords, int n) {
    if (n < 0) {
        throw InputError("Number of points must be greater than or equal to 0.\n");
    }
    const auto count = static_cast<std::size_t>(n);
    npoints = n;
    take_column(coords, count, xcoords, xmin, xmax);
    take_column(coords + count, count, ycoords, ymin, ymax);
    take_column(coords + 2 * count, count, zcoords, zmin, zmax);
    deltax = deltay = deltaz = 0.0;
    regular = false;
    return true;
}

bool CoordinateGrid::RegularCoordinateGrid(double x_min, double x_max, double y_min, double y_max,
                                           double z_min, double z_max, double delta_x,
                                           double delta_y, double delta_z) {
    CoordinateGrid grid;
    grid.xmin = x_min, grid.xmax = x_max;
    grid.ymin = y_min, grid.ymax = y_max;
    grid.zmin = z_min, grid.zmax = z_max;
    grid.deltax = delta_x, grid.deltay = delta_y, grid.deltaz = delta_z;
    grid.nx = axis_count("x", x_min, x_max, delta_x);
    grid.ny = axis_count("y", y_min, y_max, delta_y);
    grid.nz = axis_count("z", z_min, z_max, delta_z);
    const std::int32_t counts[] = {grid.nx, grid.ny, grid.nz};
    grid.npoints = checked_product(counts, "points");
    require_memory(static_cast<std::size_t>(grid.npoints), sizeof(double), "points");
    grid.xcoords = axis_values(grid.nx, x_min, delta_x);
    grid.ycoords = axis_values(grid.ny, y_min, delta_y);
    grid.zcoords = axis_values(grid.nz, z_min, delta_z);
    grid.regular = true;
    *this = std::move(grid);
    return true;
}

bool CoordinateGrid::SinglePoint(CartesianCoordinate point) {
    if (xcoords.empty()) {
        npoints = 1;
    }
    const auto count = static_cast<std::size_t>(std::max(npoints, 1));
    xcoords.resize(count);
    ycoords.resize(count);
    zcoords.resize(count);
    xcoords[0] = xmin = xmax = point.x;
    ycoords[0] = ymin = ymax = point.y;
    zcoords[0] = zmin = zmax = point.z;
    deltax = deltay = deltaz = 0.0;
    regular = false;
    return true;
}

bool CoordinateGrid::SinglePoint(double x, double y, double z) {
    return SinglePoint(CartesianCoordinate(x, y, z));
}

CartesianCoordinate CoordinateGrid::spatial_index_value(const int& i) const {
    if (i < 0 || i >= npoints) {
        return {};
    }
    if (!regular) {
        const auto index = static_cast<std::size_t>(i);
        return {xcoords[index], ycoords[index], zcoords[index]};
    }
    const int layer = nx * ny;
    const auto ix = static_cast<std::size_t>(i % layer % nx);
    const auto iy = static_cast<std::size_t>(i % layer / nx);
    const auto iz = static_cast<std::size_t>(i / layer);
    return {xcoords[ix], ycoords[iy], zcoords[iz]};
}

}  // namespace kavro
