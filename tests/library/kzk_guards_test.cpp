// What a march does with bad parameters, with shocks, and towards its caller.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "kzk_support.h"
#include "support.h"

namespace kavro_test {
namespace {

using kavro_oracle::KzkBeam;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Change {
    const char* what;
    std::function<void(KzkBeam&)> change;
};

bool all_zero(const std::vector<double>& values) {
    return std::ranges::all_of(values, [](double value) { return value == 0.0; });
}

TEST(KzkGuards, MissingRecordsAreAFailureBeforeAnythingElse) {
    const Recorder recorder;
    for (const bool shell : {false, true}) {
        KzkStage stage(small_beam(shell));
        using Element = kavro::Transducer;
        const std::vector<std::function<void(Element&)>> common = {
            [](Element& e) { e.coordinate_grid = nullptr; }, [](Element& e) { e.medium = nullptr; },
            [](Element& e) { e.integral = nullptr; }};
        std::vector<std::function<void(Element&)>> of_transient = common;
        of_transient.push_back([](Element& e) { e.excitation = nullptr; });
        of_transient.push_back([](Element& e) { e.time_samples = nullptr; });
        of_transient.push_back([](Element& e) { e.transient_pressure = nullptr; });
        std::vector<std::function<void(Element&)>> of_cw = common;
        of_cw.push_back([](Element& e) { e.pressure_real = nullptr; });
        of_cw.push_back([](Element& e) { e.pressure_imag = nullptr; });
        for (const auto& remove : of_transient) {
            KzkStage bare(small_beam(shell));
            remove(*bare.element);
            EXPECT_EQ(bare.transient(), kavro::status_failure);
        }
        for (const auto& remove : of_cw) {
            KzkStage bare(small_beam(shell));
            remove(*bare.element);
            EXPECT_EQ(bare.harmonics(), kavro::status_failure);
        }
        // A list of points has no planes, whatever planes the grid had before.
        const std::vector<double> point = {0.0, 0.0, 0.01};
        stage.grid.CoordinateGridVector(point.data(), 1);
        EXPECT_EQ(stage.transient(), kavro::status_failure);
        EXPECT_EQ(stage.harmonics(), kavro::status_failure);
        EXPECT_EQ(stage.pressure[0], KzkStage::unwritten);
    }
    EXPECT_EQ(recorder.printed, "");
    EXPECT_TRUE(recorder.warnings.empty());
}

TEST(KzkGuards, WhatCannotMarchIsStoredAsSilence) {
    const std::vector<Change> of_both = {
        {"no extent", [](KzkBeam& b) { b.extent = 0.9f; }},
        {"negative extent", [](KzkBeam& b) { b.extent = -3.0f; }},
        {"huge extent", [](KzkBeam& b) { b.extent = 1e30f; }},
        {"extent not a number", [](KzkBeam& b) { b.extent = std::nanf(""); }},
        {"too few points", [](KzkBeam& b) { b.points_per_radius = 0.6f; }},
        {"negative points", [](KzkBeam& b) { b.points_per_radius = -14.0f; }},
        {"points not a number", [](KzkBeam& b) { b.points_per_radius = std::nanf(""); }},
        {"f0 zero", [](KzkBeam& b) { b.f0 = 0.0; }},
        {"f0 not a number", [](KzkBeam& b) { b.f0 = nan_value; }},
        {"no radius", [](KzkBeam& b) { b.radius = 0.0; }},
        {"no speed", [](KzkBeam& b) { b.speed = 0.0; }},
        {"negative speed", [](KzkBeam& b) { b.speed = -1500.0; }},
        {"amplitude not a number", [](KzkBeam& b) { b.amplitude = nan_value; }},
        {"beta infinite", [](KzkBeam& b) { b.beta = infinity; }},
        {"negative losses", [](KzkBeam& b) { b.attenuation = -0.1; }},
        {"silent source", [](KzkBeam& b) { b.amplitude = 0.0; }}};
    std::vector<Change> of_transient = of_both;
    of_transient.push_back({"no step", [](KzkBeam& b) { b.step = 0.0f; }});
    of_transient.push_back({"negative step", [](KzkBeam& b) { b.step = -0.01f; }});
    of_transient.push_back({"tiny step", [](KzkBeam& b) { b.step = 1e-38f; }});
    of_transient.push_back({"step not a number", [](KzkBeam& b) { b.step = std::nanf(""); }});
    of_transient.push_back({"far planes", [](KzkBeam& b) { b.zmax = 1e30; }});
    of_transient.push_back({"no span", [](KzkBeam& b) { b.tmax = b.tmin + b.zmax / b.speed; }});
    std::vector<Change> of_cw = of_both;
    of_cw.push_back({"no growth", [](KzkBeam& b) { b.growth = 0.0f; }});
    of_cw.push_back({"tiny growth", [](KzkBeam& b) { b.growth = 1e-30f; }});
    of_cw.push_back({"negative growth", [](KzkBeam& b) { b.growth = -1.0f; }});
    const Recorder recorder;
    for (const bool shell : {false, true}) {
        for (const Change& change : of_transient) {
            KzkBeam beam = small_beam(shell);
            change.change(beam);
            KzkStage stage(beam);
            EXPECT_EQ(stage.transient(), kavro::status_success) << change.what;
            stage.pressure.pop_back();  // the last samples may lie beyond the retarded time
            EXPECT_TRUE(all_zero(stage.series(0, 3))) << change.what;
            EXPECT_EQ(stage.pressure[0], 0.0) << change.what;
        }
        for (const Change& change : of_cw) {
            KzkBeam beam = small_beam(shell);
            change.change(beam);
            KzkStage stage(beam);
            EXPECT_EQ(stage.harmonics(), kavro::status_success) << change.what;
            EXPECT_TRUE(all_zero(stage.real) && all_zero(stage.imag)) << change.what;
        }
        KzkStage none(small_beam(shell));
        none.beam.harmonics = 0;
        EXPECT_EQ(none.harmonics(), kavro::status_success);
        EXPECT_EQ(none.real[0], KzkStage::unwritten);
        // An explicit list of times has no step, and no tau axis.
        KzkStage list(small_beam(shell));
        list.times._deltat = 0.0;
        EXPECT_EQ(list.transient(), kavro::status_success);
        EXPECT_TRUE(all_zero(list.pressure));
    }
}

TEST(KzkGuards, HarmonicsThatGrowWithoutBoundAreWarnedOfOnce) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        const Recorder calm;
        KzkStage good(beam);
        EXPECT_EQ(good.harmonics(), kavro::status_success);
        EXPECT_TRUE(calm.warnings.empty());
        beam.amplitude = 1e12;
        const Recorder recorder;
        KzkStage stage(beam);
        EXPECT_EQ(stage.harmonics(), kavro::status_success);
        EXPECT_FALSE(std::ranges::all_of(stage.real, [](double p) { return std::isfinite(p); }));
        ASSERT_EQ(recorder.warnings.size(), 1U);
        EXPECT_NE(recorder.warnings[0].find("grew without bound"), std::string::npos);
    }
}

