// What a march does with bad parameters, with shocks, and towards its caller.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <functional>
#include <limits>
#include <numbers>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kzk_support.h"

namespace kavro_test {
namespace {

using KzkGuards = Variants;
using kavro::kzk::Input;
using kavro::kzk::Outcome;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

enum class Of { both, transient, harmonic };

bool all_zero(const std::vector<double>& values) {
    return std::ranges::all_of(values, [](double value) { return value == 0.0; });
}

TEST_F(KzkGuards, MissingRecordsAreAFailureBeforeAnythingElse) {
    struct Removal {
        Of of;
        std::function<void(kavro::Transducer&)> remove;
    };
    using Element = kavro::Transducer;
    const std::vector<double> point = {0.0, 0.0, 0.01};
    const Removal removals[] = {
        {Of::both, [](Element& e) { e.coordinate_grid = nullptr; }},
        {Of::both, [](Element& e) { e.medium = nullptr; }},
        {Of::both, [](Element& e) { e.integral = nullptr; }},
        {Of::both, [](Element& e) { e.coordinate_grid->npoints = 64; }},
        // A list of points has no planes, whatever planes the grid had before.
        {Of::both, [&](Element& e) { e.coordinate_grid->CoordinateGridVector(point.data(), 1); }},
        {Of::transient, [](Element& e) { e.excitation = nullptr; }},
        {Of::transient, [](Element& e) { e.time_samples = nullptr; }},
        {Of::transient, [](Element& e) { e.transient_pressure = nullptr; }},
        {Of::harmonic, [](Element& e) { e.pressure_real = nullptr; }},
        {Of::harmonic, [](Element& e) { e.pressure_imag = nullptr; }}};
    for (const bool shell : {false, true}) {
        for (const Removal& removal : removals) {
            KzkStage stage(small_beam(shell));
            removal.remove(*stage.element);
            const bool pulsed = removal.of == Of::harmonic;
            EXPECT_EQ(stage.transient(), pulsed ? kavro::status_success : kavro::status_failure);
            EXPECT_EQ(stage.pressure[0] == KzkStage::unwritten, !pulsed);
            const bool steady = removal.of == Of::transient;
            EXPECT_EQ(stage.harmonics(), steady ? kavro::status_success : kavro::status_failure);
            EXPECT_EQ(stage.real[0] == KzkStage::unwritten, !steady);
            EXPECT_TRUE(stage.printed.empty() && stage.warnings.empty());
        }
    }
    KzkStage flat(small_beam());
    flat.use(std::make_unique<kavro::RectangularTransducer>());
    EXPECT_EQ(flat.outcome(false).status, kavro::status_not_implemented);
}

TEST_F(KzkGuards, WhatCannotMarchIsStoredAsSilence) {
    struct Fault {
        Of of;
        std::optional<Input> input;
        std::function<void(KzkBeam&)> change;
    };
    const Fault faults[] = {
        {Of::both, Input::extent, [](KzkBeam& b) { b.extent = 0.9f; }},
        {Of::both, Input::extent, [](KzkBeam& b) { b.extent = -3.0f; }},
        {Of::both, Input::extent, [](KzkBeam& b) { b.extent = 1e30f; }},
        {Of::both, Input::extent, [](KzkBeam& b) { b.extent = std::nanf(""); }},
        {Of::both, Input::points_per_radius, [](KzkBeam& b) { b.points_per_radius = 0.6f; }},
        {Of::both, Input::points_per_radius, [](KzkBeam& b) { b.points_per_radius = -14.0f; }},
        {Of::both, Input::points_per_radius,
         [](KzkBeam& b) { b.points_per_radius = std::nanf(""); }},
        {Of::both, Input::frequency, [](KzkBeam& b) { b.f0 = 0.0; }},
        {Of::both, Input::frequency, [](KzkBeam& b) { b.f0 = nan_value; }},
        {Of::both, Input::sizes, [](KzkBeam& b) { b.radius = 0.0; }},
        {Of::both, Input::sizes, [](KzkBeam& b) { b.radius = -b.radius, b.exact = true; }},
        {Of::both, Input::soundspeed, [](KzkBeam& b) { b.speed = 0.0; }},
        {Of::both, Input::soundspeed, [](KzkBeam& b) { b.speed = -1500.0; }},
        {Of::both, Input::amplitude, [](KzkBeam& b) { b.amplitude = nan_value; }},
        {Of::both, Input::nonlinearity, [](KzkBeam& b) { b.beta = infinity; }},
        {Of::both, Input::attenuation, [](KzkBeam& b) { b.attenuation = -0.1; }},
        {Of::both, std::nullopt, [](KzkBeam& b) { b.amplitude = 0.0; }},
        {Of::transient, Input::step, [](KzkBeam& b) { b.step = 0.0f; }},
        {Of::transient, Input::step, [](KzkBeam& b) { b.step = -0.01f; }},
        {Of::transient, Input::step, [](KzkBeam& b) { b.step = 1e-38f; }},
        {Of::transient, Input::step, [](KzkBeam& b) { b.step = std::nanf(""); }},
        {Of::transient, Input::step, [](KzkBeam& b) { b.zmax = 1e30; }},
        {Of::transient, Input::time, [](KzkBeam& b) { b.tmax = b.tmin + b.zmax / b.speed; }},
        {Of::harmonic, Input::growth, [](KzkBeam& b) { b.growth = 0.0f; }},
        {Of::harmonic, Input::growth, [](KzkBeam& b) { b.growth = 1e-30f; }},
        {Of::harmonic, Input::growth, [](KzkBeam& b) { b.growth = -1.0f; }}};
    for (const bool shell : {false, true}) {
        for (int i = 0; const Fault& fault : faults) {
            SCOPED_TRACE(i++);
            KzkBeam beam = small_beam(shell);
            fault.change(beam);
            KzkStage stage(beam);
            const auto check = [&](bool harmonic) {
                const Outcome outcome = stage.outcome(harmonic);
                EXPECT_EQ(outcome.status, kavro::status_success);
                EXPECT_FALSE(outcome.shocked);
                const auto found = kavro::kzk::fault_of(*stage.element, harmonic);
                EXPECT_EQ(found ? std::optional(found->input) : std::nullopt, fault.input);
            };
            if (fault.of != Of::harmonic) {
                check(false);
                EXPECT_TRUE(all_zero(fault.input ? stage.pressure : stage.series(0, 0)));
                EXPECT_EQ(stage.pressure[0], 0.0);
            }
            if (fault.of != Of::transient) {
                check(true);
                EXPECT_TRUE(all_zero(stage.real) && all_zero(stage.imag));
            }
        }
        KzkStage none(small_beam(shell));
        none.beam.harmonics = 0;
        EXPECT_EQ(none.harmonics(), kavro::status_success);
        EXPECT_EQ(none.real[0], KzkStage::unwritten);
        KzkStage list(small_beam(shell));
        list.times._deltat = 0.0;
        EXPECT_EQ(list.transient(), kavro::status_success);
        EXPECT_TRUE(all_zero(list.pressure));
    }
}

// No more than an end within the test's time, no write beyond the outputs, silence behind the face
// and progress between 0 and 1 are asked for here.
TEST_F(KzkGuards, WhateverIsGivenTheMarchEnds) {
    struct Change {
        const char* what;
        std::function<void(KzkBeam&)> change;
    };
    const Change changes[] = {
        {"no tau axis", [](KzkBeam&) {}},  // which an exact element does not read
        {"one plane", [](KzkBeam& b) { b.nz = 1, b.zmax = b.zmin; }},
        {"one point", [](KzkBeam& b) { b.nx = 1, b.xmax = b.xmin; }},
        {"x below zero", [](KzkBeam& b) { b.xmin = -0.9; }},
        {"planes behind", [](KzkBeam& b) { b.zmin = -0.03; }},
        {"all behind", [](KzkBeam& b) { b.zmin = -0.03, b.zmax = -0.01; }},
        {"negative amplitude", [](KzkBeam& b) { b.amplitude = -b.amplitude; }},
        {"huge amplitude", [](KzkBeam& b) { b.amplitude = 1e30; }},
        {"largest amplitude", [](KzkBeam& b) { b.amplitude = 3e38; }},
        {"tiny amplitude", [](KzkBeam& b) { b.amplitude = 1e-40; }},
        {"no slope", [](KzkBeam& b) { b.amplitude = -1e-3, b.duration = 0.0; }},
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
            if (beam.exact) {
                beam.zmax = 21e-3;
                beam.tmax = 18e-6;
            }
            change.change(beam);
            KzkStage stage(beam);
            const std::string what = change.what;
            if (what == "no tau axis") {
                stage.times.taus.clear();
                stage.times.ntaus = 0;
            }
            SCOPED_TRACE(what);
            const Outcome outcome = stage.outcome(false);
            const bool lacks_axis = what == "no tau axis" && !beam.exact;
            EXPECT_EQ(outcome.status, lacks_axis ? kavro::status_failure : kavro::status_success);
            EXPECT_TRUE(outcome.shocked || kind < 2 || !what.starts_with("huge amplitude"));
            // A field without a slope has no shock ahead, whatever the sign of the amplitude.
            EXPECT_FALSE(outcome.shocked && what == "no slope");
            EXPECT_TRUE(
                std::ranges::all_of(stage.progress, [](double p) { return p >= 0 && p <= 1; }));
            EXPECT_EQ(stage.harmonics(), kavro::status_success);
            EXPECT_EQ(std::ranges::count(stage.real, KzkStage::unwritten), 0);
            EXPECT_FALSE(what == "planes behind" && stage.magnitude(0, 12, 1) < 1e4);
            for (int k = 0; k < stage.grid.nz; ++k) {
                EXPECT_FALSE(stage.grid.zcoords[k] < 0.0 && stage.magnitude(0, k, 1) != 0.0);
            }
        }
    }
}

// A beam that soon overtakes itself: one more step, a message, silence beyond. Its
// harmonics grow without bound, of which one warning tells.
TEST_F(KzkGuards, AShockIsToldOfInTextAndOutcome) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        KzkStage calm(beam);
        EXPECT_FALSE(calm.outcome(false).shocked);
        EXPECT_FALSE(calm.outcome(true).shocked);
        EXPECT_TRUE(calm.warnings.empty());

