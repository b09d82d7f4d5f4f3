// What every operation of every shape keeps to, whatever it computes.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::Operation;
using kavro::OperationKind;
using kavro::Transducer;
using kavro::TransducerStatus;

constexpr double infinity = std::numeric_limits<double>::infinity();

bool is_called(const Operation& operation, const std::set<std::string>& names) {
    return names.contains(operation.name);
}

TEST(Contract, ResultsAreAddedAndMarchesStored) {
    for_everything_offered([](const Operation& operation, const Source& source) {
        const Tank tank = tank_for(operation, {source});
        const Values fresh = measured(tank, operation);
        const double former = 0.3 * peak_of(fresh);
        ASSERT_GT(former, 0.0);
        Measurement used(tank, operation, former);
        EXPECT_EQ(used.one_by_one(), kavro::status_success);
        Values expected = fresh;
        for (std::size_t i = 0; i < expected.size() && is_field(operation); ++i) {
            // A march leaves alone what it has no wave for.
            const bool left = fresh[i] == 0.0 && used.output[i] == former;
            expected[i] += !stores(operation) || left ? former : 0.0;
        }
        EXPECT_TRUE(close_to(used.output, expected, 1e-15));
    });
}

// The same bits again, on any number of threads and with any vectors, and not a word about it.
TEST_F(Variants, OfOneOperationDoNotDiffer) {
    for_everything_offered([](const Operation& operation, Source source) {
        const Recorder console;
        source.euler = {0.1, 0.2, 0.3};
        const Tank tank = crowded_tank(operation, {source},
                                       operation.kind == OperationKind::continuous_wave ? 600 : 70);
        const Values expected = measured(tank, operation);
        for (const int threads : {1, 2, 5}) {
            kavro::set_thread_count(threads);
            EXPECT_TRUE(same_bits(measured(tank, operation), expected)) << threads << " threads";
        }
        for_every_vector_target(
            [&] { EXPECT_TRUE(same_bits(measured(tank, operation), expected)); });
        EXPECT_TRUE(console.is_silent() || stores(operation));
    });
}

// Operations find the element's rotation themselves, and the abscissas for their own interval: a
// rectangle's reference behaviour alone reads the rule as it stands. An exact element leaves it so.
TEST(Contract, FormerSolversDoNotMatter) {
    for_everything_offered([](const Operation& operation, Source source) {
        source.euler = {0.1, 0.2, 0.3};
        Tank tank = tank_for(operation, {source});
        const Values expected = measured(tank, operation);
        if (source.shape != "rect" || source.exact) {
            tank.rule.midpoint_rule(-7, 9);
        }
        Measurement used(tank, operation);
        used.owned[0]->rotation_matrix.fill(7.0);
        EXPECT_EQ(used.one_by_one(), kavro::status_success);
        EXPECT_TRUE(same_bits(used.output, expected));
        if (source.exact) {
            EXPECT_EQ(used.tank.rule.abscissas, tank.rule.abscissas);
        }
        if (source.shape == "circ" && !source.exact && is_called(operation, {"fnm_tsd"})) {
            Tank half_a_turn;  // what the disc leaves the rule on
            half_a_turn.rule.gauss_quadrature_cylindrical();
            EXPECT_EQ(used.tank.rule.abscissas, half_a_turn.rule.abscissas);
        }
    });
}

// Points that make no sense neither; behind the face most waves do not come.
TEST(Contract, APointKnowsNothingOfTheOthers) {
    const double none = std::nan("");
    for_everything_offered([&](const Operation& operation, const Source& source) {
        if (!is_field(operation) || stores(operation)) {
            return;
        }
        Tank tank = tank_for(operation, {source});
        const auto sane = tank.points();
        auto points = sane;
        points.insert(points.begin() + 3, {{none, 0, 5e-3},
                                           {0, none, 5e-3},
                                           {0, 0, none},
                                           {infinity, 0, 1},
                                           {0, -infinity, 5e-3},
                                           {0, 0, infinity},
                                           {0, 0, -infinity},
                                           {1e200, 1e200, 1},
                                           {1e-200, 0, 1e-3}});
        tank.set_points(points);
        const Values together = measured(tank, operation);
        for (std::size_t i = 0; i < sane.size(); ++i) {
            Tank alone = tank;
            alone.set_points({sane[i]});
            const Values found = at_point(together, i < 3 ? i : i + 9, points.size());
            EXPECT_TRUE(same_bits(found, measured(alone, operation))) << "point " << i;
        }
        const std::set<std::string> everywhere = {"impulse_response", "fnm_transient_behind_source",
                                                  "fnm_tsd_behind_source"};
        EXPECT_GT(peak_of(at_point(together, 0, points.size())), 0.0);
        EXPECT_EQ(peak_of(at_point(together, points.size() - 1, points.size())) > 0.0,
                  is_called(operation, everywhere));
    });
}

