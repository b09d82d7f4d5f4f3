// What the door to all operations says to what it cannot do, and that nothing breaks it.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "solve_call.h"

namespace host {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

const std::string tsd_options =
    "fnm_tsd takes the options 'time', 'excitation', 'ndiv', 'threads', 'exact', 'progress'.";

TEST(SolveErrors, of_the_arguments) {
    EXPECT_EQ(run_with({}).error,
              "This function needs a method, elements, a grid and a medium; then options by name "
              "and value.");
    EXPECT_EQ(run_with({text("fnm_tsd"), discs(1), discs(1)}).error, run_with({}).error);
    SolveArguments arguments("fnm_tsd");
    EXPECT_EQ(run_with(arguments.all(), 2).error, "This function has one result.");
    EXPECT_EQ(run_with(arguments.all(), 0).error, std::nullopt);  // the host calls it ans

    arguments.method = "fnm_tds";
    const std::string error = *solve(arguments).error;
    EXPECT_EQ(error.find("There is no method 'fnm_tds'. The methods are farfield_cw, "), 0u);
    for (const kavro::Operation& operation : kavro::operations()) {
        EXPECT_NE(error.find(operation.name), std::string::npos);
    }
    std::vector<Value> all = arguments.all();
    all[0] = scalar(1);
    EXPECT_EQ(run_with(all).error, "The first argument must be the name of a method.");
    all[0] = string_object("fnm_tsd");  // as good as characters
    EXPECT_EQ(run_with(all).error, std::nullopt);
    for (const std::size_t i : {1u, 2u, 3u}) {
        std::vector<Value> wrong = all;
        wrong[i] = scalar(1);
        EXPECT_NE(run_with(wrong).error->find("must be a MATLAB structure."), std::string::npos);
    }
}

TEST(SolveErrors, of_option_names) {
    const auto with = [](const std::string& name) {
        SolveArguments arguments("fnm_tsd");
        arguments.options.emplace_back(name, scalar(1));
        return arguments;
    };
    expect_solve_error(with("nidv"), "There is no option 'nidv'. " + tsd_options);
    expect_solve_error(with(""), "There is no option ''. " + tsd_options);
    expect_solve_error(with("F0"), "The option 'f0' is not used by fnm_tsd. " + tsd_options);
    expect_solve_error(with("time"), "The option 'time' is given twice.");
    EXPECT_EQ(solve(with("NDIV")).error, std::nullopt);

    std::vector<Value> all = SolveArguments("fnm_tsd").all();
    all.push_back(text("ndiv"));
    EXPECT_EQ(run_with(all).error, "The option 'ndiv' has no value.");
    all[4] = scalar(1);
    EXPECT_EQ(run_with(all).error, "Argument 5 must be the name of an option. " + tsd_options);
}

TEST(SolveErrors, of_missing_options_and_wrong_values) {
    const auto without = [](const char* method, const char* option) {
        SolveArguments arguments{std::string(method)};
        arguments.scene.elements = discs(0);
        arguments.remove_option(option);
        return arguments;
    };
    expect_solve_error(without("fnm_tsd", "time"),
                       "fnm_tsd needs the option 'time', made by kavro.set_time_samples.");
    expect_solve_error(
        without("fnm_tsd", "excitation"),
        "fnm_tsd needs the option 'excitation', made by kavro.set_excitation_function.");
    expect_solve_error(without("kzk_cw", "kzk"),
                       "kzk_cw needs the option 'kzk', a structure with the march's parameters.");
    SolveArguments tone = without("fnm_cw", "f0");
    expect_solve_error(tone, "fnm_cw needs the option 'f0' (Hz).");
    set(tone.scene.medium, "f0", scalar(1e6));
    EXPECT_EQ(solve(tone).error, std::nullopt);
    set(tone.scene.medium, "f0", scalar(nan));
    expect_solve_error(tone, "fnm_cw needs the option 'f0' (Hz).");

    struct Case {
        const char* method;
        const char* option;
        std::vector<Value> values;
        const char* expected;
    };
    const std::vector<Value> no_number{
        numbers({}, 0, 0), text("1"),       cell(),      complex_scalar(1), sparse_row({1}),
        row({1, 2}),       structure(1, 1), scalar(nan), scalar(-1),        scalar(0)};
    for (const Case& wrong : {
             Case{"fnm_cw", "f0", no_number, "one positive number (Hz)"},
             Case{"fnm_cw", "f0", {scalar(inf)}, "one positive number (Hz)"},
             Case{"fnm_tsd", "ndiv", no_number, "one whole number of at least 1"},
             Case{"fnm_tsd", "ndiv", {scalar(4.5), scalar(3e9)}, "one whole number of at least 1"},
             Case{"fnm_tsd", "threads", no_number, "one whole number of at least 1"},
             Case{"fnm_tsd",
                  "exact",
                  {text("t"), scalar(2), cell(), row({1, 1}), scalar(nan)},
                  "true or false"},
             Case{"fnm_tsd",
                  "progress",
                  {text("t"), scalar(2), cell(), numbers({}, 0, 0)},
                  "true, false or a function handle"},
             Case{"fnm_cw_apodized",
                  "apodization",
                  {text("cosin"), scalar(5), scalar(-1), scalar(1.5), cell()},
                  "'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 "
                  "to 4"},
         }) {
        for (const Value& value : wrong.values) {
            SolveArguments arguments{std::string(wrong.method)};
            arguments.scene.elements = discs(0);
            arguments.set_option(wrong.option, value);
            expect_solve_error(arguments, std::string("The option '") + wrong.option +
                                              "' must be " + wrong.expected + ".");
        }
    }
    SolveArguments short_list("fnm_tsd");
    short_list.set_option("time", scalar(1));
    expect_solve_error(short_list, "Time samples must be a MATLAB structure.\n");
    SolveArguments huge("fnm_tsd_sse");
    huge.set_option("ndiv", scalar(2147483647));
    expect_solve_error(huge, "Computed number of abscissas is too large.");
}

TEST(SolveErrors, name_method_shape_and_element_before_any_work) {
    for (const kavro::Operation& operation : kavro::operations()) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            if (implements(operation, shape)) {
                continue;
            }
            SolveArguments arguments(operation);
            arguments.scene.elements = elements_with(operation);
            const std::size_t n = sizes(arguments.scene.elements)[1];
            Value elements = structure(1, n + 1);
            for (const std::string& field : arguments.scene.elements->fields) {
                for (std::size_t i = 0; i < n; ++i) {
                    set(elements, field, get(arguments.scene.elements, field, i), i);
                }
            }
            set(elements, "shape", text(shape.identifier), n);
            for (const char* name : shape.sizes) {
                set(elements, name, scalar(1e-3), n);
            }
            for (const char* name : {"amplitude", "phase", "time_delay"}) {
                set(elements, name, scalar(0), n);
            }
            set(elements, "center", row({0, 0, 0}), n);
            set(elements, "euler", row({0, 0, 0}), n);
            arguments.scene.elements = elements;
            arguments.scene.grid = structure(1, 1);  // not even looked at
            expect_solve_error(
                arguments, std::string(operation.name) + ", shape '" + shape.identifier + "' (" +
                               shape.name + "), element " + std::to_string(n + 1) +
                               ": This function is not implemented for this transducer shape.");
        }
    }
}

