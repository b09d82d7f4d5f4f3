// The observation points: a list, or the product of three evenly spaced axes.
#pragma once

#include <cstdint>
#include <vector>

#include "cartesian_coordinate.h"

namespace kavro {

// All lengths in metres. A solver reads `npoints` and looks points up by their flat index, in which
// x varies fastest, then y, then z; the same index is the point's place in one time slice of a
// transient output.
class CoordinateGrid {
public:
    double xmin = 0.0, xmax = 0.0;  // list: extent of the points; regular grid: as requested
    double ymin = 0.0, ymax = 0.0;
    double zmin = 0.0, zmax = 0.0;
    double deltax = 0.0, deltay = 0.0, deltaz = 0.0;  // spacing; 0 for a list
    std::int32_t npoints = 0;                         // points in all
    std::int32_t nx = 0, ny = 0, nz = 0;              // points per axis (regular grid only)
    bool regular = false;
    // List: the coordinates of each point, npoints long. Regular grid: the values on each axis,
    // nx, ny and nz long.
    std::vector<double> xcoords, ycoords, zcoords;

    // Becomes the list of the n points (coords[i], coords[n + i], coords[2n + i]): an n-by-3 matrix
    // in column order. Returns true. Throws InputError if n is negative. nx, ny, nz stay.
    bool CoordinateGridVector(const double* coords, int n);

    // Becomes the regular grid of the given limits and spacings. An axis whose limits agree or
    // whose spacing is 0 has the one value min; otherwise floor((max - min)/delta + 1e-10) + 1
    // values i * delta + min. Returns true. Throws InputError for a negative spacing or extent, for
    // limits that are not numbers, and for counts beyond 32 bits or the memory; the grid then
    // stays as it was.
    bool RegularCoordinateGrid(double xmin, double xmax, double ymin, double ymax, double zmin,
                               double zmax, double deltax, double deltay, double deltaz);

    // Becomes a grid of the one point. A grid that holds points already keeps its `npoints` on
    // purpose: the point is its first, the other coordinates stay what they were. Returns true.
    bool SinglePoint(CartesianCoordinate point);
    bool SinglePoint(double x, double y, double z);

    // The point with flat index i; the origin where i is not below npoints.
    CartesianCoordinate spatial_index_value(const int& i) const;
};

}  // namespace kavro
