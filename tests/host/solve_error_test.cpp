// What the door to all operations says to what it cannot do, and that nothing breaks it.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

using Values = std::vector<Value>;
using namespace std::string_literals;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

const Value missing = nullptr;

// A call that has nothing to solve, and so does not get beyond its options.
Call without_elements(const std::string& method) {
    return Call(method).set("elements", discs(0));
}

TEST(SolveErrors, of_the_arguments) {
    const std::string few =
        "This function needs a method, elements, a grid and a medium; then options by name and "
        "value.";
    expect_error(Values(), few);
    expect_error(Values{text("fnm_tsd"), discs(1), discs(1)}, few);
    std::string known;
    for (const kavro::Operation& operation : kavro::operations()) {
        known += (known.empty() ? "" : ", ") + std::string(operation.name);
    }
    const Call call("fnm_tsd");
    expect_error(call.all(), "This function has one result.", "", 2);
    EXPECT_EQ(run(call.all(), 0).error, std::nullopt);  // the host calls it ans
    EXPECT_EQ(run(call.with("method", string_object("fnm_tsd"))).error, std::nullopt);
    expect_errors(
        call,
        {{{"method"},
          {text("fnm_tds")},
          "There is no method 'fnm_tds'. The methods are " + known + "."},
         {{"method"}, {text("fnm_tsd\0x"s)}, "There is no method 'fnm_tsd?x'. The methods are *"},
         {{"method"}, {scalar(1), cell()}, "The first argument must be the name of a method."},
         {{"elements"}, {scalar(1)}, "Transducer array must be a MATLAB structure.\n"},
         {{"grid"}, {scalar(1)}, "Coordinate grid must be a MATLAB structure.\n"},
         {{"medium"}, {scalar(1)}, "Medium must be a MATLAB structure.\n"},
         {{"time"}, {scalar(1)}, "Time samples must be a MATLAB structure.\n"},
         {{"elements.shape"}, {text("circ\0x"s)}, "Invalid transducer shape identifier.\n"},
         {{"elements.phase"},
          {text("1")},
          "Transducer field 'phase' must hold 1 real number(s) (element 1)."}});
    const std::string takes =
        " fnm_tsd takes the options 'time', 'excitation', 'ndiv', 'threads', 'exact', 'progress'.";
    const std::vector<std::pair<Values, std::string>> pairs{
        {{text("nidv"), scalar(1)}, "There is no option 'nidv'." + takes},
        {{text(""), scalar(1)}, "There is no option ''." + takes},
        {{text("ndiv\0x"s), scalar(4)}, "There is no option 'ndiv?x'." + takes},
        {{text("F0"), scalar(1)}, "The option 'f0' is not used by fnm_tsd." + takes},
        {{scalar(1)}, "Argument 9 must be the name of an option." + takes},
        {{text("time"), scalar(1)}, "The option 'time' is given twice."},
        {{text("ndiv")}, "The option 'ndiv' has no value."}};
    for (const auto& [options, error] : pairs) {
        Values all = call.all();
        all.insert(all.end(), options.begin(), options.end());
        expect_error(all, error);
    }
    EXPECT_EQ(run(call.with("NDIV", scalar(1))).error, std::nullopt);
}