TEST(SolveErrors, of_waveforms_and_element_fields) {
    SolveArguments pulse("fnm_fdtsd");
    pulse.scene.elements = discs(2);
    pulse.set_option("excitation", pulse.scene.excitation);
    expect_solve_error(pulse,
                       "fnm_fdtsd, element 1: this method needs a sampled waveform, not a pulse.");
    SolveArguments phases("fnm_tsd");
    set(phases.scene.elements, "phase", text("1"));
    expect_solve_error(phases, "Transducer field 'phase' must hold 1 real number(s) (element 1).");
    SolveArguments profiles("fnm_cw_apodized");
    set(profiles.scene.elements, "apodization", text("cosin"));
    expect_solve_error(profiles,
                       "Transducer field 'apodization' must be 'uniform', 'cosine', "
                       "'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4 (element "
                       "1).");
}

// Numbers that make no sense are named, wherever they are, instead of ending in a field of NaN.
TEST(SolveErrors, of_senseless_numbers) {
    const std::string finite = "must be finite";
    const std::string not_negative = "must be finite and at least 0";
    const std::string positive = "must be finite and positive";
    SolveArguments arguments("fnm_tsd");
    arguments.scene.elements = discs(2);
    const auto expect = [&](const std::string& title, const std::string& field,
                            const std::string& expected, const std::string& holds,
                            const std::string& place) {
        expect_solve_error(arguments, title + " field '" + field + "' " + expected +
                                          ", but holds " + holds + place + ".");
    };
    const auto refuses = [&](Value structure, const char* title, const char* field,
                             const std::string& expected, const std::string& place,
                             std::size_t i = 0) {
        SCOPED_TRACE(field);
        const Value right = get(structure, field, i);
        for (const auto& [number, text] : {std::pair{nan, "NaN"}, {inf, "Inf"}, {-inf, "-Inf"}}) {
            set(structure, field, scalar(number), i);
            expect(title, field, expected, text, place);
        }
        if (expected != finite) {
            set(structure, field, scalar(-1), i);
            expect(title, field, expected, "-1", place);
        }
        if (expected == positive) {
            set(structure, field, scalar(0), i);
            expect(title, field, expected, "0", place);
        }
        if (place.empty()) {  // elements and waveforms have no other reader than this module's
            set(structure, field, complex_scalar(1), i);
            expect(title, field, "must hold real numbers", "complex ones", place);
        }
        set(structure, field, right, i);
    };
    const Value& elements = arguments.scene.elements;
    for (const std::size_t i : {0u, 1u}) {
        set(elements, "phase", scalar(0), i);
        set(elements, "amplitude", scalar(1), i);
        set(elements, "time_delay", scalar(0), i);
    }
    refuses(elements, "Transducer", "radius", not_negative, " (element 2)", 1);
    for (const char* field : {"amplitude", "phase", "time_delay"}) {
        refuses(elements, "Transducer", field, finite, " (element 2)", 1);
        set(elements, field, scalar(-1e-6), 1);
    }
    EXPECT_EQ(solve(arguments).error, std::nullopt);
    for (const char* field : {"center", "euler"}) {
        set(elements, field, row({0, nan, 0}), 1);
        expect("Transducer", field, finite, "NaN", " (element 2)");
        set(elements, field, row({0, 0, 0}), 1);
    }
    refuses(arguments.scene.medium, "Medium", "soundspeed", positive, "");
    for (const char* field : {"density", "attenuationdBcmMHz"}) {
        refuses(arguments.scene.medium, "Medium", field, not_negative, "");
    }
    refuses(arguments.scene.medium, "Medium", "nonlinearityparameter", finite, "");
    for (const char* field : {"xmin", "zmax"}) {
        refuses(arguments.scene.grid, "Coordinate grid", field, finite, "");
    }
    for (const char* field : {"tmin", "tmax"}) {
        refuses(arguments.scene.times, "Time samples", field, finite, "");
    }
    refuses(arguments.scene.excitation, "Excitation", "f0", finite, " (row 1)");
    refuses(arguments.scene.excitation, "Excitation", "pulse_width", not_negative, " (row 1)");

    const Value signal = sampled_excitation({0, 1, 2, 1});
    arguments.set_option("excitation", signal);
    set(signal, "signal", row({0, 1, inf, 1}));
    expect("Excitation", "signal", finite, "Inf", " (row 1)");
    set(signal, "signal", row({0, 1, 2, 1}));
    set(signal, "ts", scalar(0));
    expect("Excitation", "ts", positive, "0", " (row 1)");
    set(signal, "ts", scalar(1e-7));
    arguments.scene.grid = list_of_points({0, 0}, {0, nan}, {1, 1});
    expect("Coordinate grid", "coordinates", finite, "NaN", "");
}