        beam.amplitude = 200.0;
        beam.zmin = 1e-4;
        KzkStage stage(beam);
        const Outcome shock = stage.outcome(false);
        EXPECT_EQ(shock.status, kavro::status_success);
        EXPECT_TRUE(shock.shocked);
        EXPECT_EQ(shock.warned, shell);
        EXPECT_EQ(shock.where.plane, 1);
        EXPECT_NEAR(shock.where.z, stage.progress.end()[-2] * beam.zmax, 1e-8);
        if (shell) {
            EXPECT_EQ(stage.printed, "");
            EXPECT_EQ(stage.warnings, std::vector<std::string>{"dSigma is too small."});
        } else {
            EXPECT_TRUE(stage.printed.ends_with("\ntoo small dSigma")) << stage.printed;
            EXPECT_TRUE(stage.warnings.empty());
        }
        EXPECT_FALSE(all_zero(stage.series(0, 0)));
        EXPECT_TRUE(all_zero(stage.series(0, 1)));

        stage.element->set_amplitude(1e12);
        const Outcome growth = stage.outcome(true);
        EXPECT_EQ(growth.status, kavro::status_success);
        EXPECT_TRUE(growth.shocked && growth.warned);
        int plane = 0;
        while (plane < beam.nz && std::isfinite(stage.magnitude(0, plane, 1))) {
            ++plane;
        }
        EXPECT_EQ(growth.where.plane, plane);
        EXPECT_NEAR(growth.where.z, stage.grid.zcoords[plane], 1e-8);
        ASSERT_EQ(stage.warnings.size(), 1U);
        EXPECT_NE(stage.warnings[0].find("grew without bound"), std::string::npos);
    }
}

