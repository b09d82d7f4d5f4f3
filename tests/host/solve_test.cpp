// The door to all operations: its results are those of direct library calls, in the form that the
// host expects.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/console.h"
#include "core/medium.h"
#include "excitation/hanning_pulse.h"
#include "module_call.h"
#include "transducers/kzk/retarded_time.h"

namespace host {
namespace {

using kavro::Operation;
using kavro::OperationKind;

bool is_over_time(const Operation& operation) {
    return operation.kind == OperationKind::transient ||
           operation.kind == OperationKind::impulse_response;
}

bool is_complex(const Operation& operation) {
    return operation.kind == OperationKind::continuous_wave ||
           operation.kind == OperationKind::kzk_cw;
}

// The scene of `elements_with` and `Call`, solved by direct calls.
class DirectCall {
public:
    DirectCall(const Operation& operation, bool exact) : operation_(operation), exact_(exact) {
        grid_.RegularCoordinateGrid(-1e-3, 1e-3, 0, 0, 1e-3, 2e-3, 1e-3, 1e-3, 1e-3);
        times_.generatetimevectorfromminmaxdeltat(1e-7, 0, 4e-6);
        medium_._soundspeed = 1500;
        medium_._rho_density = 1000;
        medium_._f0 = 1e6;
        medium_._dBcmMHz = 0.5;
        medium_._beta = 3.5;
        pulse_.set_exact(exact);
        sampled_.set_exact(exact);
    }

    // The results of all elements, added up.
    void solve(const Value& elements) {
        const bool over_time =
            is_over_time(operation_) || operation_.kind == OperationKind::kzk_transient;
        const std::size_t layers = over_time                                  ? 41
                                   : operation_.kind == OperationKind::kzk_cw ? 2
                                                                              : 1;
        real.resize(6 * layers);
        imaginary.resize(6 * layers);
        std::vector<double> begin, end;
        for (std::size_t i = 0; i < elements->count(); ++i) {
            const std::unique_ptr<kavro::Transducer> element = made(elements, i);
            // Elements add to what is there, or (the marches) store.
            std::vector<double> own_real(real.size()), own_imaginary(real.size());
            const bool stored = operation_.uses(kavro::input_kzk);
            double* re = stored ? own_real.data() : real.data();
            double* im = stored ? own_imaginary.data() : imaginary.data();
            if (is_complex(operation_)) {
                element->set_complex_pressure_pointers(re, im);
            } else {
                element->set_transient_pressure_pointer(re);
            }
            const kavro::console::Connection quiet({.print = [](const char*) {}});
            ASSERT_EQ(((*element).*operation_.solve)(), kavro::status_success);
            for (std::size_t value = 0; value < real.size(); ++value) {
                real[value] += own_real[value];
                imaginary[value] += own_imaginary[value];
            }
            begin.push_back(element->impulse_begin_time);
            end.push_back(element->impulse_end_time);
        }
        if (operation_.kind == OperationKind::arrival_times) {
            real = begin;
            real.insert(real.end(), end.begin(), end.end());
        }
    }

    std::vector<double> real, imaginary;

private:
    std::unique_ptr<kavro::Transducer> made(const Value& elements, std::size_t i) {
        const auto number = [&](const char* field) { return values(get(elements, field, i))[0]; };
        const kavro::Shape& shape = *kavro::shape_of(characters(get(elements, "shape", i)));
        std::vector<double> sizes;
        for (const char* name : shape.sizes) {
            sizes.push_back(number(name));
        }
        rule_.allocate_memory(std::max(operation_.default_ndiv, 1));
        rule_.gauss_quadrature();
        if (operation_.kind == OperationKind::kzk_cw) {  // as march_parameters says
            rule_.cw_set_kzk_parameters(3, 10, 0.01f, 2, 0);
        } else {
            rule_.set_kzk_parameters(3, 10, 0.01f, 1, 1);
        }
        kavro::set_kzk_tau_axis(times_, pulse_, medium_, grid_);
        std::unique_ptr<kavro::Transducer> element = shape.make(sizes);
        element->set_center(values(get(elements, "center", i)).data());
        element->set_euler(values(get(elements, "euler", i)).data());
        element->set_amplitude(number("amplitude"));
        element->set_phase(number("phase"));
        element->set_time_delay(number("time_delay"));
        element->set_global_coordinate_grid(&grid_);
        element->set_time_vector(&times_);
        element->set_medium(&medium_);
        element->set_integral_pointer(&rule_);
        element->set_exact(exact_);
        element->set_piston_apodization_index(3);
        element->excitation = operation_.waveform_demand == kavro::WaveformDemand::sampled
                                  ? &sampled_
                                  : static_cast<kavro::ExcitationFunction*>(&pulse_);
        return element;
    }

