// Places where formulas are 0/0 or hang on the last bit of a coordinate.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "literal.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::Operation;
using std::numbers::pi;
using Points = std::vector<CartesianCoordinate>;

constexpr double impedance = 1.5e6;  // rho c

Tank tank_with(const Source& source, const Points& points, int ndiv = 12) {
    Tank tank = tank_of(source);
    tank.set_points(points);
    tank.set_order(ndiv);
    tank.set_axis(5e-8, 0, 600);
    tank.waveform = std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0);
    return tank;
}

// The largest difference; not a number where any value is none.
double difference(const Values& a, const Values& b) {
    double most = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double off = std::fabs(a[i] - b[i]);
        most = std::isnan(most) || off <= most ? most : off;
    }
    return most;
}

// With many abscissas the nearest sample of the rim is closer to a point on it than single
// precision can tell.
TEST(SpecialPlaces, SinglePrecisionOnTheRimWithManyAbscissas) {
    for (const double a : {1.3e-3, 5e-3, 12.7e-3}) {
        for (const int n : {64, 136, 200, 512}) {
            Tank tank = tank_with({.shape = "circ", .sizes = {a}},
                                  {{a, 0, 0},
                                   {a, 0, 1e-3},
                                   {a * std::cos(1.0), a * std::sin(1.0), 20e-3},
                                   {0, a * (1 + 1e-7), 20e-3},
                                   {a / 2, 0, 1e-3},
                                   {0, -a / 2, 20e-3}},
                                  n);
            const auto off = [&tank](const char* single, const char* exact) {
                return difference(measured(tank, single), measured(tank, exact));
            };
            EXPECT_LT(off("fnm_tsd_sse", "fnm_tsd"), 2e-4 * impedance);
            EXPECT_LT(off("fnm_tsd_low_precision", "fnm_tsd"), 2e-4 * impedance);
            EXPECT_LT(off("fnm_cw_sse", "fnm_cw"), 2e-4 * impedance);
            tank.sources = {{.shape = "ring", .sizes = {a / 2, a}}};
            EXPECT_LT(off("fnm_tsd_low_precision", "fnm_tsd"), 2e-4 * impedance);
        }
    }
}

// The rim integrals of a bowl or a ring without a size are no numbers, which nobody promised.
TEST(SpecialPlaces, FacesWithoutASizeAreSilentOnTheirAxis) {
    const std::vector<Source> sources = {
        {.shape = "circ", .sizes = {0}},       {.shape = "rect", .sizes = {0, 0}},
        {.shape = "rect", .sizes = {0, 1e-3}}, {.shape = "ring", .sizes = {0, 0}},
        {.shape = "shel", .sizes = {0, 1e-2}}, {.shape = "sph ring", .sizes = {0, 0, 1e-2}}};
    for (const bool exact : {false, true}) {
        for (const Source& source : sources) {
            Tank tank = tank_with(source, {{0, 0, 0}, {0, 0, 20e-3}, {1e-3, 0, 20e-3}});
            tank.sources[0].exact = exact;
            for (const char* name :
                 {"fnm_tsd", "fnm_cw", "fnm_cw_sse", "fnm_transient", "fnm_tsd_low_precision",
                  "fnm_tsd_sse", "rayleigh_cw", "rayleigh_cw_apodized", "rayleigh_cw_sse",
                  "rayleigh_transient"}) {
                const bool whole = source.shape == "circ" || source.sizes == Values{0, 0};
                const bool surface = name[0] == 'r';
                const bool promised = surface || (whole && source.shape != "ring");  // by its edge
                if (promised && offers(source, operation_named(name))) {
                    const Values field = measured(tank, name);
                    EXPECT_LE(difference(field, Values(field.size())),
                              source.shape == "rect" ? 1e-9 : 0.0)
                        << source.shape << ", " << name;
                }
            }
        }
    }
}

// A waveform that lasts no time has no jumps, and one without an end none at its end.
TEST(SpecialPlaces, WaveformsWithoutDurationOrEndInRayleighTransients) {
    Tank tank = tank_with({.shape = "circ", .sizes = {5e-3}, .exact = true}, {{1e-3, 0, 5e-3}});
    tank.waveform = sampled({1, 1, 1, 1}, 1e-7, 0.0, 0.0);
    tank.waveform->set_exact(true);
    EXPECT_EQ(peak_of(measured(tank, "rayleigh_transient")), 0.0);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    tank.waveform = std::make_shared<kavro::ToneBurst>(1e6, infinity, 0.0);
    const Values endless = measured(tank, "rayleigh_transient");
    EXPECT_TRUE(std::ranges::all_of(endless, [](double p) { return std::isfinite(p); }));
}

