// The door to all operations: what it computes is what the library computes, in the form that the
// host expects.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/console.h"
#include "core/medium.h"
#include "excitation/hanning_pulse.h"
#include "solve_call.h"
#include "transducers/kzk/retarded_time.h"

namespace host {
namespace {

using kavro::Operation;
using kavro::OperationKind;

using Sizes = std::vector<std::size_t>;

bool is_over_time(const Operation& operation) {
    return operation.kind == OperationKind::transient ||
           operation.kind == OperationKind::impulse_response;
}

bool is_complex(const Operation& operation) {
    return operation.kind == OperationKind::continuous_wave ||
           operation.kind == OperationKind::kzk_cw;
}

// The scene of `elements_with` and `SolveArguments`, solved by direct calls.
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
        real_.resize(6 * layers());
        imaginary_.resize(6 * layers());
    }

    void add(const Value& elements, std::size_t i, int ndiv) {
        const auto number = [&](const char* field) { return values(get(elements, field, i))[0]; };
        const kavro::Shape& shape = *kavro::shape_of(characters(get(elements, "shape", i)));
        std::vector<double> sizes;
        for (const char* name : shape.sizes) {
            sizes.push_back(number(name));
        }
        rule_.allocate_memory(ndiv);
        rule_.gauss_quadrature();
        if (operation_.kind == OperationKind::kzk_cw) {  // as march_parameters says
            rule_.cw_set_kzk_parameters(3, 10, 0.01f, 2, 0);
        } else {
            rule_.set_kzk_parameters(3, 10, 0.01f, 1, 1);
        }
        kavro::set_kzk_tau_axis(times_, pulse_, medium_, grid_);
        const std::unique_ptr<kavro::Transducer> element = shape.make(sizes);
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
        // Elements add to what is there, or (the marches) store.
        std::vector<double> real(real_.size()), imaginary(imaginary_.size());
        const bool stored = operation_.uses(kavro::input_kzk);
        double* re = stored ? real.data() : real_.data();
        if (is_complex(operation_)) {
            element->set_complex_pressure_pointers(re,
                                                   stored ? imaginary.data() : imaginary_.data());
        } else {
            element->set_transient_pressure_pointer(re);
        }
        const kavro::console::Connection quiet({.print = [](const char*) {}});
        ASSERT_EQ(((*element).*operation_.solve)(), kavro::status_success);
        for (std::size_t value = 0; value < real.size(); ++value) {
            real_[value] += real[value];
            imaginary_[value] += imaginary[value];
        }
        begin_.push_back(element->impulse_begin_time);
        end_.push_back(element->impulse_end_time);
    }