TEST(SolveErrors, of_sizes_that_no_face_has) {
    SolveArguments arguments("fnm_transient");
    const Value& elements = arguments.scene.elements;
    const auto expect = [&](const std::string& message) {
        expect_solve_error(arguments, "Transducer field " + message + " (element 1).");
    };
    set(elements, "shape", text("shel"));
    set(elements, "radius", scalar(5e-3));
    set(elements, "rad_curvature", scalar(0));
    expect("'rad_curvature' must be finite and positive, but holds 0");
    set(elements, "rad_curvature", scalar(4e-3));
    expect("'rad_curvature' must be at least 'radius', 0.005, but holds 0.004");
    set(elements, "rad_curvature", scalar(5e-3));
    EXPECT_EQ(solve(arguments).error, std::nullopt);
    for (const char* shape : {"ring", "sph ring"}) {
        set(elements, "shape", text(shape));
        set(elements, "geometric_focus", scalar(20e-3));
        set(elements, "inner_radius", scalar(6e-3));
        set(elements, "outer_radius", scalar(5e-3));
        expect("'outer_radius' must be at least 'inner_radius', 0.006, but holds 0.005");
    }
    set(elements, "inner_radius", scalar(0));
    set(elements, "geometric_focus", scalar(4e-3));
    expect("'geometric_focus' must be at least 'outer_radius', 0.005, but holds 0.004");
}