TEST(Contract, AmplitudesAboveTheThresholdCount) {
    for_everything_offered([](const Operation& operation, Source source) {
        if (!is_field(operation)) {
            return;
        }
        const bool every_one_counts =
            stores(operation) || is_called(operation, {"fnm_cw_sse"}) ||
            (is_called(operation, {"impulse_response"}) && source.shape != "rect");
        for (const double amplitude : {0.0, 1e-10, -1e-10, 1.0000001e-10, -1.0000001e-10}) {
            source.amplitude = amplitude;
            EXPECT_EQ(peak_of(measured(tank_for(operation, {source}), operation)) > 0.0,
                      every_one_counts ? amplitude != 0.0 : std::fabs(amplitude) > 1e-10)
                << amplitude;
        }
    });
}

TEST(Contract, AmplitudesScaleAndDelaysShift) {
    for_everything_offered([](const Operation& operation, Source source) {
        if (operation.kind != OperationKind::transient) {
            return;
        }
        Tank tank = tank_for(operation, {source});
        if (operation.waveform_demand == kavro::WaveformDemand::none) {
            tank.waveform = std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
        }
        Values expected = measured(tank, operation);
        const auto samples = static_cast<std::ptrdiff_t>(16 * tank.points().size());
        tank.sources[0].amplitude = -2.5;
        tank.sources[0].time_delay = 16.0 / 32e6;
        Values delayed = measured(tank, operation);
        delayed.erase(delayed.begin(), delayed.begin() + samples);
        expected.erase(expected.end() - samples, expected.end());
        for (double& value : expected) {
            value *= -2.5;
        }
        EXPECT_TRUE(close_to(delayed, expected, 1e-5));
    });
}

// ---- what is missing

struct Omission {
    const char* what;
    std::function<bool(const Operation&)> is_needed;
    void (*omit)(Transducer& element);
};

const Omission omissions[] = {
    {"points", [](const Operation&) { return true; },
     [](Transducer& e) { e.coordinate_grid = nullptr; }},
    {"medium", [](const Operation&) { return true; }, [](Transducer& e) { e.medium = nullptr; }},
    {"times", [](const Operation& o) { return o.uses(kavro::input_time); },
     [](Transducer& e) { e.time_samples = nullptr; }},
    {"waveform", [](const Operation& o) { return o.uses(kavro::input_excitation); },
     [](Transducer& e) { e.excitation = nullptr; }},
    {"rule",  // which the far field does not read
     [](const Operation& o) {
         return o.uses(kavro::input_quadrature) || stores(o) ||
                o.kind == OperationKind::continuous_wave;
     },
     [](Transducer& e) { e.integral = nullptr; }},
    {"real output", [](const Operation& o) { return is_field(o) && !o.uses(kavro::input_time); },
     [](Transducer& e) { e.pressure_real = nullptr; }},
    {"imaginary output",
     [](const Operation& o) { return is_field(o) && !o.uses(kavro::input_time); },
     [](Transducer& e) { e.pressure_imag = nullptr; }},
    {"transient output", [](const Operation& o) { return o.uses(kavro::input_time); },
     [](Transducer& e) { e.transient_pressure = nullptr; }}};