TEST(SolveErrors, of_options) {
    const std::string profiles =
        "must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to "
        "4";
    const Values no_profiles{text("cosin"), scalar(5), scalar(-1), scalar(1.5), cell()};
    const Values no_numbers{empty(),         text("1"),   cell(),      complex_scalar(1),
                            sparse_row({1}), row({1, 2}), structure(), scalar(nan),
                            scalar(inf),     scalar(-1),  scalar(0)};
    const std::string tone = "needs the option 'f0' (Hz).";
    expect_errors(
        without_elements("fnm_tsd"),
        {{{"time"}, {missing}, "fnm_tsd needs the option 'time', made by kavro.set_time_samples."},
         {{"excitation"},
          {missing},
          "fnm_tsd needs the option 'excitation', made by kavro.set_excitation_function."},
         {{"ndiv", "threads"},
          no_numbers,
          "The option '@' must be one whole number of at least 1."},
         {{"ndiv", "threads"},
          {scalar(4.5), scalar(3e9)},
          "The option '@' must be one whole number of at least 1."},
         {{"exact"},
          {text("t"), scalar(2), cell(), row({1, 1}), scalar(nan), empty()},
          "The option 'exact' must be true or false."},
         {{"progress"},
          {text("t"), scalar(2), cell(), empty()},
          "The option 'progress' must be true, false or a function handle."}});
    expect_error(Call("fnm_tsd_sse").set("ndiv", 2147483647),
                 "Computed number of abscissas is too large.");
    expect_errors(without_elements("fnm_cw"),
                  {{{"f0"}, no_numbers, "The option 'f0' must be one positive number (Hz)."},
                   {{"f0"}, {missing}, "fnm_cw " + tone}});
    Call own = without_elements("fnm_cw").set("f0", missing).set("medium.f0", 1e6);
    EXPECT_EQ(run(own).error, std::nullopt);
    expect_errors(own, {{{"medium.f0"}, {scalar(nan), scalar(inf)}, "fnm_cw " + tone}});
    expect_errors(Call("fnm_cw_apodized"),
                  {{{"apodization"}, no_profiles, "The option 'apodization' " + profiles + "."},
                   {{"elements.apodization"},
                    no_profiles,
                    "Transducer field 'apodization' " + profiles + " (element 1)."}});
    const Value pulse = Call()["excitation"];
    expect_error(Call("fnm_fdtsd").set("elements", discs(2)).set("excitation", pulse),
                 "fnm_fdtsd, element 1: this method needs a sampled waveform, not a pulse.");
    expect_errors(
        Call("kzk_transient"),
        {{{"excitation"},
          {sampled_excitation({0, 1, 0})},
          "kzk_transient, element 1: this method needs a pulse with a centre frequency, not a "
          "sampled waveform."},
         {{"excitation.f0"},
          {scalar(-2)},
          "kzk_transient, element 1: this method needs a pulse of positive 'f0', not -2."}});
}

TEST(SolveErrors, name_method_shape_and_element_before_any_work) {
    for (const kavro::Operation& operation : kavro::operations()) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            if (!implements(operation, shape)) {
                Call call(operation);
                call.set("elements", elements_with(operation, &shape));
                call.set("grid", structure());  // not even looked at
                expect_error(call,
                             operation.name + ", shape '"s + shape.identifier + "' (" + shape.name +
                                 "), element " + std::to_string(call["elements"]->count()) +
                                 ": This function is not implemented for this transducer shape.");
            }
        }
    }
}