// Planes closer than a step: the first is recorded, the others are lost; an exact element has them
// all, the last one included, which rounding keeps from the march otherwise.
TEST_F(KzkGuards, SkippedPlanesAreRecordedByAnExactElement) {
    KzkBeam beam = small_beam();
    const double zR = std::numbers::pi * beam.f0 * beam.radius * beam.radius / beam.speed;
    beam.step = 0.125f;
    beam.zmin = 0.25 * zR;
    beam.zmax = 0.999 * zR;
    beam.nz = 31;
    for (const bool exact : {false, true}) {
        beam.exact = exact;
        KzkStage stage(beam);
        ASSERT_EQ(stage.transient(), kavro::status_success);
        int recorded = 0;
        for (int k = 0; k < beam.nz; ++k) {
            recorded += all_zero(stage.series(0, k)) ? 0 : 1;
        }
        EXPECT_EQ(recorded, exact ? 31 : 6);
    }
}

// A march's field is symmetric about the axis: an exact element's points may lie anywhere, the
// reference takes them all to be in the plane y = 0 and the first of each plane to be on the axis.
TEST_F(KzkGuards, DistanceFromTheAxisIsTrueWhereExact) {
    const auto field = [](bool exact, double xmin, double xmax, double y) {
        KzkBeam beam;
        beam.exact = exact;
        beam.nx = 2;
        beam.xmin = xmin;
        beam.xmax = xmax;
        KzkStage stage(beam);
        stage.grid.ymin = stage.grid.ymax = y;
        stage.both();
        return stage.everything();
    };
    EXPECT_EQ(field(true, 3e-3, 5e-3, 0.0), field(true, 0.0, 4e-3, 3e-3));
    EXPECT_EQ(field(false, 3e-3, 4e-3, 0.0), field(false, 0.0, 4e-3, 3e-3));
    EXPECT_EQ(field(true, 3e-3, 4e-3, 0.0) == field(true, 0.0, 4e-3, 0.0), false);
}

