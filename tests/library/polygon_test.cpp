// Polygons: against the rectangle, and what is none. Surface integrals stand in tests/python.
#include <gtest/gtest.h>

#include <cmath>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::InputError;
using kavro::PolygonTransducer;
using Corners = std::vector<PolygonTransducer::Corner>;

Source polygon(const Corners& corners) {
    Source source{.shape = "poly"};
    for (const PolygonTransducer::Corner& corner : corners) {
        source.sizes.push_back(corner.x);
    }
    for (const PolygonTransducer::Corner& corner : corners) {
        source.sizes.push_back(corner.y);
    }
    return source;
}

Corners regular(int n, double radius) {
    Corners corners;
    for (int k = 0; k < n; ++k) {
        corners.push_back(
            {radius * std::cos(2 * kavro::pi * k / n), radius * std::sin(2 * kavro::pi * k / n)});
    }
    return corners;
}

// Turned, delayed and weighted; points over the face, its rim and corners, and beside them.
Tank tank_of(const Source& source, const char* operation, int ndiv) {
    Tank tank = tank_for(operation_named(operation), {source});
    for (Source& element : tank.sources) {
        element.euler = {0.2, -0.3, 0.5};
        element.amplitude = 0.7;
        element.phase = 0.4;
        element.time_delay = 2.3e-7;
        element.exact = true;
    }
    auto points = tank.points();
    points.insert(points.end(), {{2e-3, 1.5e-3, 1e-3}, {2e-3, 0, 2e-3}, {-6e-3, 4e-3, 1e-2}});
    tank.set_points(points);
    tank.set_order(ndiv);
    return tank;
}

TEST(Polygon, WithTheCornersOfARectangleIsTheRectangle) {
    const Source rectangle{.shape = "rect", .sizes = {4e-3, 3e-3}};
    const Corners corners = {{2e-3, 1.5e-3}, {-2e-3, 1.5e-3}, {-2e-3, -1.5e-3}, {2e-3, -1.5e-3}};
    for (const char* name :
         {"fnm_cw", "fnm_transient", "fnm_tsd", "fnm_fdtsd", "impulse_begin_and_end_times"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(close_to(measured(tank_of(polygon(corners), name, 24), operation_named(name)),
                             measured(tank_of(rectangle, name, 24), operation_named(name)), 1e-12));
        const Corners reversed(corners.rbegin(), corners.rend());
        EXPECT_TRUE(close_to(measured(tank_of(polygon(reversed), name, 24), operation_named(name)),
                             measured(tank_of(rectangle, name, 24), operation_named(name)), 1e-12));
    }
}

TEST(Polygon, TakesConvexFacesOnly) {
    const double none = std::nan("");
    const char* const once_around = "The corners of a polygon must go once around a convex face.";
    const struct {
        Corners corners;
        const char* message;
    } faults[] = {
        {{{0, 0}, {1, 0}}, "A polygon must have at least 3 corners, not 2."},
        {{{0, 0}, {1, none}, {0, 1}}, "A polygon's corners must be finite, not (1, nan)."},
        {{{0, 0}, {1, 0}, {1, 0}, {0, 1}},
         "A polygon's corners must not be the same twice in a row, as (1, 0) is."},
        {{{0, 0}, {1, 0}, {0, 1}, {0, 0}},
         "A polygon's corners must not be the same twice in a row, as (0, 0) is."},
        {{{0, 0}, {1, 0}, {2, 0}}, once_around},
        {{{0, 0}, {2, 0}, {1, 0.5}, {1, 2}}, once_around},
        {{{0, 0}, {1, 1}, {1, 0}, {0, 1}}, once_around}};
    for (const auto& [corners, message] : faults) {
        EXPECT_EQ(error_of([&] { PolygonTransducer face(corners); }), message);
    }
    Corners pentagram;
    for (int k = 0; k < 5; ++k) {
        pentagram.push_back(regular(5, 1.0)[static_cast<std::size_t>(2 * k % 5)]);
    }
    EXPECT_EQ(error_of([&] { PolygonTransducer face(pentagram); }), once_around);
    EXPECT_EQ(PolygonTransducer({{0, 0}, {1, 0}, {2, 0}, {1, 1}}, 1e-6).time_delay, 1e-6);
}

}  // namespace
}  // namespace kavro_test