    const Operation& operation_;
    bool exact_;
    kavro::CoordinateGrid grid_;
    kavro::TimeSamples times_;
    kavro::Medium medium_;
    kavro::NumericalIntegration rule_;
    kavro::HanningPulse pulse_{1e6, 2e-6, 0};
    kavro::ExcitationFunction sampled_{std::vector<double>{0, 1, 2, 1, 0, -1, -2, -1}, 1e-7, 2e-6,
                                       0};
};

TEST(Solve, every_method_of_every_shape_equals_the_direct_calls) {
    int methods = 0;
    for (const Operation& operation : kavro::operations()) {
        SCOPED_TRACE(operation.name);
        Call call(operation);
        call.set("elements", elements_with(operation));
        call.set("medium.attenuationdBcmMHz", 0.5).set("medium.nonlinearityparameter", 3.5);
        if (operation.uses(kavro::input_apodization)) {
            call.set("apodization", text("quadratic"));
        }
        if (call["elements"]->count() == 0) {
            continue;
        }
        for (const bool exact : {true, false}) {
            DirectCall direct(operation, exact);
            direct.solve(call["elements"]);
            const Outcome outcome = run(call.set("exact", logical(exact)));
            ASSERT_EQ(outcome.error, std::nullopt);
            EXPECT_EQ(values(outcome.output), direct.real);
            EXPECT_GT(largest(direct.real), 0.0);
            if (is_complex(operation)) {
                EXPECT_EQ(imaginary(outcome.output), direct.imaginary);
                EXPECT_GT(largest(direct.imaginary), 0.0);
            }
        }
        ++methods;
    }
    EXPECT_GE(methods, 5);
}

TEST(Solve, results_have_the_form_of_their_kind) {
    struct Form {
        OperationKind kind;
        Sizes of_grid, of_points;
    };
    const std::vector<Form> forms{{OperationKind::continuous_wave, {3, 1, 2}, {4, 1}},
                                  {OperationKind::transient, {3, 1, 2, 41}, {4, 41}},
                                  {OperationKind::impulse_response, {3, 1, 2, 41}, {4, 41}},
                                  {OperationKind::arrival_times, {0, 2}, {0, 2}},
                                  {OperationKind::kzk_transient, {3, 2, 41}, {}},
                                  {OperationKind::kzk_cw, {3, 2, 2}, {}}};
    for (const Operation& operation : kavro::operations()) {
        SCOPED_TRACE(operation.name);
        Call call(operation);
        call.set("elements", discs(0));  // every method takes an array without elements
        call.set("medium.attenuationdBcmMHz", 0.5);
        const Form& form = *std::find_if(forms.begin(), forms.end(), [&](const Form& candidate) {
            return candidate.kind == operation.kind;
        });
        for (const Sizes& sizes : {form.of_grid, form.of_points}) {
            if (!sizes.empty()) {
                const Outcome outcome = run(call);
                ASSERT_EQ(outcome.error, std::nullopt);
                EXPECT_EQ(largest(values(outcome.output)), 0.0);
                EXPECT_EQ(outcome.output->dims, sizes);
                EXPECT_EQ(outcome.output->is_complex, is_complex(operation));
                // Of attenuation that is left out of account.
                EXPECT_EQ(outcome.warnings.size(), is_over_time(operation) ? 1u : 0u);
            }
            call.set("grid", list_of_points({0, 0, 0, 0}, {0, 0, 0, 0}, {1, 2, 3, 4}));
        }
    }
}

TEST(Solve, the_whole_array_at_once_is_the_entry_with_exact_elements) {
    const auto p = [](const char* method, double ndiv, double threads) {
        Call call(method);
        call.set("elements", discs(3)).set("ndiv", ndiv).set("threads", threads);
        return pressure(call);
    };
    const std::vector<double> eight = p("fnm_tsd_sse", 8, 1);
    EXPECT_GT(largest(eight), 0.0);
    EXPECT_EQ(p("fnm_tsd_sse", 6, 1), eight);  // rounded up, as this method needs it
    EXPECT_EQ(p("fnm_tsd_sse", 8, 2), eight);
    EXPECT_NE(p("fnm_tsd", 6, 1), p("fnm_tsd", 8, 1));
}

TEST(Solve, exactness_is_the_options_then_the_waveforms) {
    const auto solved = [](const char* decomposition, const Value& exact) {
        Call call("fnm_tsd");
        call.set("excitation", sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1}));
        if (decomposition != nullptr) {
            call.set("excitation.decomposition", text(decomposition));
        }
        return pressure(exact ? call.set("exact", exact) : call);
    };
    const std::vector<double> exact = solved("exact", nullptr);
    const std::vector<double> reference = solved("reference", nullptr);
    EXPECT_NE(exact, reference);
    EXPECT_EQ(solved(nullptr, nullptr), exact);
    EXPECT_EQ(solved("reference", logical(true)), exact);
    EXPECT_EQ(solved("exact", logical(false)), reference);
    EXPECT_EQ(solved(nullptr, scalar(0)), reference);
}