// A name with a NUL in it is another name.
TEST(SolveErrors, of_names_that_begin_like_right_ones) {
    using namespace std::string_literals;
    SolveArguments arguments("fnm_tsd");
    arguments.method = "fnm_tsd\0x"s;
    EXPECT_EQ(solve(arguments).error->find("There is no method 'fnm_tsd?x'."), 0u);
    arguments.method = "fnm_tsd";
    arguments.options.emplace_back("ndiv\0x"s, scalar(4));
    expect_solve_error(arguments, "There is no option 'ndiv?x'. " + tsd_options);
    arguments.options.pop_back();
    set(arguments.scene.elements, "shape", text("circ\0x"s));
    expect_solve_error(arguments, "Invalid transducer shape identifier.\n");
}

// An array without elements has no shape that could lack the march.
TEST(SolveErrors, of_marches) {
    for (const char* method : {"kzk_transient", "kzk_cw"}) {
        const std::string name(method);
        SolveArguments arguments(name);
        arguments.scene.elements = discs(0);
        EXPECT_EQ(solve(arguments).error, std::nullopt);
        const kavro::Operation& operation = *kavro::operation_of(name);
        const std::string fields =
            name == "kzk_cw"
                ? "'extent', 'points_per_radius', 'growth', 'harmonics', 'source_phase'"
                : "'extent', 'points_per_radius', 'step', 'implicit', 'diffraction'";
        for (const Value& value : {scalar(1), structure(1, 2), structure(0, 0), cell()}) {
            arguments.set_option("kzk", value);
            expect_solve_error(arguments, "The option 'kzk' must be a structure with the fields " +
                                              fields + " for " + name + ".");
        }
        Value unknown = march_parameters(operation);
        set(unknown, "exten", scalar(1));
        arguments.set_option("kzk", unknown);
        expect_solve_error(arguments, "The option 'kzk' has a field 'exten', but " + name +
                                          " reads " + fields + ".");
        const Value complete = march_parameters(operation);
        for (const std::string& field : complete->fields) {
            const bool whole = field == "extent" || field == "harmonics";
            for (const Value& value : {Value(), numbers({}, 0, 0), scalar(0), scalar(nan),
                                       scalar(-2), scalar(1e300), text("1"), row({1, 1})}) {
                Value kzk = march_parameters(operation);
                value ? set(kzk, field, value) : remove(kzk, field);
                arguments.set_option("kzk", kzk);
                expect_solve_error(arguments,
                                   "The field '" + field + "' of the option 'kzk' must be one " +
                                       (whole ? "whole number of at least 1" : "positive number") +
                                       " for " + name + ".");
            }
        }
        Value flags = march_parameters(operation);
        const std::string flag = name == "kzk_cw" ? "source_phase" : "implicit";
        set(flags, flag, scalar(2));
        arguments.set_option("kzk", flags);
        expect_solve_error(
            arguments,
            "The field '" + flag + "' of the option 'kzk' must be true or false for " + name + ".");
        arguments.set_option("kzk", complete);
        set(arguments.scene.grid, "ymax", scalar(1e-3));
        expect_solve_error(arguments, name + " needs a regular grid with one value of y.");
        arguments.scene.grid = list_of_points({0}, {0}, {1});
        expect_solve_error(arguments, name + " needs a regular grid with one value of y.");
    }
    SolveArguments early("kzk_transient");
    set(early.scene.times, "tmax", scalar(1e-6));  // the wave needs 1.33 us
    expect_solve_error(early,
                       "kzk_transient needs a time axis that lasts until the wave has come to the "
                       "farthest plane.");
    SolveArguments placed("kzk_transient");
    set(placed.scene.elements, "center", row({0, 0, 1e-3}));
    expect_solve_error(placed,
                       "kzk_transient, element 1: the march starts from the origin towards +z; "
                       "center, euler, phase and time_delay must be 0.");
    SolveArguments list("kzk_transient");
    list.scene.elements = discs(0);
    const Value times = structure(1, 1);
    set(times, "time_samples", row({1e-6, 2e-6}));
    list.set_option("time", times);
    expect_solve_error(list, "kzk_transient needs a regular time axis.");
}

