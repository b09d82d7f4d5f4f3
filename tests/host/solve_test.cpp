// The door to all operations: its results are those of direct library calls, in the form that the
// host expects.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "core/console.h"
#include "core/medium.h"
#include "core/threads.h"
#include "excitation/hanning_pulse.h"
#include "module_call.h"
#include "transducers/kzk/retarded_time.h"

namespace host {
namespace {

using kavro::Operation;
using kavro::OperationKind;

bool is_lossless(const Operation& operation) {
    return (operation.kind == OperationKind::transient &&
            operation.method != kavro::Method::fnm_spectral) ||
           operation.kind == OperationKind::impulse_response;
}

bool is_complex(const Operation& operation) {
    return operation.kind == OperationKind::continuous_wave ||
           operation.kind == OperationKind::kzk_cw;
}

// What direct calls give for the scene of `Call` with these elements, of `elements_with`.
std::vector<double> direct_results(const Operation& operation, const Value& elements, bool exact) {
    const bool march = operation.uses(kavro::input_kzk);
    const bool harmonic = operation.kind == OperationKind::kzk_cw;
    const std::size_t count = 6 * (harmonic ? 2 : is_complex(operation) ? 1 : 41);
    std::vector<double> sum(is_complex(operation) ? 2 * count : count), begins, ends;
    for (std::size_t i = 0; i < elements->count(); ++i) {
        kavro::CoordinateGrid grid;
        kavro::TimeSamples times;
        kavro::Medium medium;
        kavro::NumericalIntegration rule;
        kavro::HanningPulse pulse(1e6, 2e-6, 0);
        const std::vector<double> signal{0, 1, 2, 1, 0, -1, -2, -1};
        kavro::ExcitationFunction sampled(signal, 1e-7, 2e-6, 0);
        grid.RegularCoordinateGrid(-1e-3, 1e-3, 0, 0, 1e-3, 2e-3, 1e-3, 1e-3, 1e-3);
        times.generatetimevectorfromminmaxdeltat(1e-7, 0, 4e-6);
        medium._soundspeed = 1500;
        medium._rho_density = 1000;
        medium._f0 = 1e6;
        medium._dBcmMHz = 0.5;
        medium._beta = 3.5;
        pulse.set_exact(exact);
        sampled.set_exact(exact);
        rule.allocate_memory(std::max(operation.default_ndiv, 1));
        rule.gauss_quadrature();
        if (harmonic) {
            rule.cw_set_kzk_parameters(3, 10, 0.01f, 2, 0);
        } else if (march) {
            rule.set_kzk_parameters(3, 10, 0.01f, 1, 1);
            kavro::set_kzk_tau_axis(times, pulse, medium, grid);
        }
        const auto number = [&](const char* field) { return values(get(elements, field, i))[0]; };
        const kavro::Shape& shape = *kavro::shape_of(characters(get(elements, "shape", i)));
        std::vector<double> sizes;
        for (const char* name : shape.sizes) {
            sizes.push_back(number(name));
        }
        if (shape.corners != nullptr) {
            sizes = values(get(elements, shape.corners, i));
        }
        const std::unique_ptr<kavro::Transducer> element = shape.make(sizes);
        element->set_center(values(get(elements, "center", i)).data());
        element->set_euler(values(get(elements, "euler", i)).data());
        element->set_amplitude(number("amplitude"));
        element->set_phase(number("phase"));
        element->set_time_delay(number("time_delay"));
        element->set_global_coordinate_grid(&grid);
        element->set_time_vector(&times);
        element->set_medium(&medium);
        element->set_integral_pointer(&rule);
        element->set_exact(exact);
        element->set_piston_apodization_index(3);
        element->excitation = &pulse;
        if (operation.waveform_demand == kavro::WaveformDemand::sampled) {
            element->excitation = &sampled;
        }
        // Elements add to what is there, or (the marches) store.
        std::vector<double> own(sum.size());
        double* results = march ? own.data() : sum.data();
        element->set_transient_pressure_pointer(results);
        if (is_complex(operation)) {
            element->set_complex_pressure_pointers(results, results + count);
        }
        const kavro::console::Connection quiet({.print = [](const char*) {}});
        EXPECT_EQ(((*element).*operation.solve)(), kavro::status_success);
        std::transform(sum.begin(), sum.end(), own.begin(), sum.begin(), std::plus<>());
        begins.push_back(element->impulse_begin_time);
        ends.push_back(element->impulse_end_time);
    }
    begins.insert(begins.end(), ends.begin(), ends.end());
    return operation.kind == OperationKind::arrival_times ? begins : sum;
}

TEST(Solve, every_method_of_every_shape_equals_the_direct_calls) {
    for (const Operation& operation : kavro::operations()) {
        SCOPED_TRACE(operation.name);
        Call call(operation);
        call.set(
            "medium.attenuationdBcmMHz = 0.5, medium.nonlinearityparameter = 3.5, "
            "medium.powerlawexponent = 1");
        if (operation.uses(kavro::input_apodization)) {
            call.set("apodization = 'quadratic'");
        }
        if (operation.uses(kavro::input_quadrature)) {
            call.set("ndiv = " + std::to_string(operation.default_ndiv));
        }
        const Value elements = elements_with(operation);
        for (const char* exactness : {"", "exact = true", "exact = false"}) {
            const bool exact = exactness != std::string("exact = false");  // also unless told
            const std::vector<double> results =
                pressure(call.set("elements", elements).set(exactness));
            EXPECT_EQ(results, direct_results(operation, elements, exact));
            const auto middle = results.begin() + static_cast<std::ptrdiff_t>(results.size() / 2);
            EXPECT_GT(largest({results.begin(), middle}), 0.0);
            EXPECT_GT(largest({middle, results.end()}), 0.0);  // the imaginary parts
        }
    }
}

TEST(Solve, results_have_the_form_of_their_kind) {
    struct Form {
        OperationKind kind;
        Sizes of_grid, of_points;
    };
    for (const Operation& operation : kavro::operations()) {
        SCOPED_TRACE(operation.name);
        const Value elements = elements_with(operation);
        const std::vector<Form> forms{
            {OperationKind::continuous_wave, {3, 1, 2}, {4, 1}},
            {OperationKind::transient, {3, 1, 2, 41}, {4, 41}},
            {OperationKind::impulse_response, {3, 1, 2, 41}, {4, 41}},
            {OperationKind::arrival_times, {elements->count(), 2}, {elements->count(), 2}},
            {OperationKind::kzk_transient, {3, 2, 41}, {}},
            {OperationKind::kzk_cw, {3, 2, 2}, {}}};
        Call call(operation);
        call.set("medium.attenuationdBcmMHz = 0.5, medium.powerlawexponent = 1");
        call.set("elements", elements);
        const Form& form = *std::find_if(forms.begin(), forms.end(), [&](const Form& candidate) {
            return candidate.kind == operation.kind;
        });
        for (const Sizes& sizes : {form.of_grid, form.of_points}) {
            if (!sizes.empty()) {
                const Outcome outcome = run(call);
                ASSERT_EQ(outcome.error, std::nullopt);
                EXPECT_EQ(outcome.output->dims, sizes);
                EXPECT_EQ(outcome.output->is_complex, is_complex(operation));
                // Marches warn of parameters as coarse as these.
                const auto unheeded = std::ranges::count_if(outcome.warnings, [](const auto& text) {
                    return text.find("attenuation") != std::string::npos;
                });
                EXPECT_EQ(unheeded, is_lossless(operation) ? 1 : 0);
            }
            call.set("grid.coordinates = [0 0 1; 0 0 2; 0 0 3; 0 0 4]");
        }
    }
}

TEST(Solve, the_whole_array_at_once_is_the_entry_with_exact_elements) {
    const auto p = [](const char* method, const char* changes) {
        return pressure(Call(method).set("elements", discs(3)).set(changes));
    };
    const std::vector<double> eight = p("fnm_tsd_sse", "ndiv = 8");
    EXPECT_GT(largest(eight), 0.0);
    EXPECT_EQ(p("fnm_tsd_sse", "ndiv = 6"), eight);  // rounded up, as this method needs it
    EXPECT_EQ(p("fnm_tsd_sse", "ndiv = 8, threads = 2"), eight);
    EXPECT_NE(p("fnm_tsd", "ndiv = 6"), p("fnm_tsd", "ndiv = 8"));
}

TEST(Solve, exactness_is_the_options_then_the_waveforms) {
    const auto solved = [](const char* changes) {
        return pressure(
            Call("fnm_tsd").set("ndiv = 8").set("excitation", sampled_excitation()).set(changes));
    };
    const std::vector<double> exact = solved("excitation.decomposition = 'exact'");
    const std::vector<double> reference = solved("excitation.decomposition = 'reference'");
    EXPECT_NE(exact, reference);
    EXPECT_EQ(solved(""), exact);
    EXPECT_EQ(solved("excitation.decomposition = 'reference', exact = true"), exact);
    EXPECT_EQ(solved("excitation.decomposition = 'exact', exact = false"), reference);
    EXPECT_EQ(solved("exact = 0"), reference);
}

TEST(Solve, apodization_is_the_elements_own_or_the_options) {
    const auto p = [](const char* changes) {
        return pressure(Call("fnm_cw_apodized").set(changes));
    };
    const std::vector<double> cosine = p("apodization = 'cosine'");
    EXPECT_NE(cosine, p(""));
    EXPECT_EQ(p("apodization = 1"), cosine);
    EXPECT_EQ(p("apodization = 3, elements.apodization = 'cosine'"), cosine);
    EXPECT_EQ(p("apodization = 'cosine', elements.apodization = []"), cosine);
    EXPECT_EQ(p("apodization = 'cosine', elements.apodization = 0"), p(""));
}

TEST(Solve, lists_of_instants_are_not_printed) {
    const Outcome outcome = run(Call("fnm_tsd").set("time.time_samples = [2e-6 1e-6]"));
    EXPECT_EQ(outcome.printed, "");
    EXPECT_EQ(outcome.output->dims, (Sizes{3, 1, 2, 2}));
}

TEST(Solve, warns_of_a_focus_by_delays_that_a_continuous_wave_does_not_read) {
    const auto warnings = [](const char* method, const char* changes) {
        Call call(method);
        call.set("elements", discs(2)).set("elements.time_delay = 0, elements.phase = 0");
        Value elements = copy_of(call["elements"]);
        set(elements, "time_delay", value("1e-7"), 0);
        set(elements, "phase", value("0"), 0);
        return run(call.set("elements", elements).set(changes)).warnings.size();
    };
    EXPECT_EQ(warnings("fnm_cw", ""), 1u);
    EXPECT_EQ(warnings("fnm_cw", "elements.phase = -0.6"), 0u);
    EXPECT_EQ(warnings("fnm_cw", "elements.time_delay = 1e-7"), 0u);  // all alike
    EXPECT_EQ(warnings("fnm_tsd", ""), 0u);
}

TEST(SolveProgress, a_handle_hears_of_it_in_order_and_in_the_calling_thread) {
    const auto caller = std::this_thread::get_id();
    for (const char* method : {"fnm_tsd", "fnm_tsd_sse", "impulse_begin_and_end_times"}) {
        Call call(method);
        call.set("elements", discs(5));
        std::vector<double> fractions;
        const Outcome outcome = run(call.with("progress", function([&](double fraction) {
                                                  EXPECT_EQ(std::this_thread::get_id(), caller);
                                                  fractions.push_back(fraction);
                                              })));
        EXPECT_EQ(outcome.printed, "");
        ASSERT_FALSE(fractions.empty());
        EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
        EXPECT_GE(fractions.front(), 0.0);
        EXPECT_EQ(fractions.back(), 1.0);
        EXPECT_EQ(std::count(fractions.begin(), fractions.end(), 1.0), 1);
        EXPECT_EQ(values(outcome.output), pressure(call));
    }
}

TEST(SolveProgress, a_failing_handle_ends_the_call) {
    int calls = 0;
    Call call("fnm_tsd");
    call.set("elements", discs(20)).set("progress", function([&](double fraction) {
                                            ++calls;
                                            if (fraction > 0.2) {
                                                throw std::runtime_error("no more of this");
                                            }
                                        }));
    expect_error(call, "The progress function failed: no more of this");  // called twice
    EXPECT_LE(calls, 12);
}

TEST(SolveProgress, a_line_where_it_is_wanted) {
    Call call("impulse_begin_and_end_times");
    call.set("elements", discs(2));
    const std::string line = "\rkavro.solve: 50 % done\rkavro.solve: 100 % done\n";
    EXPECT_EQ(run(call).printed, "");
    EXPECT_EQ(run(call.with("progress = false")).printed, "");
    EXPECT_EQ(run(call.with("progress = true")).printed, line);
    ASSERT_EQ(setenv("KAVRO_PROGRESS", "1", 1), 0);
    EXPECT_EQ(run(call.with("progress = false")).printed, "");
    EXPECT_EQ(run(call).printed, line);
    unsetenv("KAVRO_PROGRESS");
}

// The number of threads is a call's own, however the call ends.
TEST(SolveThreads, are_put_back_and_have_a_limit) {
    const int before = kavro::thread_count();
    const int limit = kavro::thread_limit();
    const int other = before == 3 ? 2 : 3;
    int within = 0;
    Call call("fnm_tsd");
    call.set("progress", function([&](double) { within = kavro::thread_count(); }));
    EXPECT_TRUE(run(call.with("threads", row({1.0 * other}))).warnings.empty());
    EXPECT_EQ(within, other);
    EXPECT_EQ(kavro::thread_count(), before);
    EXPECT_EQ(run(call.with("threads = 10000")).warnings,
              std::vector{"10000 threads were asked for, " + std::to_string(limit) +
                          " are used: four for each processor. More would gain nothing.\n"});
    EXPECT_EQ(within, limit);
    expect_no_harm_of_failing_allocations(Call("fnm_tsd").set("threads = 10000"));
    EXPECT_EQ(kavro::thread_count(), before);
    call.set("progress", function([](double) { throw std::runtime_error("enough"); }));
    expect_error(call.set("threads", row({1.0 * other})), "The progress function failed: enough");
    EXPECT_EQ(kavro::thread_count(), before);
}

}  // namespace
}  // namespace host