// Nothing but an end within the test's time, and no write beyond the outputs, is asked for here.
TEST(KzkGuards, WhateverIsGivenTheMarchEnds) {
    const std::vector<Change> changes = {
        {"no tau axis", [](KzkBeam&) {}},
        {"one plane", [](KzkBeam& b) { b.nz = 1, b.zmax = b.zmin; }},
        {"one point", [](KzkBeam& b) { b.nx = 1, b.xmax = b.xmin; }},
        {"x below zero", [](KzkBeam& b) { b.xmin = -0.9; }},
        {"planes behind", [](KzkBeam& b) { b.zmin = -0.03; }},
        {"all behind", [](KzkBeam& b) { b.zmin = -0.03, b.zmax = -0.01; }},
        {"negative amplitude", [](KzkBeam& b) { b.amplitude = -b.amplitude; }},
        {"huge amplitude", [](KzkBeam& b) { b.amplitude = 1e30; }},
        {"largest amplitude", [](KzkBeam& b) { b.amplitude = 3e38; }},
        {"tiny amplitude", [](KzkBeam& b) { b.amplitude = 1e-40; }},
        {"huge losses", [](KzkBeam& b) { b.attenuation = 1e20; }},
        {"late axis", [](KzkBeam& b) { b.tmin = 2e-6; }},
        {"endless pulse", [](KzkBeam& b) { b.duration = 1e300; }},
        {"pulse without end", [](KzkBeam& b) { b.duration = nan_value; }},
        {"face beyond the grid", [](KzkBeam& b) { b.extent = 1.0f; }},
        {"huge step", [](KzkBeam& b) { b.step = 1e30f, b.growth = 1e30f; }},
        {"many harmonics of a strong wave",
         [](KzkBeam& b) { b.harmonics = 60, b.amplitude = 30; }}};
    for (const int kind : {0, 1, 2, 3}) {
        for (const Change& change : changes) {
            KzkBeam beam = small_beam(kind % 2 == 1);
            beam.exact = kind >= 2;
            change.change(beam);
            KzkStage stage(beam);
            if (std::string(change.what) == "no tau axis") {
                stage.times.taus.clear();
                stage.times.ntaus = 0;
            }
            const Recorder quiet;
            EXPECT_EQ(stage.transient(), kavro::status_success) << change.what;
            EXPECT_EQ(stage.harmonics(), kavro::status_success) << change.what;
            for (const double value : stage.real) {
                ASSERT_NE(value, KzkStage::unwritten) << change.what;
            }
        }
    }
}