// Only nx times nz points are written, whatever ny is.
TEST_F(KzkGuards, OnlyThePlaneIsWritten) {
    KzkStage flat(small_beam());
    KzkStage deep(small_beam());
    deep.grid.ny = 3;
    deep.grid.npoints *= 3;
    const std::size_t plane = flat.pressure.size();
    deep.pressure.resize(3 * plane, KzkStage::unwritten);
    deep.element->transient_pressure = deep.pressure.data();
    ASSERT_EQ(flat.transient(), kavro::status_success);
    EXPECT_EQ(flat.printed.rfind("    - Knonlinearity: ", 0), 0u);
    EXPECT_EQ(flat.progress.back(), 1.0);
    EXPECT_TRUE(std::ranges::is_sorted(flat.progress));
    ASSERT_EQ(deep.transient(), kavro::status_success);
    flat.pressure.resize(3 * plane, KzkStage::unwritten);
    EXPECT_EQ(flat.pressure == deep.pressure, true);
}

TEST_F(KzkGuards, InterruptEndsAMarchBetweenSteps) {
    KzkStage stage(small_beam());
    stage.interrupted = [&stage] { return stage.asked == 3; };
    EXPECT_EQ(stage.transient(), kavro::status_interrupted);
    EXPECT_EQ(stage.asked, 3);
    EXPECT_EQ(stage.harmonics(), kavro::status_interrupted);
    EXPECT_EQ(stage.asked, 3);
}

// One step of this beam would take hours.
TEST_F(KzkGuards, InterruptEndsALongStepOfTheHarmonicMarch) {
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
        stage.interrupted = [&stage] { return stage.asked == 20; };
        kavro::set_thread_count(threads);
        EXPECT_EQ(stage.harmonics(), kavro::status_interrupted);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    }
}

