// Points, grids and scatterers.
#include <gtest/gtest.h>

#include <limits>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::CoordinateGrid;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

void expect_point(const CartesianCoordinate& p, double x, double y, double z) {
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.z, z);
}

TEST(CartesianCoordinate, MeasuresDistances) {
    const CartesianCoordinate p(1, 2, 3);
    EXPECT_DOUBLE_EQ(p.calculate_distance(CartesianCoordinate(3, 5, 9)), 7.0);
    EXPECT_DOUBLE_EQ(p.calculate_distance(-1, -1, -3), 7.0);
    EXPECT_EQ(p.calculate_distance(p), 0.0);
}

TEST(CoordinateGrid, CountsTheStepsOfEachAxis) {
    CoordinateGrid grid;
    EXPECT_TRUE(grid.RegularCoordinateGrid(0, 0.01, -1, -1, 2, 5, 0.001, 0.5, 0));
    EXPECT_EQ(grid.nx, 11);
    EXPECT_EQ(grid.ny, 1);  // the limits agree
    EXPECT_EQ(grid.nz, 1);  // no spacing
    EXPECT_EQ(grid.npoints, 11);
    EXPECT_TRUE(grid.regular);
    expect_point(grid.spatial_index_value(10), 10 * 0.001, -1, 2);
    EXPECT_EQ(grid.zmax, 5);

    grid.RegularCoordinateGrid(0, 0.0105, 0, 0.3, 0, 1, 0.001, 0.1, 2);
    EXPECT_EQ(grid.nx, 11);
    EXPECT_EQ(grid.ny, 4);  // the quotient falls just short of 3
    EXPECT_EQ(grid.nz, 1);
    EXPECT_EQ(grid.xmax, 0.0105);
}

TEST(CoordinateGrid, LooksPointsUpWithXFastest) {
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(1, 2, 10, 30, -1, 0.5, 1, 10, 0.5);
    ASSERT_EQ(grid.npoints, 2 * 3 * 4);
    int i = 0;
    for (int k = 0; k < 4; ++k) {
        for (int j = 0; j < 3; ++j) {
            for (int ix = 0; ix < 2; ++ix, ++i) {
                expect_point(grid.spatial_index_value(i), 1 + ix, 10 + 10 * j, -1 + 0.5 * k);
            }
        }
    }
    expect_point(grid.spatial_index_value(-1), 0, 0, 0);
    expect_point(grid.spatial_index_value(24), 0, 0, 0);
    expect_point(grid.spatial_index_value(std::numeric_limits<int>::max()), 0, 0, 0);
}

TEST(CoordinateGrid, TakesAListColumnByColumn) {
    const double columns[] = {4, -1, 2, 0, 7, -7, 5, 5, 9};
    CoordinateGrid grid;
    EXPECT_TRUE(grid.CoordinateGridVector(columns, 3));
    EXPECT_EQ(grid.npoints, 3);
    EXPECT_FALSE(grid.regular);
    expect_point(grid.spatial_index_value(0), 4, 0, 5);
    expect_point(grid.spatial_index_value(1), -1, 7, 5);
    expect_point(grid.spatial_index_value(2), 2, -7, 9);
    expect_point(grid.spatial_index_value(3), 0, 0, 0);
    EXPECT_EQ(grid.xmin, -1);
    EXPECT_EQ(grid.xmax, 4);
    EXPECT_EQ(grid.ymin, -7);
    EXPECT_EQ(grid.ymax, 7);
    EXPECT_EQ(grid.zmin, 5);
    EXPECT_EQ(grid.zmax, 9);
    EXPECT_EQ(grid.deltax, 0.0);
}

TEST(CoordinateGrid, SinglePointKeepsTheCountOfAnExistingGrid) {
    CoordinateGrid grid;
    EXPECT_TRUE(grid.SinglePoint(1, 2, 3));
    EXPECT_EQ(grid.npoints, 1);
    expect_point(grid.spatial_index_value(0), 1, 2, 3);

    const double columns[] = {4, -1, 0, 7, 5, 5};
    grid.CoordinateGridVector(columns, 2);
    EXPECT_TRUE(grid.SinglePoint(CartesianCoordinate(6, 6, 6)));
    EXPECT_EQ(grid.npoints, 2);
    expect_point(grid.spatial_index_value(0), 6, 6, 6);
    expect_point(grid.spatial_index_value(1), -1, 7, 5);
    EXPECT_EQ(grid.xmin, 6);
    EXPECT_EQ(grid.ymax, 6);

    // From a regular grid of 2 x 2 x 2 points: four more x values are needed, none is read past.
    grid.RegularCoordinateGrid(0, 1, 0, 1, 0, 1, 1, 1, 1);
    grid.SinglePoint(6, 6, 6);
    EXPECT_EQ(grid.npoints, 8);
    EXPECT_FALSE(grid.regular);
    expect_point(grid.spatial_index_value(0), 6, 6, 6);
    EXPECT_EQ(grid.spatial_index_value(1).x, 1);
    grid.spatial_index_value(7);
}