// Numbers that make no sense are named, wherever they are, instead of ending in a field of NaN.
TEST(SolveErrors, of_senseless_numbers) {
    enum Demand { finite, not_negative, positive };
    const auto expect_refused = [](const Call& call, const std::vector<std::string>& places,
                                   Demand demand, const std::string& title,
                                   const std::string& where = "") {
        const std::string must[] = {"be finite", "be finite and at least 0",
                                    "be finite and positive"};
        std::vector<std::pair<double, std::string>> senseless{
            {nan, "NaN"}, {inf, "Inf"}, {-inf, "-Inf"}, {-0.25, "-0.25"}, {0, "0"}};
        senseless.resize(3 + static_cast<std::size_t>(demand));
        const std::string field = title + " field '@' must ";
        for (const auto& [number, held] : senseless) {
            expect_errors(call, {{places,
                                  {scalar(number)},
                                  field + must[demand] + ", but holds " + held + where + "."}});
        }
        if (where.empty()) {  // elements and waveforms with complex numbers are not even read
            expect_errors(call, {{places,
                                  {complex_scalar(1)},
                                  field + "hold real numbers, but holds complex ones."}});
        }
        if (demand == finite) {
            EXPECT_EQ(run(call.with(places[0], scalar(-1e-6))).error, std::nullopt);
        }
    };
    Call call("fnm_tsd");
    for (const char* field : {"elements.amplitude", "elements.phase", "elements.time_delay"}) {
        call.set(field, 0);
    }
    call.set("elements", repeated(call["elements"], 2));
    expect_refused(call, {"elements.radius"}, not_negative, "Transducer", " (element 2)");
    expect_refused(call, {"elements.amplitude", "elements.phase", "elements.time_delay"}, finite,
                   "Transducer", " (element 2)");
    expect_errors(call, {{{"elements.center", "elements.euler"},
                          {row({0, nan, 0})},
                          "Transducer field '@' must be finite, but holds NaN (element 2)."}});
    expect_refused(call, {"medium.soundspeed"}, positive, "Medium");
    expect_refused(call, {"medium.density", "medium.attenuationdBcmMHz"}, not_negative, "Medium");
    expect_refused(
        call,
        {"medium.nonlinearityparameter", "medium.bloodperfusion", "medium.specificheat",
         "medium.specificheatofblood", "medium.thermalconductivity", "medium.powerlawexponent"},
        finite, "Medium");
    expect_refused(call,
                   {"grid.xmin", "grid.xmax", "grid.ymin", "grid.ymax", "grid.zmin", "grid.zmax"},
                   finite, "Coordinate grid");
    expect_refused(call, {"grid.delta"}, not_negative, "Coordinate grid");
    expect_errors(call, {{{"grid.coordinates"},
                          {numbers({0, 0, 0, nan, 1, 1}, {2, 3})},
                          "Coordinate grid field '@' must be finite, but holds NaN."}});
    expect_refused(call, {"time.tmin", "time.tmax", "time.time_samples"}, finite, "Time samples");
    expect_refused(call, {"time.deltat"}, not_negative, "Time samples");
    expect_refused(call, {"excitation.f0", "excitation.B"}, finite, "Excitation", " (row 1)");
    expect_refused(call, {"excitation.pulse_width"}, not_negative, "Excitation", " (row 1)");
    call.set("excitation", sampled_excitation({0, 1, 2, 1}));
    expect_refused(call, {"excitation.clip_threshold"}, finite, "Excitation", " (row 1)");
    expect_refused(call, {"excitation.ts"}, positive, "Excitation", " (row 1)");
    expect_refused(call, {"excitation.w"}, not_negative, "Excitation", " (row 1)");
    expect_errors(call, {{{"excitation.signal"},
                          {row({0, 1, inf, 1})},
                          "Excitation field '@' must be finite, but holds Inf (row 1)."}});
}

TEST(SolveErrors, of_sizes_that_no_face_has) {
    Call call("fnm_transient");
    const auto is_error = [&](const char* field, double value, const std::string& message) {
        expect_errors(call, {{{"elements."s + field},
                              {scalar(value)},
                              "Transducer field '@' must be " + message + " (element 1)."}});
    };
    call.set("elements.shape", text("shel")).set("elements.radius", 5e-3);
    is_error("rad_curvature", 0, "finite and positive, but holds 0");
    is_error("rad_curvature", 4e-3, "at least 'radius', 0.005, but holds 0.004");
    EXPECT_EQ(run(call.set("elements.rad_curvature", 5e-3)).error, std::nullopt);
    call.set("elements.inner_radius", 4e-3).set("elements.geometric_focus", 20e-3);
    for (const char* shape : {"ring", "sph ring"}) {
        call.set("elements.shape", text(shape));
        is_error("outer_radius", 3e-3, "at least 'inner_radius', 0.004, but holds 0.003");
    }
    call.set("elements.outer_radius", 5e-3);
    is_error("geometric_focus", -1, "finite and positive, but holds -1");
    is_error("geometric_focus", 4e-3, "at least 'outer_radius', 0.005, but holds 0.004");
}