// Whatever there is very much of.
TEST_F(KzkGuards, ExactMarchesLookAgainAtOnce) {
    kavro::set_thread_count(1);
    const std::function<void(KzkBeam&)> enlarged[] = {
        [](KzkBeam& b) { b.nz = 2000000; }, [](KzkBeam& b) { b.nx = 3000000; },
        [](KzkBeam& b) { b.deltat = 2e-12; }, [](KzkBeam& b) { b.points_per_radius = 300000.0f; },
        [](KzkBeam& b) { b.harmonics = 200000; }};
    for (const auto& enlarge : enlarged) {
        for (const bool harmonic : {false, true}) {
            KzkBeam beam = small_beam();
            beam.exact = true;
            beam.zmin = 0.0;
            beam.nx = 1;
            beam.nz = 2;
            beam.deltat = 3e-6;
            enlarge(beam);
            KzkStage stage(beam);
            const std::clock_t begin = std::clock();
            std::clock_t last = begin;
            std::clock_t longest = 0;
            stage.interrupted = [&] {
                const std::clock_t now = std::clock();
                longest = std::max(longest, now - std::exchange(last, now));
                return now - begin > CLOCKS_PER_SEC / 2;
            };
            stage.outcome(harmonic);
            stage.interrupted();
            EXPECT_LT(longest, 3 * CLOCKS_PER_SEC / 10);
        }
    }
}

std::vector<double> both_marches(const KzkBeam& beam) {
    KzkStage stage(beam);
    stage.both();
    return stage.everything();
}

TEST_F(KzkGuards, VectorsDoNotChangeABit) {
    KzkBeam beam = small_beam();
    beam.step = 0.02f;
    beam.growth = 0.02f;
    beam.harmonics = 21;
    struct Kind {
        bool exact;
        float scheme, amplitude;
    };
    for (const Kind& kind :
         {Kind{true, 1.0f, 0.2f}, Kind{false, 1.0f, 1.0f}, Kind{false, 0.0f, 1.0f}}) {
        beam.exact = kind.exact;
        beam.scheme = kind.scheme;
        beam.amplitude = static_cast<double>(kind.amplitude);
        beam.zmax = kind.exact ? 13e-3 : 61e-3;
        beam.tmax = kind.exact ? 12e-6 : 48e-6;
        const std::vector<double> best = both_marches(beam);
        for_every_vector_target([&] { EXPECT_EQ(both_marches(beam) == best, true); });
    }
}

// Large enough that a step is shared among two threads.
TEST_F(KzkGuards, ThreadsDoNotChangeABit) {
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
    for (const bool exact : {true, false}) {
        beam.exact = exact;
        beam.points_per_radius = exact ? 60.0f : 121.0f;
        kavro::set_thread_count(1);
        const std::vector<double> alone = both_marches(beam);
        kavro::set_thread_count(3);
        EXPECT_EQ(both_marches(beam) == alone, true);
    }
}

TEST_F(KzkGuards, TauAxisIsMadeFromTheTimeAxis) {
    KzkStage stage(small_beam());
    const double omega0 = 2.0 * std::numbers::pi * stage.beam.f0;
    const double span = stage.beam.tmax - stage.beam.tmin - stage.beam.zmax / stage.beam.speed;
    const int steps = static_cast<int>(std::lround(span / stage.beam.deltat));
    ASSERT_EQ(stage.times.ntaus, steps + 1);
    ASSERT_EQ(stage.times.taus.size(), static_cast<std::size_t>(steps + 1));
    EXPECT_NEAR(stage.times.taumin(), omega0 * stage.beam.tmin, 1e-5);
    EXPECT_NEAR(stage.times.taumax(), omega0 * (stage.beam.tmin + span), 1e-3);
    EXPECT_EQ(stage.times.tau_index_value(7), 7 * stage.times.deltatau() + stage.times.taumin());

    struct Axis {
        double zmax, f0, deltat;
    };
    const std::vector<double> before = stage.times.taus;
    for (const Axis& axis : {Axis{1.0, 1e6, 5e-8},  // the wave never gets there
                             Axis{0.01, 0.0, 5e-8}, Axis{0.01, nan_value, 5e-8},
                             Axis{0.01, 1e6, 0.0}, Axis{0.01, 1e6, 1e-300}}) {
        stage.grid.zmax = axis.zmax;
        stage.waveform->f0 = axis.f0;
        stage.times._deltat = axis.deltat;
        EXPECT_FALSE(set_kzk_tau_axis(stage.times, *stage.waveform, stage.medium, stage.grid));
    }
    EXPECT_EQ(stage.times.taus, before);
}

}  // namespace
}  // namespace kavro_test