std::string grid_error(double xmax, double ymax, double zmax, double dx, double dy, double dz) {
    return error_of([=] {
        CoordinateGrid grid;
        grid.RegularCoordinateGrid(0, xmax, 0, ymax, 0, zmax, dx, dy, dz);
    });
}

TEST(CoordinateGrid, RefusesAxesThatCannotBe) {
    EXPECT_EQ(grid_error(1, 1, 1, -1, -1, -1), "deltax must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(1, 1, 1, 1, -1, 1), "deltay must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(1, 1, 1, 1, 1, -1e-300), "deltaz must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(-1, -1, -1, 1, 1, 1), "xmax - xmin must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(1, -1, 1, 1, 1, 1), "ymax - ymin must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(1, 1, -1, 1, 1, 1), "zmax - zmin must be greater than or equal to 0.\n");
    // The axes are looked at in order, each with its spacing first.
    EXPECT_EQ(grid_error(-1, 1, 1, 1, -1, 1), "xmax - xmin must be greater than or equal to 0.\n");
    EXPECT_EQ(grid_error(not_a_number, 1, 1, 1, 1, 1),
              "Computed number of x coordinate values is less than 1.\n  Check values of xmin, "
              "xmax, and deltax.\n");
    EXPECT_EQ(grid_error(1, 1, 1, 1, 1, not_a_number),
              "Computed number of z coordinate values is less than 1.\n  Check values of zmin, "
              "zmax, and deltaz.\n");
}

TEST(CoordinateGrid, RefusesCountsBeyondThirtyTwoBits) {
    EXPECT_EQ(grid_error(1, 1e10, 1, 1, 1, 1),
              "Computed number of y coordinate values is too large.");
    EXPECT_EQ(grid_error(1, 1, std::numeric_limits<double>::infinity(), 1, 1, 1),
              "Computed number of z coordinate values is too large.");
    EXPECT_EQ(grid_error(65535, 65535, 0, 1, 1, 1), "Computed number of points is too large.");
    // 2^32 points: the product wraps to zero in 32 bits.
    EXPECT_EQ(grid_error(2047, 2047, 1023, 1, 1, 1), "Computed number of points is too large.");
}

TEST(CoordinateGrid, StaysAsItWasAfterAnError) {
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(1, 3, 0, 1, 0, 0, 1, 1, 1);
    error_of([&] { grid.RegularCoordinateGrid(0, 9, 0, 9, 5, 1, 1, 1, 1); });
    error_of([&] { grid.RegularCoordinateGrid(0, 1e5, 0, 1e5, 0, 0, 1, 1, 1); });
    EXPECT_EQ(grid.npoints, 6);
    EXPECT_EQ(grid.xmax, 3);
    expect_point(grid.spatial_index_value(5), 3, 1, 0);
    EXPECT_NE(error_of([&] { grid.CoordinateGridVector(nullptr, -1); }), "(no error)");
    EXPECT_EQ(grid.npoints, 6);
}

TEST(Scatterer, HasStrengthOneUnlessGiven) {
    EXPECT_EQ(kavro::Scatterer().get_amplitude(), 1.0);
    EXPECT_EQ(kavro::Scatterer(CartesianCoordinate(1, 2, 3)).get_amplitude(), 1.0);
    kavro::Scatterer scatterer(1, 2, 3, 0.5);
    scatterer.set_position(4, 5, 6);
    EXPECT_EQ(scatterer.get_amplitude(), 0.5);
    expect_point(scatterer.get_position(), 4, 5, 6);
    scatterer.set_amplitude(2);
    expect_point(scatterer.get_position(), 4, 5, 6);
    EXPECT_EQ(kavro::Scatterer(CartesianCoordinate(1, 2, 3), -2.0).get_amplitude(), -2.0);
}

}  // namespace
}  // namespace kavro_test
