// How the disc's solvers behave towards their caller.
#include <gtest/gtest.h>

#include <cmath>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::CircularTransducer;

struct Named {
    const char* name;
    Solve solve;
};

const Named solvers[] = {{"fnm_tsd_sse", &CircularTransducer::fnm_tsd_sse},
                         {"fnm_tsd_low_precision", &CircularTransducer::fnm_tsd_low_precision},
                         {"fnm_tsd", &CircularTransducer::fnm_tsd},
                         {"fnm_fdtsd", &CircularTransducer::fnm_fdtsd},
                         {"fnm_transient", &CircularTransducer::fnm_transient},
                         {"rayleigh_transient", &CircularTransducer::rayleigh_transient}};

Waveform signal() {
    return sampled(noise(16, 21), 1e-7, 1.6e-6, 0.0);
}

TEST(DiscManners, ResultsAreAddedToWhatIsThere) {
    const Scene scene = plain_scene();
    const Waveform waveform = signal();
    for (const auto& [name, solve] : solvers) {
        SCOPED_TRACE(name);
        Records fresh(scene), used(scene);
        used.pressure.assign(used.pressure.size(), 0.125);
        CircularTransducer element = element_of(scene.discs[0], *waveform);
        fresh.connect(element);
        EXPECT_EQ((element.*solve)(), 0);
        used.connect(element);
        EXPECT_EQ((element.*solve)(), 0);
        for (std::size_t i = 0; i < fresh.pressure.size(); ++i) {
            ASSERT_EQ(used.pressure[i], 0.125 + fresh.pressure[i]);
        }
    }
}

TEST(DiscManners, RepeatsItselfBitForBit) {
    const Stage stage(plain_scene(), signal());
    for (const auto& [name, solve] : solvers) {
        EXPECT_EQ(stage.by_library(solve), stage.by_library(solve)) << name;
    }
}

// Neither what the rule held before nor the element's former matrix matters; the rule is left on
// half a turn.
TEST(DiscManners, RefillsTheRuleAndTheRotationItself) {
    const Scene scene = plain_scene();
    const Waveform waveform = signal();
    Records records(scene);
    CircularTransducer element = element_of(scene.discs[0], *waveform);
    records.connect(element);
    element.fnm_tsd();
    const Field expected = records.pressure;
    EXPECT_LT(records.rule.get_abscissa(0), 3.1416);
    EXPECT_GT(records.rule.get_abscissa(0), 3.0);
    EXPECT_GT(records.rule.get_abscissa(scene.ndiv - 1), 0.0);
    element.set_euler(1, 1, 1);
    element.InitializeRotationMatrix();
    element.set_euler(0, 0, 0);
    records.rule.midpoint_rule(-7, 9);
    records.pressure.assign(expected.size(), 0.0);
    element.fnm_tsd();
    EXPECT_EQ(records.pressure, expected);
}

TEST(DiscManners, AmplitudeJustAboveTheThresholdCounts) {
    const Waveform waveform = signal();
    for (const auto& [name, solve] : solvers) {
        SCOPED_TRACE(name);
        for (const double amplitude : {1e-10, -1e-10, 0.0}) {
            Scene scene = plain_scene();
            scene.discs[0].amplitude = amplitude;
            EXPECT_EQ(Stage(scene, waveform).by_library(solve), kavro_oracle::silence(scene));
        }
        for (const double amplitude : {1.0000001e-10, -1.0000001e-10}) {
            Scene scene = plain_scene();
            scene.discs[0].amplitude = amplitude;
            EXPECT_NE(Stage(scene, waveform).by_library(solve), kavro_oracle::silence(scene));
        }
    }
}

TEST(DiscManners, PointsBehindTheFaceReceiveNothing) {
    const Scene scene = plain_scene();
    const Stage stage(scene, signal());
    constexpr std::size_t behind = 8;
    ASSERT_LT(scene.points[behind].z, 0.0);
    for (const auto& [name, solve] : solvers) {
        const Field field = stage.by_library(solve);
        std::vector<double> peaks(scene.points.size());
        for (std::size_t i = 0; i < field.size(); ++i) {
            double& peak = peaks[i % peaks.size()];
            peak = std::fmax(peak, std::fabs(field[i]));
        }
        for (std::size_t p = 0; p < peaks.size(); ++p) {
            EXPECT_EQ(peaks[p] == 0.0, p == behind) << name << ", point " << p;
        }
    }
}

TEST(DiscManners, MissingRecordsAreAFailureThatTouchesNothing) {
    const Scene scene = plain_scene();
    const Waveform waveform = signal();
    const std::function<void(CircularTransducer&)> omissions[] = {
        [](CircularTransducer& e) { e.excitation = nullptr; },
        [](CircularTransducer& e) { e.coordinate_grid = nullptr; },
        [](CircularTransducer& e) { e.medium = nullptr; },
        [](CircularTransducer& e) { e.integral = nullptr; },
        [](CircularTransducer& e) { e.time_samples = nullptr; },
        [](CircularTransducer& e) { e.transient_pressure = nullptr; }};
    for (const auto& [name, solve] : solvers) {
        for (const auto& omit : omissions) {
            Records records(scene);
            CircularTransducer element = element_of(scene.discs[0], *waveform);
            records.connect(element);
            omit(element);
            EXPECT_EQ((element.*solve)(), kavro::status_failure) << name;
            EXPECT_EQ(records.pressure, kavro_oracle::silence(scene));
        }
    }
    CircularTransducer lonely(1e-3);
    EXPECT_EQ(lonely.impulse_begin_and_end_times(), kavro::status_failure);
    EXPECT_EQ(lonely.impulse_begin_time, -1.0);
}

TEST(DiscManners, AnalyticPulsesHaveNoComplexVariant) {
    const Scene scene = plain_scene();
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    Records records(scene);
    CircularTransducer element = element_of(scene.discs[0], pulse);
    records.connect(element);
    EXPECT_EQ(element.fnm_fdtsd(), kavro::status_not_implemented);
    EXPECT_EQ(records.pressure, kavro_oracle::silence(scene));
}

TEST(DiscManners, EmptyRecordsGiveSilence) {
    const Waveform waveform = signal();
    for (const auto& [name, solve] : solvers) {
        SCOPED_TRACE(name);
        const Scene scene = plain_scene();
        Records records(scene);
        CircularTransducer element = element_of(scene.discs[0], *waveform);
        records.connect(element);
        kavro::NumericalIntegration unsized;
        element.set_integral_pointer(&unsized);
        EXPECT_EQ((element.*solve)(), 0);
        EXPECT_EQ(records.pressure, kavro_oracle::silence(scene));
        kavro::TimeSamples no_times;
        kavro::CoordinateGrid no_points;
        records.connect(element);
        element.set_time_vector(&no_times);
        EXPECT_EQ((element.*solve)(), 0);
        records.connect(element);
        element.set_global_coordinate_grid(&no_points);
        EXPECT_EQ((element.*solve)(), 0);
        EXPECT_EQ(records.pressure, kavro_oracle::silence(scene));
    }
}

TEST(DiscManners, SolvesWithoutAWord) {
    const Stage stage(plain_scene(), signal());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const auto& [name, solve] : solvers) {
        stage.by_library(solve);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace kavro_test
