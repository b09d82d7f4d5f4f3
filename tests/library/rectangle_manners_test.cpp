// What the rectangle does with input that is missing or makes no sense.
#include <cmath>
#include <limits>

#include "rectangle_support.h"

namespace kavro_test {
namespace {

using kavro::RectangularTransducer;

const std::vector<RectangleSolve> continuous_wave = {
    &RectangularTransducer::farfield_cw, &RectangularTransducer::farfield_cw_lossless,
    &RectangularTransducer::fnm_cw,      &RectangularTransducer::fnm_cw_single,
    &RectangularTransducer::fnm_cw_sse,  &RectangularTransducer::fnm_cw_sse2,
    &RectangularTransducer::rayleigh_cw, &RectangularTransducer::rayleigh_cw_sse,
    &RectangularTransducer::radiator_cw};
const std::vector<RectangleSolve> transient = {
    &RectangularTransducer::impulse_response, &RectangularTransducer::fnm_transient,
    &RectangularTransducer::fnm_tsd, &RectangularTransducer::fnm_tsd_low_precision};

TEST(RectangleManners, SenselessPointsLeaveTheOthersAlone) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double none = std::nan("");
    const std::vector<Triple> sane = {{0, 0, 5e-3}, {1e5, 0, 2e5}, {3e-3, -1e-3, 2e-3}};
    RectangleScene scene = rectangle_scene();
    scene.points = sane;
    RectangleScene mixed = scene;
    mixed.points = {sane[0],          {none, 0, 5e-3},      {0, none, 5e-3},   {0, 0, none},
                    {infinity, 0, 1}, {0, -infinity, 5e-3}, {0, 0, infinity},  {0, 0, -infinity},
                    sane[1],          {1e200, 1e200, 1},    {1e-200, 0, 1e-3}, sane[2]};
    const std::size_t places[] = {0, 8, 11};
    for (const RectangleSolve operation : continuous_wave) {
        const auto expected = cw_by_library(scene, operation);
        const auto field = cw_by_library(mixed, operation);
        for (std::size_t i = 0; i < sane.size(); ++i) {
            EXPECT_EQ(field[places[i]], expected[i]);
        }
        EXPECT_EQ(field[7], 0.0);  // behind
    }
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    for (const RectangleSolve operation : transient) {
        const Field expected = transient_by_library(scene, operation, pulse);
        const Field field = transient_by_library(mixed, operation, pulse);
        const double peak = peak_of(expected);
        for (std::size_t j = 0; j < scene.times.size(); ++j) {
            for (std::size_t i = 0; i < sane.size(); ++i) {
                EXPECT_NEAR(field[places[i] + j * mixed.points.size()],
                            expected[i + j * sane.size()], 1e-6 * peak);
            }
        }
    }
}

TEST(RectangleManners, DegenerateSizesAndRulesRadiateNothing) {
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    RectangleScene scene = rectangle_scene();
    scene.points = {{0, 0, 5e-3}, {0, 1e-3, 0}, {3e-3, 1e-3, 2e-3}};
    scene.rectangles[0].width = 0.0;
    for (const RectangleSolve operation : continuous_wave) {
        EXPECT_EQ(cw_by_library(scene, operation), std::vector<Complex>(scene.points.size()));
    }
    for (const RectangleSolve operation : transient) {
        EXPECT_LT(peak_of(transient_by_library(scene, operation, pulse)), 1e-11);
    }

    scene = rectangle_scene();
    for (const RectangleSolve operation :
         {&RectangularTransducer::fnm_cw, &RectangularTransducer::fnm_cw_sse,
          &RectangularTransducer::rayleigh_cw, &RectangularTransducer::rayleigh_cw_sse}) {
        RectangleRecords records(scene);
        records.rule = {};
        RectangularTransducer element = element_of(scene.rectangles[0], false);
        records.connect_continuous_wave(element);
        EXPECT_EQ((element.*operation)(), kavro::status_success);
        EXPECT_EQ(peak_of(records.pressure_real) + peak_of(records.pressure_imag), 0.0);
    }
}

}  // namespace
}  // namespace kavro_test