// Where the library's march would answer with zeros.
TEST(SolveErrors, of_marches_that_cannot_run) {
    struct Fault {
        const char* method;  // null for both
        const char* of;      // "kzk", "medium" or "elements"
        const char* field;
        double value;
        const char* message;
    };
    const Fault faults[] = {
        {nullptr, "kzk", "points_per_radius", 0.001,
         "field 'points_per_radius' of the option 'kzk' must be at least 0.666667 and less than "
         "3.33333e+08 for this extent, not 0.001."},
        {nullptr, "kzk", "extent", 2147483647.0,
         "field 'extent' of the option 'kzk' must be at least 1 and less than 1e9, not "
         "2.14748e+09."},
        {"kzk_cw", "kzk", "growth", 1e-12,
         "field 'growth' of the option 'kzk' must be more than 6e-8, not 1e-12."},
        {"kzk_transient", "medium", "attenuationdBcmMHz", 1e30,
         "medium's field 'attenuationdBcmMHz' must be small enough for this step, not 1e+30."},
        {nullptr, "elements", "radius", 0.0,
         "Rayleigh distance or the radius of curvature must be a positive scale length, not 0."},
        {nullptr, "elements", "amplitude", 1e300,
         "field 'amplitude' must be small enough for this medium and these lengths, not "
         "1e+300."}};
    for (const std::string method : {"kzk_transient", "kzk_cw"}) {
        for (const int kind : {0, 1, 2, 3}) {
            const bool shell = kind % 2 == 1;
            const auto complaint_of = [&](const std::string& of, const char* field,
                                          const Value& value) {
                SolveArguments arguments(method);
                const Value kzk = march_parameters(*kavro::operation_of(method));
                set(arguments.scene.medium, "nonlinearityparameter", scalar(3.5));
                if (shell) {
                    set(arguments.scene.elements, "shape", text("shel"));
                    set(arguments.scene.elements, "rad_curvature", scalar(8e-3));
                }
                set(of == "kzk"      ? kzk
                    : of == "medium" ? arguments.scene.medium
                                     : arguments.scene.elements,
                    field, value);
                arguments.set_option("kzk", kzk);
                arguments.set_option("exact", logical(kind < 2));
                return solve(arguments).error.value_or("");
            };
            EXPECT_EQ(complaint_of("medium", "soundspeed", scalar(1500)), "");
            const std::string begin = method + ", element 1: the ";
            for (const Fault& fault : faults) {
                if (fault.method == nullptr || fault.method == method) {
                    EXPECT_EQ(complaint_of(fault.of, fault.field, scalar(fault.value)),
                              begin + fault.message)
                        << "shell " << shell << ", exact " << (kind < 2);
                }
            }
            if (method == "kzk_transient") {
                EXPECT_EQ(
                    complaint_of("kzk", "step", scalar(1e-12))
                        .rfind(begin + "field 'step' of the option 'kzk' must be more than ", 0),
                    0u);
            } else {
                EXPECT_EQ(complaint_of("kzk", "source_phase", logical(true)),
                          shell ? begin +
                                      "field 'source_phase' of the option 'kzk' must be false, for "
                                      "only a disc's march has a source phase."
                                : "");
            }
        }
    }
}

