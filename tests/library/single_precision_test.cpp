// Exact elements in single precision against the same in double: far away, late and delayed.
#include <memory>
#include <vector>

#include "stage.h"

using namespace kavro_test;

namespace {

const std::vector<Source> all_sources = {
    {.shape = "circ", .sizes = {5e-3}},
    {.shape = "ring", .sizes = {2e-3, 5e-3}},
    {.shape = "rect", .sizes = {10e-3, 6e-3}},
    {.shape = "shel", .sizes = {5e-3, 20e-3}},
    {.shape = "sph ring", .sizes = {2e-3, 5e-3, 20e-3}},
};

Tank exact_tank(Source source, const std::vector<kavro::CartesianCoordinate>& points) {
    source.exact = true;
    Tank tank;
    tank.sources = {source};
    tank.medium._soundspeed = 1500;
    tank.set_points(points);
    tank.set_order(24);
    return tank;
}

// Within a fraction of the field's peak, which is there.
void expect_like(const Tank& tank, const char* single, const char* twice, double tolerance) {
    const kavro::Operation& operation = operation_named(single);
    if (kavro::implements(operation, *kavro::shape_of(tank.sources[0].shape))) {
        const Values expected = measured(tank, operation_named(twice));
        EXPECT_GT(peak_of(expected), 0.0);
        EXPECT_TRUE(close_to(measured(tank, operation), expected, tolerance)) << single;
    }
}

TEST(SinglePrecision, LateAxesDelaysAndLongPathsCostTransientsNothing) {
    std::vector<Waveform> waveforms = exact_waveforms();
    waveforms.push_back(std::make_shared<kavro::HanningPulse>(5e6, 0.6e-6, 0));
    waveforms.push_back(sampled({0, 1, -2, 3, -2, 1, 0, 0}, 2e-7, 1.6e-6, 0.0));
    struct Scene {
        double distance, delay, first;
        bool list;
    };
    for (const Scene& scene : {Scene{0.1, 0, 62e-6, false}, Scene{0.1, 1.0, 1.0 + 62e-6, false},
                               Scene{0.1, 1.0, 1.0 + 62e-6, true}, Scene{1.0, 0, 662e-6, false}}) {
        for (const Source& source : all_sources) {
            Tank tank = exact_tank(source, {{0, 0, scene.distance},
                                            {3e-3, 2e-3, scene.distance},
                                            {0.3 * scene.distance, 0, 0.95 * scene.distance}});
            tank.sources[0].time_delay = scene.delay;
            tank.set_axis(1.01 / 40e6, scene.first, 500);
            if (scene.list) {
                tank.set_list(Values(tank.times.times));
            }
            for (const Waveform& waveform : waveforms) {
                tank.waveform = waveform;
                SCOPED_TRACE(testing::Message() << source.shape << ", " << scene.distance << " m, "
                                                << scene.first << " s");
                expect_like(tank, "fnm_tsd_sse", "fnm_tsd", 5e-6);
                expect_like(tank, "fnm_tsd_low_precision", "fnm_tsd", 5e-6);
            }
        }
    }
}

TEST(SinglePrecision, DistanceCostsContinuousWavesNothing) {
    std::vector<Source> sources = all_sources;
    sources.push_back({.shape = "circ", .sizes = {0.1e-3}});  // whose waves nearly cancel
    sources.push_back({.shape = "shel", .sizes = {5e-3, 1.0}});
    for (const double R : {0.01, 0.1, 1.0}) {
        for (const Source& source : sources) {
            // Over the face, beside it and well off the axis, not in a null of the field.
            Tank tank = exact_tank(source, {{1e-4, 0, R},
                                            {3e-3, 2e-3, R},
                                            {4e-3, -7e-3, R},
                                            {0.21 * R, 0.33 * R, 0.92 * R},
                                            {0.85 * R, 0.1 * R, 0.52 * R}});
            tank.set_order(128);
            tank.medium._f0 = 5e6;
            for (const double losses : {0.0, 0.05}) {
                tank.medium._dBcmMHz = losses;
                SCOPED_TRACE(testing::Message() << source.shape << ", " << R << " m");
                expect_like(tank, "fnm_cw_sse", "fnm_cw", 1e-5);
                expect_like(tank, "fnm_cw_sse2", "fnm_cw", 1e-5);
                expect_like(tank, "rayleigh_cw_sse", "rayleigh_cw", 1e-5);
            }
        }
    }
}

}  // namespace