TEST(Solve, apodization_is_the_elements_own_or_the_options) {
    const auto field = [](const Value& option, const Value& own) {
        Call call("fnm_cw_apodized");
        if (option) {
            call.set("apodization", option);
        }
        return pressure(own ? call.set("elements.apodization", own) : call);
    };
    const std::vector<double> cosine = field(text("cosine"), nullptr);
    const std::vector<double> uniform = field(nullptr, nullptr);
    EXPECT_NE(cosine, uniform);
    EXPECT_EQ(field(scalar(1), nullptr), cosine);
    EXPECT_EQ(field(scalar(3), text("cosine")), cosine);
    EXPECT_EQ(field(text("cosine"), empty()), cosine);
    EXPECT_EQ(field(text("cosine"), scalar(0)), uniform);
}

TEST(Solve, lists_of_instants_are_not_printed) {
    const Outcome outcome = run(Call("fnm_tsd").set("time", list_of_times({2e-6, 1e-6})));
    EXPECT_EQ(outcome.printed, "");
    EXPECT_EQ(outcome.output->dims, (Sizes{3, 1, 2, 2}));
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
    EXPECT_EQ(run(call.with("progress", logical(false))).printed, "");
    EXPECT_EQ(run(call.with("progress", logical(true))).printed, line);
    ASSERT_EQ(setenv("KAVRO_PROGRESS", "1", 1), 0);
    EXPECT_EQ(run(call.with("progress", logical(false))).printed, "");
    EXPECT_EQ(run(call).printed, line);
    unsetenv("KAVRO_PROGRESS");
}

TEST(SolveMethods, the_table_comes_from_the_library) {
    const Outcome outcome = run({text("methods")});
    ASSERT_TRUE(outcome.output);
    std::istringstream lines(characters(outcome.output));
    std::size_t shapes = 0, methods = 0;
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');) {
            cells.push_back(cell);
        }
        if (cells[0] == "shape") {
            EXPECT_EQ(kavro::shapes()[shapes++].identifier, cells[1]);
            continue;
        }
        const Operation& operation = kavro::operations()[methods++];
        ASSERT_EQ(cells.size(), 7u);
        EXPECT_EQ(operation.name, cells[1]);
        EXPECT_EQ(cells[2].find("circ") != std::string::npos,
                  implements(operation, kavro::shapes()[0]));
        EXPECT_EQ(cells[3].find("kzk") != std::string::npos, operation.uses(kavro::input_kzk));
    }
    EXPECT_EQ(shapes, 5u);
    EXPECT_EQ(methods, 22u);
}

}  // namespace
}  // namespace host