// And nothing else is read.
TEST(Contract, MissingRecordsAreAFailureThatTouchesNothing) {
    for_everything_offered([](const Operation& operation, const Source& source) {
        const Recorder console;
        const Tank tank = tank_for(operation, {source});
        Measurement sparing(tank, operation);
        for (const auto& [what, is_needed, omit] : omissions) {
            if (!is_needed(operation)) {
                omit(*sparing.owned[0]);
                continue;
            }
            Measurement bare(tank, operation, 5.0);
            omit(*bare.owned[0]);
            EXPECT_EQ(bare.one_by_one(), kavro::status_failure) << "without " << what;
            EXPECT_EQ(bare.output, Values(bare.output.size(), 5.0)) << "without " << what;
            EXPECT_EQ(bare.owned[0]->impulse_end_time, -1.0);
        }
        if (operation.waveform_demand == kavro::WaveformDemand::sampled) {
            kavro::HanningPulse analytic(1e6, 2e-6, 0);
            Measurement undecomposed(tank, operation, 5.0);
            undecomposed.owned[0]->excitation = &analytic;
            EXPECT_EQ(undecomposed.one_by_one(), kavro::status_not_implemented);
            EXPECT_EQ(undecomposed.output, Values(undecomposed.output.size(), 5.0));
        }
        EXPECT_TRUE(console.is_silent());
        EXPECT_EQ(sparing.one_by_one(), kavro::status_success);
        EXPECT_TRUE(same_bits(sparing.output, measured(tank, operation)));
    });
}

TEST(Contract, EmptyRecordsGiveSilence) {
    for_everything_offered([](const Operation& operation, Source source) {
        if (!is_field(operation) || stores(operation)) {
            return;
        }
        const Tank tank = tank_for(operation, {source});
        Tank unsized = tank, timeless = tank, pointless = tank;
        unsized.rule = {};
        timeless.times = {};
        pointless.set_points({});
        // One sizes the rule itself, one has the jumps of a waveform in closed form.
        if (operation.uses(kavro::input_quadrature) && !is_called(operation, {"radiator_cw"}) &&
            !(is_called(operation, {"rayleigh_transient"}) && source.exact)) {
            EXPECT_EQ(peak_of(measured(unsized, operation)), 0.0);
        }
        if (operation.uses(kavro::input_time)) {
            measured(timeless, operation);
        }
        measured(pointless, operation);
    });
}

// ---- an early end

// Work for one tile of the calling thread, and after how many questions the console stops it.
struct Strain {
    const char* what;
    bool (*is_of)(const Operation& operation, const Source& source);
    void (*put_on)(Tank& tank);
    std::vector<int> patience;
};

void set_long_waveform(Tank& tank, int ndiv, double deltat, int ntimes) {
    tank.set_order(ndiv);
    tank.set_axis(deltat, 3e-6, ntimes);
    static const Waveform of_many_terms = sampled(noise(20000, 3), 1e-10, 2e-6, 0.0);
    tank.waveform = of_many_terms;
}

const Strain strains[] = {
    {"a rule of n abscissas takes n^2 steps",
     [](const Operation& o, const Source& s) {
         return o.uses(kavro::input_quadrature) && s.shape != "rect";
     },
     [](Tank& tank) {
         tank.rule = {};
         tank.rule.allocate_memory(3000);
     },
     {0, 1}},
    {"an integral over the face",
     [](const Operation& o, const Source&) {
         return is_called(
             o, {"rayleigh_cw", "rayleigh_cw_sse", "rayleigh_cw_apodized", "radiator_cw"});
     },
     [](Tank& tank) { tank.set_order(2000); },
     {0, 1}},
    {"many terms, in the set-up first",
     [](const Operation& o, const Source&) { return o.kind == OperationKind::transient; },
     [](Tank& tank) { set_long_waveform(tank, 100, 5e-8, 60); },
     {0, 8}},
    {"many terms for few abscissas, in the vector kernels",
     [](const Operation& o, const Source& s) {
         return is_called(o, {"fnm_tsd"}) && s.shape == "circ";
     },
     [](Tank& tank) { set_long_waveform(tank, 4, 1e-8, 200); },
     {19}},
    {"a long series, part by part",
     [](const Operation& o, const Source&) { return is_called(o, {"impulse_response"}); },
     [](Tank& tank) { tank.set_axis(1e-12, 3e-6, 2'000'000); },
     {0, 2}},
    {"a march", [](const Operation& o, const Source&) { return stores(o); }, [](Tank&) {}, {0, 5}}};