TEST(KzkGuards, PlanesBehindTheFaceAreSilentInTheHarmonicMarch) {
    KzkBeam beam = small_beam();
    beam.zmin = -beam.zmax;
    KzkStage stage(beam);
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    EXPECT_EQ(stage.magnitude(0, 2, 1), 0.0);
    EXPECT_GT(stage.magnitude(0, 8, 1), 1e4);
}

// A beam whose first step already overtakes itself: one more step, a message, silence beyond.
TEST(KzkGuards, ShockStopsTheMarchWithAMessage) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        beam.amplitude = 200.0;
        beam.zmin = 1e-4;
        KzkStage stage(beam);
        const Recorder recorder;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        if (shell) {
            EXPECT_EQ(recorder.printed, "");
            EXPECT_EQ(recorder.warnings, std::vector<std::string>{"dSigma is too small."});
        } else {
            EXPECT_TRUE(recorder.printed.ends_with("\ntoo small dSigma")) << recorder.printed;
            EXPECT_TRUE(recorder.warnings.empty());
        }
        EXPECT_FALSE(all_zero(stage.series(0, 0)));
        EXPECT_TRUE(all_zero(stage.series(0, 1)));
    }
}

// Planes closer than a step: the first is recorded, the others are lost; an exact element has them
// all, the last one included, which rounding keeps from the march otherwise.
TEST(KzkGuards, SkippedPlanesAreRecordedByAnExactElement) {
    KzkBeam beam = small_beam();
    const double zR = std::numbers::pi * beam.f0 * beam.radius * beam.radius / beam.speed;
    beam.step = 0.125f;
    beam.zmin = 0.25 * zR;
    beam.zmax = 0.999 * zR;
    beam.nz = 31;
    for (const bool exact : {false, true}) {
        beam.exact = exact;
        KzkStage stage(beam);
        const Recorder quiet;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        int recorded = 0;
        for (int k = 0; k < beam.nz; ++k) {
            recorded += all_zero(stage.series(0, k)) ? 0 : 1;
        }
        EXPECT_EQ(recorded, exact ? 31 : 6);
    }
}

TEST(KzkGuards, FirstPointIsTheAxisUnlessExact) {
    KzkBeam beam = small_beam();
    beam.xmin = 4e-3;
    for (const bool exact : {false, true}) {
        beam.exact = exact;
        KzkStage stage(beam);
        KzkBeam from_axis = beam;
        from_axis.xmin = exact ? -4e-3 : 0.0;
        KzkStage other(from_axis);
        const Recorder quiet;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        ASSERT_EQ(other.transient(), kavro::status_success);
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        ASSERT_EQ(other.harmonics(), kavro::status_success);
        EXPECT_EQ(stage.series(0, 5), other.series(0, 5));
        EXPECT_EQ(stage.magnitude(0, 5, 2), other.magnitude(0, 5, 2));
        EXPECT_EQ(stage.series(0, 5) == stage.series(1, 5), false);
    }
}