    std::vector<double> real() const {
        if (operation_.kind != OperationKind::arrival_times) {
            return real_;
        }
        std::vector<double> times = begin_;
        times.insert(times.end(), end_.begin(), end_.end());
        return times;
    }
    std::vector<double> imaginary_parts() const { return imaginary_; }

private:
    std::size_t layers() const {
        const bool over_time =
            is_over_time(operation_) || operation_.kind == OperationKind::kzk_transient;
        return over_time ? 41 : operation_.kind == OperationKind::kzk_cw ? 2 : 1;
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
    std::vector<double> real_, imaginary_, begin_, end_;
};

TEST(Solve, every_method_of_every_shape_equals_the_direct_calls) {
    int methods = 0;
    for (const Operation& operation : kavro::operations()) {
        SolveArguments arguments(operation);
        arguments.scene.elements = elements_with(operation);
        set(arguments.scene.medium, "attenuationdBcmMHz", scalar(0.5));
        set(arguments.scene.medium, "nonlinearityparameter", scalar(3.5));
        const std::size_t n = sizes(arguments.scene.elements)[1];
        if (n == 0) {
            continue;
        }
        if (operation.uses(kavro::input_apodization)) {
            arguments.set_option("apodization", text("quadratic"));
        }
        for (const bool exact : {true, false}) {
            arguments.set_option("exact", logical(exact));
            DirectCall direct(operation, exact);
            for (std::size_t i = 0; i < n; ++i) {
                direct.add(arguments.scene.elements, i, std::max(operation.default_ndiv, 1));
            }
            const Outcome outcome = solve(arguments);
            ASSERT_EQ(outcome.error, std::nullopt) << operation.name;
            EXPECT_EQ(values(outcome.output), direct.real()) << operation.name;
            EXPECT_GT(largest(direct.real()), 0.0) << operation.name;
            if (is_complex(operation)) {
                EXPECT_EQ(imaginary(outcome.output), direct.imaginary_parts()) << operation.name;
                EXPECT_GT(largest(direct.imaginary_parts()), 0.0) << operation.name;
            }
        }
        ++methods;
    }
    EXPECT_GE(methods, 5);
}

TEST(Solve, results_have_the_form_of_their_kind) {
    for (const Operation& operation : kavro::operations()) {
        SolveArguments arguments(operation);
        arguments.scene.elements = discs(0);  // every method takes an array without elements
        const auto sizes_of = [&] {
            const Outcome outcome = solve(arguments);
            EXPECT_EQ(outcome.error, std::nullopt);
            EXPECT_EQ(largest(values(outcome.output)), 0.0);
            return sizes(outcome.output);
        };
        switch (operation.kind) {
            case OperationKind::continuous_wave:
                EXPECT_EQ(sizes_of(), (Sizes{3, 1, 2}));
                EXPECT_TRUE(solve(arguments).output->is_complex);
                break;
            case OperationKind::arrival_times:
                EXPECT_EQ(sizes_of(), (Sizes{0, 2}));
                break;
            case OperationKind::kzk_transient:
                EXPECT_EQ(sizes_of(), (Sizes{3, 2, 41}));
                continue;
            case OperationKind::kzk_cw:
                EXPECT_EQ(sizes_of(), (Sizes{3, 2, 2}));
                continue;
            default:
                EXPECT_EQ(sizes_of(), (Sizes{3, 1, 2, 41}));
        }
        arguments.scene.grid = list_of_points({0, 0, 0, 0}, {0, 0, 0, 0}, {1, 2, 3, 4});
        if (operation.kind != OperationKind::arrival_times) {
            EXPECT_EQ(sizes_of(), (Sizes{4, is_over_time(operation) ? 41u : 1u}));
        }
    }
}

TEST(Solve, the_whole_array_at_once_is_the_entry_with_exact_elements) {
    SolveArguments arguments("fnm_tsd_sse");
    arguments.scene.elements = discs(3);
    arguments.set_option("ndiv", scalar(6));  // rounded up, as this method needs it
    const std::vector<double> p = values(solve(arguments).output);
    EXPECT_GT(largest(p), 0.0);
    arguments.set_option("ndiv", scalar(8));
    EXPECT_EQ(values(solve(arguments).output), p);
    arguments.set_option("threads", scalar(2));
    EXPECT_EQ(values(solve(arguments).output), p);
    SolveArguments finer("fnm_tsd");
    finer.set_option("ndiv", scalar(6));
    const std::vector<double> six = values(solve(finer).output);
    finer.set_option("ndiv", scalar(8));
    EXPECT_NE(values(solve(finer).output), six);
}

TEST(Solve, exactness_is_the_options_then_the_waveforms) {
    const auto solved = [](const char* decomposition, const Value& exact) {
        SolveArguments arguments("fnm_tsd");
        const Value waveform = sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1});
        if (decomposition != nullptr) {
            set(waveform, "decomposition", text(decomposition));
        }
        arguments.set_option("excitation", waveform);
        if (exact) {
            arguments.set_option("exact", exact);
        }
        return values(solve(arguments).output);
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
        SolveArguments arguments("fnm_cw_apodized");
        if (option) {
            arguments.set_option("apodization", option);
        }
        if (own) {
            set(arguments.scene.elements, "apodization", own);
        }
        return values(solve(arguments).output);
    };
    const std::vector<double> cosine = field(text("cosine"), nullptr);
    const std::vector<double> uniform = field(nullptr, nullptr);
    EXPECT_NE(cosine, uniform);
    EXPECT_EQ(field(scalar(1), nullptr), cosine);
    EXPECT_EQ(field(scalar(3), text("cosine")), cosine);
    EXPECT_EQ(field(text("cosine"), numbers({}, 0, 0)), cosine);
    EXPECT_EQ(field(text("cosine"), scalar(0)), uniform);
}