// A user who wants to stop is heard within the tile: the work ends with the question.
TEST_F(Variants, AnInterruptEndsEveryWorkWithinATile) {
    kavro::set_thread_count(1);
    for_everything_offered([](const Operation& operation, const Source& source) {
        for (const auto& [what, is_of, put_on, patience] : strains) {
            if (!is_of(operation, source)) {
                continue;
            }
            Tank tank = tank_for(operation, {source});
            if (!stores(operation)) {
                tank.set_points({{1e-3, 0, 5e-3}});
            }
            put_on(tank);
            for (const int questions : patience) {
                Measurement measurement(tank, operation);
                int asked = 0;
                const kavro::console::Connection impatient(
                    {{}, {}, {}, [&] { return ++asked > questions; }});
                EXPECT_EQ(measurement.one_by_one(), kavro::status_interrupted) << what;
                EXPECT_EQ(asked, questions + 1) << what;
                if (operation.kind <= OperationKind::transient) {
                    EXPECT_EQ(peak_of(measurement.output), 0.0) << what;
                }
            }
        }
    });
}

// Any allocation may fail; what works without the memory does its work.
TEST_F(Variants, MemoryThatEndsIsAStatus) {
    kavro::set_thread_count(1);
    for_everything_offered([](const Operation& operation, const Source& source) {
        const Tank tank = tank_for(operation, {source});
        const Values expected = measured(tank, operation);
        // Every one of the first, then ever fewer: some works have thousands.
        for (long n = 1;; n += 1 + n / (stores(operation) ? 4 : 40)) {
            ASSERT_LT(n, 100000);
            Measurement measurement(tank, operation);
            Transducer& element = *measurement.owned[0];
            fail_allocation(n);
            const TransducerStatus status = (element.*operation.solve)();
            const bool failed = fail_allocation(0) <= 0;
            if (status == kavro::status_success && is_field(operation)) {
                EXPECT_TRUE(same_bits(measurement.output, expected)) << "allocation " << n;
            } else if (is_field(operation)) {
                EXPECT_EQ(status, kavro::status_out_of_memory) << "allocation " << n;
            }
            if (!failed) {
                EXPECT_EQ(status, kavro::status_success);
                break;
            }
        }
    });
}

// ---- arrays

// Turned and delayed elements of every shape that offers the operation, one of them silent and some
// driven by a waveform of their own.
std::vector<Source> mixed_array(const Operation& operation) {
    std::vector<Source> sources;
    const Waveform own = sampled(noise(12, 53), 1e-7, 1.2e-6, 0.0);
    for (int i = 0; i < 3; ++i) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            if (implements(operation, shape)) {
                const auto k = static_cast<double>(sources.size());
                sources.push_back({.shape = shape.identifier,
                                   .center = {1e-3 * k, -5e-4 * k, 0},
                                   .euler = {0.1 * k, 0, 0.2 * k},
                                   .amplitude = i == 1 && k < 4 ? 0.0 : 1.0 - 0.3 * k,
                                   .phase = 0.3 * k,
                                   .time_delay = 1e-7 * (i % 2),
                                   .exact = i == 2,
                                   .waveform = i == 1 ? own : Waveform()});
            }
        }
    }
    return sources;
}

TEST(Contract, AnArrayIsItsElementsOneByOneToTheLastBit) {
    for (const Operation& operation : kavro::operations()) {
        SCOPED_TRACE(operation.name);
        const Tank tank = crowded_tank(operation, mixed_array(operation), 100);
        ASSERT_GE(tank.sources.size(), 3u);
        for (const double former : {0.0, 0.125}) {
            Measurement apart(tank, operation, former), together(tank, operation, former);
            EXPECT_EQ(apart.one_by_one(), kavro::status_success);
            EXPECT_EQ(together.together(), kavro::status_success);
            EXPECT_TRUE(same_bits(together.output, apart.output));
        }
        Measurement apart(tank, operation), together(tank, operation);
        EXPECT_EQ(apart.one_by_one(), kavro::status_success);
        EXPECT_EQ(together.together(kavro::Output::all_zero), kavro::status_success);
        EXPECT_TRUE(same_bits(together.output, apart.output)) << "onto zeros";

        Measurement some(tank, operation), incomplete(tank, operation);
        some.owned[1]->medium = incomplete.owned[1]->medium = nullptr;
        EXPECT_EQ(some.one_by_one(), kavro::status_failure);
        EXPECT_EQ(incomplete.together(), kavro::status_failure);
        EXPECT_TRUE(same_bits(incomplete.output, some.output));
        const std::vector<Transducer*> nobody = {nullptr};
        EXPECT_EQ(operation.solve_array(nobody, kavro::Output::accumulate), kavro::status_failure);
        EXPECT_EQ(operation.solve_array({}, kavro::Output::accumulate), kavro::status_success);
    }
}