// A march's field is symmetric about the axis: an exact element's points may lie anywhere, the
// reference takes them all to be in the plane y = 0.
TEST(KzkGuards, DistanceFromTheAxisCountsYWhereExact) {
    KzkBeam beam = small_beam();
    beam.nx = 1;
    beam.xmin = beam.xmax = 3e-3;
    for (const bool exact : {false, true}) {
        beam.exact = exact;
        KzkStage along_x(beam);
        KzkStage diagonal(beam);
        diagonal.grid.xmin = diagonal.grid.xmax = exact ? 0.0 : 3e-3;
        diagonal.grid.ymin = diagonal.grid.ymax = 3e-3;
        const Recorder quiet;
        for (KzkStage* stage : {&along_x, &diagonal}) {
            ASSERT_EQ(stage->transient(), kavro::status_success);
            ASSERT_EQ(stage->harmonics(), kavro::status_success);
        }
        EXPECT_EQ(along_x.series(0, 5), diagonal.series(0, 5));
        EXPECT_EQ(along_x.magnitude(0, 5, 2), diagonal.magnitude(0, 5, 2));
        EXPECT_GT(along_x.magnitude(0, 5, 2), 0.0);
    }
}

// A field without a slope has no shock ahead, whatever the sign of the amplitude.
TEST(KzkGuards, SilenceHasNoShock) {
    KzkBeam beam = small_beam();
    beam.amplitude = -1e-3;
    beam.duration = 0.0;
    for (const bool exact : {false, true}) {
        beam.exact = exact;
        KzkStage stage(beam);
        const Recorder recorder;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        EXPECT_EQ(recorder.printed.find("dSigma"), std::string::npos);
        EXPECT_TRUE(std::ranges::all_of(recorder.progress,
                                        [](double done) { return done >= 0.0 && done <= 1.0; }));
    }
}

// Only nx times nz points are written, whatever ny is.
TEST(KzkGuards, OnlyThePlaneIsWritten) {
    KzkStage flat(small_beam());
    KzkStage deep(small_beam());
    deep.grid.ny = 3;
    deep.grid.npoints *= 3;
    deep.pressure.resize(3 * deep.pressure.size(), KzkStage::unwritten);
    deep.element->transient_pressure = deep.pressure.data();
    const Recorder recorder;
    ASSERT_EQ(flat.transient(), kavro::status_success);
    EXPECT_EQ(recorder.printed.rfind("    - Knonlinearity: ", 0), 0u);
    EXPECT_EQ(recorder.progress.back(), 1.0);
    EXPECT_TRUE(std::ranges::is_sorted(recorder.progress));
    ASSERT_EQ(deep.transient(), kavro::status_success);
    const auto plane = static_cast<std::ptrdiff_t>(flat.pressure.size());
    EXPECT_TRUE(std::equal(flat.pressure.begin(), flat.pressure.end(), deep.pressure.begin()));
    EXPECT_TRUE(std::all_of(deep.pressure.begin() + plane, deep.pressure.end(),
                            [](double value) { return value == KzkStage::unwritten; }));
}