// Turned by a right angle, the points of the face's plane lie 1e-19 m to either side of it.
TEST(SpecialPlaces, ThePlaneOfATurnedFaceIsNotBehindIt) {
    Points flat, upright;
    for (const double u : {-7e-3, -2.1e-3, 0.3e-3, 1.7e-3, 6e-3}) {
        for (const double v : {-6.3e-3, -1.1e-3, 0.9e-3, 5e-3}) {
            flat.emplace_back(u, v, 0);
            upright.emplace_back(0.03, u, v);
        }
    }
    for (const Source& source : {Source{.shape = "circ", .sizes = {3e-3}, .exact = true},
                                 Source{.shape = "rect", .sizes = {4e-3, 4e-3}, .exact = true},
                                 Source{.shape = "ring", .sizes = {1e-3, 3e-3}, .exact = true}}) {
        for (const char* name :
             {"fnm_cw", "rayleigh_cw", "fnm_tsd", "fnm_transient", "fnm_tsd_low_precision"}) {
            const Values expected = measured(tank_with(source, flat), name);
            Tank standing = tank_with(source, upright);
            standing.sources[0].center = {0.03, 0, 0};
            for (const double third : {0.0, pi}) {  // faces +x, faces -x
                standing.sources[0].euler = {pi / 2, 0, third};
                EXPECT_LT(difference(measured(standing, name), expected), 1e-4 * impedance)
                    << source.shape << ", " << name;
            }
        }
    }
}

TEST(SpecialPlaces, ASurfaceSampleMayCoincideWithAPoint) {
    const Source rectangle{.shape = "rect", .sizes = {4e-3, 3e-3}};
    const auto expected = waves_in(tank_with(rectangle, {{0, 0, 0}}, 200), "fnm_cw")[0];
    for (const bool exact : {false, true}) {
        // Off the origin rounding keeps the point a little off the sample.
        for (const double x : {0.0, 0.3e-3, 0.9e-3, 1.5e-3}) {
            Points points = {{x == 0.0 ? 0.0 : 1e-4 * std::round(x * 1e4), 0, 0}};
            if (exact) {
                points.insert(points.end(), {{x + 1e-9, 0, 0}, {x + 1e-6, 0, 0}});
            }
            Tank tank = tank_with(rectangle, points, 65);
            tank.sources[0].exact = exact;
            tank.sources[0].center = {x, 0, 0};
            for (const char* name : {"rayleigh_cw", "rayleigh_cw_sse"}) {
                for (const std::complex<double> p : waves_in(tank, name)) {
                    EXPECT_LT(std::abs(p - expected), 0.03 * std::abs(expected));
                }
            }
        }
    }
}

// The terms of a pulse that decays steeply over the face, or that has far to go, are much larger
// than the pulse: it must not be decomposed.
TEST(SpecialPlaces, SteeplyDecayingPulsesAreNotDecomposed) {
    for (const auto& [B, z] : {std::pair{3e7, 1.5e-3}, {5e6, 250e-3}, {1e7, 8.001e-3}}) {
        for (const Source& source : {Source{.shape = "circ", .sizes = {5e-3}},
                                     Source{.shape = "rect", .sizes = {6e-3, 8e-3}},
                                     Source{.shape = "ring", .sizes = {1e-3, 5e-3}},
                                     Source{.shape = "shel", .sizes = {5e-3, 8e-3}}}) {
            Tank tank = tank_with(source, {{0, 0, z}, {1e-3, 0, z}, {7e-3, 2e-3, z}}, 64);
            tank.waveform = std::make_shared<kavro::TCubedPulse>(1e6, 4e-6, B);
            tank.waveform->set_exact(true);
            tank.set_axis(2e-8, z / 1500 - 1e-6, 900);
            const Values direct = measured(tank, "fnm_transient");
            EXPECT_GT(peak_of(direct), 0.0);
            EXPECT_LT(difference(measured(tank, "fnm_tsd"), direct), 1e-9 * peak_of(direct));
            EXPECT_LT(difference(measured(tank, "fnm_tsd_low_precision"), direct),
                      1e-9 * peak_of(direct));
            if (source.shape == "shel") {
                EXPECT_TRUE(close_to(measured(tank, "fnm_tsd_behind_source"),
                                     measured(tank, "fnm_transient_behind_source"), 1e-9));
            }
        }
    }
}

}  // namespace
}  // namespace kavro_test
