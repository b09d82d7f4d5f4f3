// Points, grids and scatterers.
#include <gtest/gtest.h>

#include <limits>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::CoordinateGrid;

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

void expect_point(const CartesianCoordinate& p, double x, double y, double z) {
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.z, z);
}

TEST(CartesianCoordinate, MeasuresDistances) {
    const CartesianCoordinate p(1, 2, 3);
    EXPECT_DOUBLE_EQ(p.calculate_distance(CartesianCoordinate(3, 5, 9)), 7.0);
    EXPECT_DOUBLE_EQ(p.calculate_distance(-1, -1, -3), 7.0);
}

TEST(CoordinateGrid, CountsTheStepsOfEachAxis) {
    CoordinateGrid grid;
    EXPECT_TRUE(grid.RegularCoordinateGrid(0, 0.0105, 0, 0.3, 2, 5, 0.001, 0.1, 4));
    EXPECT_EQ(grid.nx, 11);
    EXPECT_EQ(grid.ny, 4);  // the quotient falls just short of 3
    EXPECT_EQ(grid.nz, 1);
    EXPECT_EQ(grid.npoints, 44);
    EXPECT_EQ(grid.xmax, 0.0105);
    EXPECT_TRUE(grid.regular);
    expect_point(grid.spatial_index_value(43), 10 * 0.001, 3 * 0.1, 2);

    grid.RegularCoordinateGrid(-1, -1, 2, 5, 0, 1, 0.5, 0, 1);
    EXPECT_EQ(grid.nx, 1);  // the limits agree
    EXPECT_EQ(grid.ny, 1);  // no spacing
    expect_point(grid.spatial_index_value(1), -1, 2, 1);
}

TEST(CoordinateGrid, LooksPointsUpWithXFastest) {
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(1, 2, 10, 30, -1, 0.5, 1, 10, 0.5);
    ASSERT_EQ(grid.npoints, 2 * 3 * 4);
    for (int i = 0; i < 24; ++i) {
        expect_point(grid.spatial_index_value(i), 1 + i % 2, 10 + 10 * (i / 2 % 3),
                     -1 + 0.5 * (i / 6));
    }
    for (const int i : {-1, 24, std::numeric_limits<int>::max()}) {
        expect_point(grid.spatial_index_value(i), 0, 0, 0);
    }
}

TEST(CoordinateGrid, TakesAListColumnByColumn) {
    const double columns[] = {4, -1, 2, 0, 7, -7, 5, 5, 9};
    CoordinateGrid grid;
    EXPECT_TRUE(grid.CoordinateGridVector(columns, 3));
    EXPECT_FALSE(grid.regular);
    expect_point(grid.spatial_index_value(0), 4, 0, 5);
    expect_point(grid.spatial_index_value(1), -1, 7, 5);
    expect_point(grid.spatial_index_value(2), 2, -7, 9);
    expect_point(grid.spatial_index_value(3), 0, 0, 0);
    expect_point({grid.xmin, grid.ymin, grid.zmin}, -1, -7, 5);
    expect_point({grid.xmax, grid.ymax, grid.zmax}, 4, 7, 9);
    EXPECT_EQ(grid.deltax, 0.0);
}

TEST(CoordinateGrid, SinglePointKeepsTheCountOfAnExistingGrid) {
    CoordinateGrid grid;
    EXPECT_TRUE(grid.SinglePoint(1, 2, 3));
    EXPECT_EQ(grid.npoints, 1);
    expect_point(grid.spatial_index_value(0), 1, 2, 3);

    // From a regular grid of 2 x 2 x 2 points: six more x values are needed, none is read past.
    grid.RegularCoordinateGrid(0, 1, 0, 1, 0, 1, 1, 1, 1);
    EXPECT_TRUE(grid.SinglePoint(CartesianCoordinate(6, 7, 8)));
    EXPECT_EQ(grid.npoints, 8);
    EXPECT_FALSE(grid.regular);
    expect_point(grid.spatial_index_value(0), 6, 7, 8);
    EXPECT_EQ(grid.spatial_index_value(1).x, 1);
    expect_point(grid.spatial_index_value(7), 0, 0, 0);
    expect_point({grid.xmin, grid.ymax, grid.zmin}, 6, 7, 8);
}

// The axes are looked at in order, each with its spacing first; the grid stays as it was.
TEST(CoordinateGrid, RefusesAxesThatCannotBe) {
    const std::string negative = " must be greater than or equal to 0.\n";
    const auto few = [](const std::string& axis) {
        return "Computed number of " + axis +
               " coordinate values is less than 1.\n  Check values of " + axis + "min, " + axis +
               "max, and delta" + axis + ".\n";
    };
    const std::string large = "Computed number of ";
    const struct {
        double xmax, ymax, zmax, dx, dy, dz;
        std::string message;
    } cases[] = {{1, 1, 1, -1, -1, -1, "deltax" + negative},
                 {1, 1, 1, 1, -1, 1, "deltay" + negative},
                 {1, 1, 1, 1, 1, -1e-300, "deltaz" + negative},
                 {-1, -1, -1, 1, -1, 1, "xmax - xmin" + negative},
                 {1, -1, 1, 1, 1, 1, "ymax - ymin" + negative},
                 {1, 1, -1, 1, 1, 1, "zmax - zmin" + negative},
                 {none, 1, 1, 1, 1, 1, few("x")},
                 {1, 1, 1, 1, 1, none, few("z")},
                 {1, 1e10, 1, 1, 1, 1, large + "y coordinate values is too large."},
                 {1, 1, infinity, 1, 1, 1, large + "z coordinate values is too large."},
                 {65535, 65535, 0, 1, 1, 1, large + "points is too large."},
                 // The product wraps to zero in 32 bits.
                 {2047, 2047, 1023, 1, 1, 1, large + "points is too large."}};
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(1, 3, 0, 1, 0, 0, 1, 1, 1);
    for (const auto& [xmax, ymax, zmax, dx, dy, dz, message] : cases) {
        EXPECT_EQ(
            error_of([&] { grid.RegularCoordinateGrid(0, xmax, 0, ymax, 0, zmax, dx, dy, dz); }),
            message);
    }
    EXPECT_NE(error_of([&] { grid.CoordinateGridVector(nullptr, -1); }), "(no error)");
    EXPECT_EQ(grid.npoints, 6);
    EXPECT_EQ(grid.xmax, 3);
    expect_point(grid.spatial_index_value(5), 3, 1, 0);
}

TEST(Scatterer, HasStrengthOneUnlessGiven) {
    EXPECT_EQ(kavro::Scatterer(CartesianCoordinate(1, 2, 3)).get_amplitude(), 1.0);
    kavro::Scatterer scatterer(1, 2, 3, 0.5);
    scatterer.set_position(4, 5, 6);
    EXPECT_EQ(scatterer.get_amplitude(), 0.5);
    expect_point(scatterer.get_position(), 4, 5, 6);
}

}  // namespace
}  // namespace kavro_test