// One step of this beam would take hours.
TEST(KzkGuards, InterruptEndsALongStepOfTheHarmonicMarch) {
    for (const int threads : {1, 2}) {
        KzkBeam beam = small_beam();
        beam.harmonics = 1000000;
        beam.extent = 1.0f;
        beam.points_per_radius = 4.0f;
        beam.nx = beam.nz = 1;
        beam.xmax = beam.xmin;
        beam.zmax = beam.zmin;
        KzkStage stage(beam);
        const auto begin = std::chrono::steady_clock::now();
        kavro::console::Port port;
        int asked = 0;
        port.interrupted = [&asked] { return ++asked == 20; };
        const kavro::console::Connection connection(port);
        kavro::set_thread_count(threads);
        EXPECT_EQ(stage.harmonics(), kavro::status_interrupted);
        kavro::set_thread_count(0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    }
}

TEST(KzkGuards, InterruptEndsAMarchBetweenSteps) {
    KzkStage stage(small_beam());
    int asked = 0;
    kavro::console::Port port;
    port.print = [](const char*) {};
    port.interrupted = [&asked] { return ++asked == 3; };
    const kavro::console::Connection connection(port);
    EXPECT_EQ(stage.transient(), kavro::status_interrupted);
    EXPECT_EQ(asked, 3);
    asked = 0;
    EXPECT_EQ(stage.harmonics(), kavro::status_interrupted);
    EXPECT_EQ(asked, 3);
}

std::vector<double> both_marches(const KzkBeam& beam) {
    KzkStage stage(beam);
    EXPECT_EQ(stage.transient(), kavro::status_success);
    EXPECT_EQ(stage.harmonics(), kavro::status_success);
    std::vector<double> all = stage.pressure;
    all.insert(all.end(), stage.real.begin(), stage.real.end());
    all.insert(all.end(), stage.imag.begin(), stage.imag.end());
    return all;
}

TEST(KzkGuards, VectorsDoNotChangeABit) {
    KzkBeam beam = small_beam();
    beam.step = 0.02f;
    beam.growth = 0.02f;
    beam.harmonics = 21;
    beam.amplitude = 1.0;
    const Recorder quiet;
    for (const float scheme : {1.0f, 0.0f}) {
        beam.scheme = scheme;
        const std::vector<double> best = both_marches(beam);
        for (const auto target :
             {kavro::VectorTarget::scalar, kavro::VectorTarget::sse4, kavro::VectorTarget::avx2}) {
            kavro::set_vector_target(target);
            EXPECT_EQ(both_marches(beam) == best, true) << static_cast<int>(target);
        }
        kavro::set_vector_target(std::nullopt);
    }
}

// Large enough that a step is shared among two threads.
TEST(KzkGuards, ThreadsDoNotChangeABit) {
    KzkBeam beam = small_beam();
    beam.extent = 8.0f;
    beam.points_per_radius = 121.0f;
    beam.step = 0.02f;
    beam.zmax = 3e-3;
    beam.nz = 2;
    beam.deltat = 1e-8;
    beam.tmin = -1e-6;
    beam.tmax = 10e-6;
    beam.harmonics = 90;
    const Recorder quiet;
    kavro::set_thread_count(1);
    const std::vector<double> alone = both_marches(beam);
    kavro::set_thread_count(3);
    EXPECT_EQ(both_marches(beam) == alone, true);
    kavro::set_thread_count(0);
}

TEST(KzkGuards, TauAxisIsMadeFromTheTimeAxis) {
    KzkStage stage(small_beam());
    const double omega0 = 2.0 * std::numbers::pi * stage.beam.f0;
    const double span = stage.beam.tmax - stage.beam.tmin - stage.beam.zmax / stage.beam.speed;
    const int steps = static_cast<int>(std::lround(span / stage.beam.deltat));
    ASSERT_EQ(stage.times.ntaus, steps + 1);
    ASSERT_EQ(stage.times.taus.size(), static_cast<std::size_t>(steps + 1));
    EXPECT_NEAR(stage.times.taumin(), omega0 * stage.beam.tmin, 1e-5);
    EXPECT_NEAR(stage.times.taumax(), omega0 * (stage.beam.tmin + span), 1e-3);
    EXPECT_EQ(stage.times.tau_index_value(7), 7 * stage.times.deltatau() + stage.times.taumin());

    const auto set = [&] {
        return set_kzk_tau_axis(stage.times, *stage.waveform, stage.medium, stage.grid);
    };
    const std::vector<double> before = stage.times.taus;
    stage.grid.zmax = 1.0;  // the wave never gets there
    EXPECT_FALSE(set());
    stage.grid.zmax = 0.01;
    stage.waveform->f0 = 0.0;
    EXPECT_FALSE(set());
    stage.waveform->f0 = nan_value;
    EXPECT_FALSE(set());
    stage.waveform->f0 = 1e6;
    stage.times._deltat = 0.0;
    EXPECT_FALSE(set());
    stage.times._deltat = 1e-300;
    EXPECT_FALSE(set());
    EXPECT_EQ(stage.times.taus, before);
}

}  // namespace
}  // namespace kavro_test