// Parts of a series join without a seam.
TEST(Contract, APartOfALongSeriesIsTheSeries) {
    const Operation& operation = operation_named("impulse_response");
    for (const kavro::Shape& shape : kavro::shapes()) {
        if (!implements(operation, shape)) {
            continue;
        }
        Tank tank = tank_for(operation, {{.shape = shape.identifier}});
        tank.set_points({{1e-3, 0, 4e-3}});
        tank.set_axis(1e-10, 2e-6, 40'000);
        const Values whole = measured(tank, operation);
        EXPECT_GT(peak_of(whole), 0.0);
        for (const std::ptrdiff_t first : {0, 6300, 6340, 13'050, 31'000}) {
            Tank part = tank;
            part.set_list(
                {tank.times.times.begin() + first, tank.times.times.begin() + first + 100});
            EXPECT_TRUE(same_bits(measured(part, operation),
                                  {whole.begin() + first, whole.begin() + first + 100}));
        }
    }
}

// ---- the tables

const std::set<std::string> of_every_shape = {
    "fnm_cw",    "rayleigh_cw", "impulse_begin_and_end_times", "fnm_transient", "fnm_spectral",
    "fnm_fdtsd", "fnm_tsd"};

const std::map<std::string, std::set<std::string>> offered_besides = {
    {"circ",
     {"fnm_cw_apodized", "fnm_cw_sse", "rayleigh_cw_apodized", "rayleigh_cw_sse", "fnm_tsd_sse",
      "rayleigh_transient", "kzk_transient", "kzk_cw", "impulse_response",
      "fnm_tsd_low_precision"}},
    {"ring", {"impulse_response", "fnm_tsd_low_precision"}},
    {"rect",
     {"farfield_cw", "fnm_cw_single", "fnm_cw_sse", "fnm_cw_sse2", "radiator_cw", "rayleigh_cw_sse",
      "impulse_response", "fnm_tsd_low_precision"}},
    {"shel",
     {"fnm_cw_sse", "rayleigh_cw_sse", "fnm_transient_behind_source", "fnm_tsd_behind_source",
      "kzk_transient", "kzk_cw", "impulse_response", "fnm_tsd_low_precision"}},
    {"sph ring", {"kzk_transient", "kzk_cw", "impulse_response", "fnm_tsd_low_precision"}},
    {"poly", {"fnm_tsd_low_precision"}}};

TEST(Contract, WhatIsNotOfferedTouchesNothing) {
    const Recorder console;
    ASSERT_EQ(kavro::shapes().size(), offered_besides.size());
    for (const Operation& operation : kavro::operations()) {
        for (const auto& [shape, besides] : offered_besides) {
            const bool offered =
                of_every_shape.contains(operation.name) || is_called(operation, besides);
            EXPECT_EQ(implements(operation, *kavro::shape_of(shape)), offered)
                << operation.name << " of a " << shape;
            Measurement unsolved(tank_for(operation, {{.shape = shape}}), operation, 5.0);
            if (!offered) {
                EXPECT_EQ(unsolved.one_by_one(), kavro::status_not_implemented);
                EXPECT_EQ(unsolved.output, Values(unsolved.output.size(), 5.0));
            }
        }
    }
    EXPECT_EQ(kavro::SphericalTransducer(1, 2).farfield_cw_lossless(),
              kavro::status_not_implemented);
    EXPECT_TRUE(console.is_silent());
}

TEST(Contract, TablesFindByNameAndAgreeWithThemselves) {
    EXPECT_EQ(kavro::operations().size(), 23u);
    for (const Operation& operation : kavro::operations()) {
        EXPECT_EQ(kavro::operation_of(operation.name), &operation);
        EXPECT_EQ(operation.default_ndiv % operation.ndiv_multiple, 0) << operation.name;
        EXPECT_EQ(operation.default_ndiv > 0, operation.uses(kavro::input_quadrature));
    }
    EXPECT_EQ(kavro::operation_of("fnm"), nullptr);
    EXPECT_EQ(kavro::shape_of("disc"), nullptr);
}

}  // namespace
}  // namespace kavro_test