// An array without elements has no shape that could lack the march.
TEST(SolveErrors, of_marches) {
    for (const std::string method : {"kzk_transient", "kzk_cw"}) {
        const bool harmonic = method == "kzk_cw";
        const std::string fields =
            harmonic ? "'extent', 'points_per_radius', 'growth', 'harmonics', 'source_phase'"
                     : "'extent', 'points_per_radius', 'step', 'implicit', 'diffraction'";
        const std::string field = "The field '@' of the option 'kzk' must be ";
        const std::string plane = method + " needs a regular grid with one value of y.";
        const Values no_numbers{missing,    empty(),       scalar(0), scalar(nan),
                                scalar(-2), scalar(1e300), text("1"), row({1, 1})};
        const Call call = without_elements(method);
        EXPECT_EQ(run(call).error, std::nullopt);
        using Places = std::vector<std::string>;
        expect_errors(
            call,
            {{{"kzk"},
              {missing},
              method + " needs the option 'kzk', a structure with the march's parameters."},
             {{"kzk"},
              {scalar(1), structure(1, 2), structure(0, 0), cell()},
              "The option 'kzk' must be a structure with the fields " + fields + " for " + method +
                  "."},
             {{"kzk.exten"},
              {scalar(1)},
              "The option 'kzk' has a field '@', but " + method + " reads " + fields + "."},
             {harmonic ? Places{"kzk.extent", "kzk.harmonics"} : Places{"kzk.extent"}, no_numbers,
              field + "one whole number of at least 1 for " + method + "."},
             {{"kzk.points_per_radius", harmonic ? "kzk.growth" : "kzk.step"},
              no_numbers,
              field + "one positive number for " + method + "."},
             {harmonic ? Places{"kzk.source_phase"} : Places{"kzk.implicit", "kzk.diffraction"},
              {scalar(2), empty()},
              field + "true or false for " + method + "."},
             {{"grid.ymax"}, {scalar(1e-3)}, plane},
             {{"grid"}, {list_of_points({0}, {0}, {1})}, plane}});
    }
    expect_errors(
        Call("kzk_transient"),
        {{{"time.tmax"},
          {scalar(1e-6)},  // the wave needs 1.33 us
          "kzk_transient needs a time axis that lasts until the wave has come to the farthest "
          "plane."},
         {{"time"}, {list_of_times({1e-6, 2e-6})}, "kzk_transient needs a regular time axis."},
         {{"elements.center", "elements.euler"},
          {row({0, 0, 1e-3}), row({1e-3, 0, 0}), row({0, 1e-3, 0})},
          "kzk_transient, element 1: the march starts from the origin towards +z; center, euler, "
          "phase and time_delay must be 0."},
         {{"elements.phase", "elements.time_delay"},
          {scalar(1e-7)},
          "kzk_transient, element 1: *"}});
}