// The march's nonlinearity is not printed here, and its complaint is a warning.
TEST(SolveErrors, of_a_shock_is_a_warning) {
    SolveArguments arguments("kzk_transient");
    set(arguments.scene.medium, "nonlinearityparameter", scalar(3.5));
    const Outcome calm = solve(arguments);
    EXPECT_EQ(calm.error, std::nullopt);
    EXPECT_EQ(calm.printed, "");
    EXPECT_TRUE(calm.warnings.empty());
    set(arguments.scene.elements, "amplitude", scalar(5000));
    const Outcome shocked = solve(arguments);
    EXPECT_EQ(shocked.error, std::nullopt);
    EXPECT_EQ(shocked.printed, "");
    ASSERT_EQ(shocked.warnings.size(), 1u);
    EXPECT_EQ(shocked.warnings[0].rfind("kzk_transient: too small dSigma. ", 0), 0u);
    EXPECT_EQ(shocked.warnings[0].back(), '\n');
}

TEST(SolveFaults, every_allocation_may_fail) {
    SolveArguments arguments("fnm_tsd");
    arguments.scene.elements = discs(2);
    arguments.set_option("excitation", sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1}));
    const std::vector<double> wanted = values(solve(arguments).output);
    long n = 1;
    for (;; ++n) {
        fail_allocation(n);
        const Outcome outcome = solve(arguments, n % 2 == 0 ? Leaving::exception : Leaving::jump);
        if (fail_allocation(0) > 0) {
            break;  // the call makes fewer than n
        }
        if (outcome.error) {
            EXPECT_EQ(outcome.error, "Out of memory.") << "allocation " << n;
        } else {
            EXPECT_EQ(values(outcome.output), wanted) << "allocation " << n;
        }
    }
    EXPECT_GT(n, 20);
    const Outcome refused = solve(arguments, Leaving::exception, Fault::creation);
    EXPECT_EQ(refused.error, "The host has no memory left.");
}

// Values of every kind in every place.
TEST(SolveFaults, strange_values_end_in_a_result_or_in_an_error) {
    const std::vector<Value> strange{numbers({}, 0, 0),  scalar(nan),
                                     scalar(inf),        scalar(-1),
                                     scalar(0),          scalar(1e300),
                                     complex_scalar(1),  text("x"),
                                     text(""),           cell(),
                                     sparse_row({1}),    structure(1, 1),
                                     structure(0, 0),    logical(true),
                                     row({1, 2, 3}),     discs(1),
                                     string_object("a"), function([](double) {})};
    std::mt19937 random(1);
    const auto pick = [&](std::size_t n) {
        return static_cast<std::size_t>(random() % static_cast<std::uint32_t>(n));
    };
    std::set<std::string> errors;
    int results = 0;
    for (int i = 0; i < 3000; ++i) {
        const kavro::Operation& operation = kavro::operations()[pick(22)];
        SolveArguments arguments(operation);
        arguments.scene.elements = elements_with(operation);
        std::vector<Value> all = arguments.all();
        if (pick(4) != 0) {
            all[pick(all.size())] = strange[pick(strange.size())];
        }
        if (pick(4) == 0) {
            all.resize(pick(all.size() + 1));
        }
        if (all.empty() || all[0]->class_id != mxCHAR_CLASS) {
            all.insert(all.begin(), text("fnm_tsd"));
        }
        const Outcome outcome = run_with(all, 1, i % 2 == 0 ? Leaving::exception : Leaving::jump);
        if (outcome.error) {
            errors.insert(*outcome.error);
        } else {
            ++results;
        }
    }
    EXPECT_GT(results, 300);
    EXPECT_GT(errors.size(), 30u);
    for (const std::string& error : errors) {
        EXPECT_EQ(error.find("unspecified"), std::string::npos) << error;
        EXPECT_EQ(error.find("std::"), std::string::npos) << error;
    }
}

}  // namespace
}  // namespace host