TEST(Solve, lossless_methods_warn_of_attenuation) {
    for (const Operation& operation : kavro::operations()) {
        SolveArguments arguments(operation);
        arguments.scene.elements = discs(0);
        set(arguments.scene.medium, "attenuationdBcmMHz", scalar(0.5));
        EXPECT_EQ(solve(arguments).warnings.size(), is_over_time(operation) ? 1u : 0u)
            << operation.name;
    }
}

TEST(Solve, lists_of_instants_are_not_printed) {
    SolveArguments arguments("fnm_tsd");
    const Value list = structure(1, 1);
    set(list, "time_samples", row({2e-6, 1e-6}));
    arguments.set_option("time", list);
    const Outcome outcome = solve(arguments);
    EXPECT_EQ(outcome.printed, "");
    EXPECT_EQ(sizes(outcome.output), (Sizes{3, 1, 2, 2}));
}

TEST(SolveProgress, a_handle_hears_of_it_in_order_and_in_the_calling_thread) {
    const auto caller = std::this_thread::get_id();
    for (const char* method : {"fnm_tsd", "fnm_tsd_sse", "impulse_begin_and_end_times"}) {
        SolveArguments arguments(method);
        arguments.scene.elements = discs(5);
        std::vector<double> fractions;
        arguments.set_option("progress", function([&](double fraction) {
                                 EXPECT_EQ(std::this_thread::get_id(), caller);
                                 fractions.push_back(fraction);
                             }));
        const Outcome outcome = solve(arguments);
        EXPECT_EQ(outcome.printed, "");
        ASSERT_FALSE(fractions.empty());
        EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
        EXPECT_GE(fractions.front(), 0.0);
        EXPECT_EQ(fractions.back(), 1.0);
        EXPECT_EQ(std::count(fractions.begin(), fractions.end(), 1.0), 1);
        arguments.remove_option("progress");
        EXPECT_EQ(values(outcome.output), values(solve(arguments).output));
    }
}

TEST(SolveProgress, a_failing_handle_ends_the_call) {
    SolveArguments arguments("fnm_tsd");
    arguments.scene.elements = discs(20);
    int calls = 0;
    arguments.set_option("progress", function([&](double fraction) {
                             ++calls;
                             if (fraction > 0.2) {
                                 throw std::runtime_error("no more of this");
                             }
                         }));
    for (const Leaving leaving : {Leaving::exception, Leaving::jump}) {
        calls = 0;
        EXPECT_EQ(solve(arguments, leaving).error, "The progress function failed: no more of this");
        EXPECT_LE(calls, 6);
    }
}

TEST(SolveProgress, a_line_where_it_is_wanted) {
    SolveArguments arguments("impulse_begin_and_end_times");
    arguments.scene.elements = discs(2);
    const auto printed = [&](const Value& progress) {
        arguments.set_option("progress", progress);
        return solve(arguments).printed;
    };
    EXPECT_EQ(printed(logical(false)), "");
    EXPECT_EQ(printed(logical(true)), "\rkavro.solve: 50 % done\rkavro.solve: 100 % done\n");
    ASSERT_EQ(setenv("KAVRO_PROGRESS", "1", 1), 0);
    EXPECT_EQ(printed(logical(false)), "");
    arguments.remove_option("progress");
    EXPECT_NE(solve(arguments).printed, "");
    unsetenv("KAVRO_PROGRESS");
}

TEST(SolveMethods, the_table_comes_from_the_library) {
    const Outcome outcome = run_with({text("methods")});
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