// Where the library's march would answer with zeros.
TEST(SolveErrors, of_marches_that_cannot_run) {
    for (const std::string method : {"kzk_transient", "kzk_cw"}) {
        const bool harmonic = method == "kzk_cw";
        for (const int kind : {0, 1, 2, 3}) {
            const bool shell = kind % 2 == 1;
            SCOPED_TRACE(method + ", kind " + std::to_string(kind));
            Call call(method);
            call.set("medium.nonlinearityparameter", 3.5).set("exact", logical(kind < 2));
            if (shell) {
                call.set("elements.shape", text("shel")).set("elements.rad_curvature", 8e-3);
            }
            EXPECT_EQ(run(call).error, std::nullopt);
            const std::string begin = method + ", element 1: the ";
            const std::string option = begin + "field '@' of the option 'kzk' must be ";
            expect_errors(
                call,
                {{{"kzk.points_per_radius"},
                  {scalar(0.001)},
                  option +
                      "at least 0.666667 and less than 3.33333e+08 for this extent, not 0.001."},
                 {{"kzk.extent"},
                  {scalar(2147483647)},
                  option + "at least 1 and less than 1e9, not 2.14748e+09."},
                 {{"elements.radius"},
                  {scalar(0)},
                  begin + "Rayleigh distance or the radius of curvature must be a positive scale "
                          "length, not 0."},
                 {{"elements.amplitude"},
                  {scalar(1e300)},
                  begin + "field 'amplitude' must be small enough for this medium and these "
                          "lengths, not 1e+300."},
                 harmonic
                     ? Wrong{{"kzk.growth"}, {scalar(1e-12)}, option + "more than 6e-8, not 1e-12."}
                     : Wrong{{"kzk.step"}, {scalar(1e-12)}, option + "more than *"}});
            if (!harmonic) {
                expect_error(call.with("medium.attenuationdBcmMHz", scalar(1e30)),
                             begin +
                                 "medium's field 'attenuationdBcmMHz' must be small enough for "
                                 "this step, not 1e+30.");
            } else if (shell) {
                expect_error(call.with("kzk.source_phase", logical(true)),
                             begin +
                                 "field 'source_phase' of the option 'kzk' must be false, for "
                                 "only a disc's march has a source phase.");
            } else {
                EXPECT_EQ(run(call.with("kzk.source_phase", logical(true))).error, std::nullopt);
            }
        }
    }
}

// The march's nonlinearity is not printed here, and its complaint is a warning.
TEST(SolveErrors, of_a_shock_is_a_warning) {
    Call call("kzk_transient");
    for (const bool shocked : {false, true}) {
        call.set("medium.nonlinearityparameter", 3.5).set("elements.amplitude", shocked ? 5000 : 1);
        const Outcome outcome = run(call);
        EXPECT_EQ(outcome.error, std::nullopt);
        EXPECT_EQ(outcome.printed, "");
        EXPECT_EQ(
            outcome.warnings,
            std::vector(shocked ? 1 : 0,
                        "kzk_transient: too small dSigma. The wave has overtaken itself "
                        "within a step, and planes beyond are zero: the march needs a smaller "
                        "'step'.\n"s));
    }
}

TEST(SolveFaults, every_allocation_may_fail) {
    Call call("fnm_tsd");
    call.set("elements", discs(2));
    call.set("excitation", sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1}));
    expect_no_harm_of_failing_allocations(call);
    EXPECT_EQ(run(call, Leaving::exception, Fault::creation).error, "The host has no memory left.");
}

// Values of every kind in every place.
TEST(SolveFaults, strange_values_end_in_a_result_or_in_an_error) {
    const Values strange{empty(),         scalar(nan),        scalar(inf),
                         scalar(-1),      scalar(0),          scalar(1e300),
                         text("x"),       complex_scalar(1),  text(""),
                         cell(),          sparse_row({1}),    structure(),
                         structure(0, 0), logical(true),      row({1, 2, 3}),
                         discs(1),        string_object("a"), function([](double) {})};
    std::mt19937 random(1);
    const auto pick = [&](std::size_t n) {
        return static_cast<std::size_t>(random() % static_cast<std::uint32_t>(n));
    };
    Tally tally;
    for (int i = 0; i < 3000; ++i) {
        const kavro::Operation& operation = kavro::operations()[pick(22)];
        Values all = Call(operation).set("elements", elements_with(operation)).all();
        if (pick(4) != 0) {
            all[pick(all.size())] = strange[pick(strange.size())];
        }
        if (pick(4) == 0) {
            all.resize(pick(all.size() + 1));
        }
        if (all.empty() || all[0]->class_id != mxCHAR_CLASS) {
            all.insert(all.begin(), text("fnm_tsd"));
        }
        tally.run(all);
    }
    tally.expect(300, 30);
}

}  // namespace
}  // namespace host
