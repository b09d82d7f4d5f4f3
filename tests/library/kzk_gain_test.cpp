// Exact marches of bowls of any gain: the linear focus and axis, whatever planes, extent and time
// axis are asked for; the parameters that are chosen, and what others warn of.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "kzk_support.h"
#include "transducers/kzk/choice.h"

namespace kavro_test {
namespace {

using KzkGain = Kzk;
using std::numbers::pi;

// A bowl of 20 mm with its focus at 80 mm, which has a gain of 5 at 470 kHz; planes on the axis.
KzkBeam bowl_of(double gain) {
    KzkBeam beam;
    beam.shell = beam.exact = true;
    beam.radius = 20e-3;
    beam.roc = 80e-3;
    beam.f0 = gain * beam.speed * beam.roc / (pi * beam.radius * beam.radius);
    beam.amplitude = 0.1;
    beam.beta = beam.attenuation = 0.0;
    beam.nx = beam.nz = 1;
    beam.xmax = 0.0;
    beam.zmin = beam.zmax = beam.roc;
    beam.extent = 4.0f;
    beam.points_per_radius = 60.0f;
    beam.step = beam.growth = 0.02f;
    beam.harmonics = 1;
    beam.duration = 4.0 / beam.f0;
    beam.deltat = 1.0 / (40.0 * beam.f0);
    beam.tmin = beam.roc / beam.speed - (gain / (2.0 * pi) + 1.0) / beam.f0;
    beam.tmax = beam.roc / beam.speed + 6.0 / beam.f0;
    return beam;
}

double scale(const KzkBeam& beam) {
    return beam.density * beam.speed * beam.amplitude;
}

// rho c u G, and rho a^2/(2 d) times the steepest slope of the velocity.
TEST_F(KzkGain, TheFocusIsThatOfTheClosedForm) {
    for (const double gain : {5.0, 30.0, 60.0}) {
        const KzkBeam alone = bowl_of(gain);
        std::vector<KzkBeam> beams(3, alone);
        beams[1].zmin = 10e-3;  // every 10 mm, the focus among them
        beams[1].zmax = 120e-3;
        beams[1].nz = 12;
        beams[2].extent = 1.0f;
        std::vector<double> found;
        for (const KzkBeam& beam : beams) {
            KzkStage stage(beam);
            ASSERT_EQ(stage.harmonics(), kavro::status_success);
            found.push_back(stage.magnitude(0, beam.nz > 1 ? 7 : 0, 1) / scale(beam) / gain);
            EXPECT_NEAR(found.back(), 1.0, 0.002) << "gain " << gain;
            EXPECT_NEAR(found.back() / found.front(), 1.0, 1e-3) << "gain " << gain;
        }
        // A coarse time axis only says where the pressure is looked at: 5 samples in a period.
        for (const double coarser : {1.0, 8.0}) {
            KzkBeam beam = alone;
            beam.deltat *= coarser;
            beam.points_per_radius = 40.0f;
            KzkStage stage(beam);
            ASSERT_EQ(stage.transient(), kavro::status_success);
            double slope = 0.0;  // at the instants looked at
            const double h = 1e-4 / beam.f0;
            for (const double t : stage.times.times) {
                const double at = t - beam.roc / beam.speed;
                const auto v = [&](double x) {
                    return x > 0.0 && x < beam.duration ? stage.waveform->at(x) : 0.0;
                };
                slope = std::max(slope, std::abs(v(at + h) - v(at - h)) / (2.0 * h));
            }
            const double expected = beam.density * beam.amplitude * slope * beam.radius *
                                    beam.radius / (2.0 * beam.roc);
            EXPECT_NEAR(peak_of(stage.series(0, 0)) / expected, 1.0, 0.01)
                << "gain " << gain << ", coarser " << coarser;
        }
    }
}

// 2 sin(G (d - z)/(2 z)) / (1 - z/d): from half the way on with the points that are chosen, which
// leave nothing to warn of; with fewer the call says so.
TEST_F(KzkGain, TheAxisIsHeldByTheChosenParameters) {
    for (const double gain : {5.0, 30.0, 60.0}) {
        KzkBeam beam = bowl_of(gain);
        beam.zmin = 40e-3;
        beam.zmax = 100e-3;
        beam.nz = 121;
        KzkStage stage(beam);
        stage.beam.points_per_radius =
            kavro::kzk::chosen_parameters(*stage.element, true, 0.01, 1).points_per_radius;
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        EXPECT_TRUE(stage.warnings.empty());
        for (int k = 0; k < beam.nz; ++k) {
            const double z = stage.grid.zcoords[k] / beam.roc;
            const double most = std::min(gain, 2.0 / std::abs(1.0 - z));
            const double phase = gain * (1.0 - z) / (2.0 * z);
            const double expected =
                std::abs(phase) < 1e-6 ? gain : std::abs(2.0 * std::sin(phase) / (1.0 - z));
            EXPECT_NEAR(stage.magnitude(0, k, 1) / scale(beam), expected,
                        (z < 1.1 ? 0.015 : 0.05) * most)
                << "gain " << gain << ", z " << z;
        }
        stage.beam.points_per_radius = std::floor(0.5f * stage.beam.points_per_radius) - 1.0f;
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        if (gain > 5.0 || stage.beam.points_per_radius < 20.0f) {
            ASSERT_EQ(stage.warnings.size(), 1U);
            EXPECT_NE(stage.warnings[0].find("'points_per_radius' is "), std::string::npos);
        }
    }
}

// The first five harmonics and the extremes in the focus of a bowl of 20 mm and 80 mm at 1.1 MHz
// and 30 W in water, as an independent wide-angle march has them (MPa); parameters as they are
// chosen.
TEST_F(KzkGain, ATherapeuticFocusIsThatOfAnotherMarch) {
    KzkBeam beam = bowl_of(11.66);
    beam.speed = 1482.4;
    beam.density = 998.2;
    beam.f0 = 1.1e6;
    beam.beta = 3.5;
    beam.attenuation = 0.0022 * 1.1;
    beam.amplitude = std::sqrt(2.0 * 30.0 / (beam.density * beam.speed * 1.2765e-3));
    KzkStage probe(beam);
    const kavro::kzk::Parameters chosen =
        kavro::kzk::chosen_parameters(*probe.element, true, 0.01, 5);
    beam.points_per_radius = chosen.points_per_radius;
    beam.harmonics = chosen.harmonics;
    beam.growth = chosen.growth;
    KzkStage stage(beam);
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    EXPECT_TRUE(stage.warnings.empty());
    const double wanted[] = {2.98, 0.88, 0.40, 0.21, 0.11};
    for (int n = 1; n <= 5; ++n) {
        EXPECT_NEAR(stage.magnitude(0, 0, n) * 1e-6 / wanted[n - 1], 1.0, n == 1 ? 0.02 : 0.1);
    }
    double highest = 0.0;
    double lowest = 0.0;
    for (int i = 0; i < 1000; ++i) {
        double p = 0.0;
        for (int n = 1; n <= beam.harmonics; ++n) {
            p += (stage.phasor(0, 0, n) * std::polar(1e-6, 2.0 * pi * n * i / 1000.0)).real();
        }
        highest = std::max(highest, p);
        lowest = std::min(lowest, p);
    }
    EXPECT_NEAR(highest / 4.5, 1.0, 0.05);
    EXPECT_NEAR(lowest / -2.5, 1.0, 0.05);

    stage.beam.harmonics = 4;
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    ASSERT_EQ(stage.warnings.size(), 1U);
    EXPECT_NE(stage.warnings[0].find("'harmonics' is 4"), std::string::npos);
}

}  // namespace
}  // namespace kavro_test
