// What the door to all operations says to what it cannot do, and that nothing breaks it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

using Values = std::vector<Value>;
using namespace std::string_literals;

TEST(SolveErrors, of_the_arguments) {
    const std::string few =
        "This function needs a method, elements, a grid and a medium; then options by name and "
        "value.";
    expect_error(Values(), few);
    expect_error({text("fnm_tsd"), discs(1), discs(1)}, few);
    const Call call("fnm_tsd");
    expect_error(call.all(), "This function has two results.", "", 3);
    EXPECT_EQ(run(call.all(), 0).error, std::nullopt);  // the host calls it ans
    EXPECT_EQ(run(call.with("method", string_object("fnm_tsd"))).error, std::nullopt);
    EXPECT_EQ(run(call.with("NDIV = 1")).error, std::nullopt);
    std::string known;
    for (const kavro::Operation& operation : kavro::operations()) {
        known += (known.empty() ? "" : ", ") + std::string(operation.name);
    }
    expect_errors(call,
                  "method | 'fnm_tds' | There is no method '#'. The methods are " + known + ".");
    expect_errors(call, R"(
method   | 1  | The first argument must be the name of a method, not #.
method   | {} | The first argument must be the name of a method, but *
elements | 1     | Transducer array must be a MATLAB structure.\n
grid     | 1     | Coordinate grid must be a MATLAB structure.\n
medium   | 1     | Medium must be a MATLAB structure.\n
time     | 1     | Time samples must be a MATLAB structure.\n
nidv     | 1     | There is no option '@'. fnm_tsd takes the options 'time', 'excitation', 'tolerance', 'ndiv', 'measure', 'per_element', 'threads', 'exact', 'progress'.
F0       | 1     | The option 'f0' is not used by fnm_tsd. fnm_tsd takes the options 'time', 'excitation', *
TIME     | 1     | The option '@' is given twice.
elements.phase | '1' | Transducer field '@' must hold 1 real number(s) (element 1). It is a text.
)");
    // A name with a NUL in it is another name.
    expect_error(call.with("method", text("fnm_tsd\0x"s)), "There is no method 'fnm_tsd?x'.*");
    expect_error(call.with("ndiv\0x"s, value("4")), "There is no option 'ndiv?x'.*");
    expect_error(call.with("", value("4")), "There is no option ''.*");
    expect_error(
        call.with("elements.shape", text("circ\0x"s)),
        "Transducer field 'shape' must be one of 'disc', 'ring', 'rectangle', 'spherical shell', "
        "'spherical ring', 'polygon', but is 'circ?x' (element 1).");
    Values all = call.all();
    all.push_back(text("ndiv"));
    expect_error(all, "The option 'ndiv' has no value.");
    all.back() = value("1");
    expect_error(all, "Argument 9 must be the name of an option. fnm_tsd takes the options *");
}

TEST(SolveErrors, of_the_velocity) {
    const Call call = Call("fnm_cw").with("velocity = true");
    EXPECT_EQ(run(call).error, std::nullopt);
    expect_error(call.all(), "This function has three results with the option 'velocity'.", "", 4);
    expect_error(call.with("velocity = 2"), "The option 'velocity' must be true or false, not 2.");
    expect_no_harm_of_failing_allocations(call);
}

TEST(SolveErrors, of_options) {
    expect_errors(Call("fnm_tsd"), R"(
measure    | 1       | The option '@' must be one of 'peak', 'peak_positive', 'peak_negative', 'energy', 'rms', 'time_of_peak', or a cell array of them, not #.
measure    | {}      | The option '@' must be one of 'peak', 'peak_positive', 'peak_negative', 'energy', 'rms', 'time_of_peak', or a cell array of them, but *
measure    | 'peek'  | The option '@' must be one of 'peak', 'peak_positive', 'peak_negative', 'energy', 'rms', 'time_of_peak', or a cell array of them, not '#'.
per_element | 2      | The option '@' must be true or false, not #.
tolerance  | 1e-13, 0.2, NaN, Inf, 0 | The option '@' must be one number from 1e-12 to 0.1, not *
tolerance  | '1'           | The option '@' must be one number from 1e-12 to 0.1, not '#'.
tolerance  | [1e-3 1e-4]   | The option '@' must be one number from 1e-12 to 0.1, but has 2 entries.
tolerance  | 1i            | The option '@' must be one number from 1e-12 to 0.1, but is complex.
tolerance  | true          | The option '@' must be one number from 1e-12 to 0.1, but is logical.
time       | missing | fnm_tsd needs the option 'time', made by kavro.set_time_samples.
excitation | missing | fnm_tsd needs the option 'excitation', made by kavro.set_excitation_function.
ndiv threads | NaN, 4.5, -1, 0 | The option '@' must be one whole number of at least 1, not #.
ndiv threads | Inf, 3e+09 | The option '@' must be one whole number from 1 to 2147483647, not #.
ndiv threads | [], {}, 1i, sparse[1], [1 2], struct[1 1] | The option '@' must be one whole number of at least 1, but *
exact      | 't', 2, {}, [1 1], NaN, [] | The option '@' must be true or false, *
progress   | 't', 2, {}, [1 1], NaN, [] | The option '@' must be true, false or a function handle, *
)");
    expect_error(Call("fnm_tsd").with("tolerance = 1e-3, ndiv = 4"),
                 "The options 'tolerance' and 'ndiv' exclude each other: give an accuracy or a "
                 "number of abscissas, not both 0.001 and 4.");
    expect_error(Call("fnm_tsd").with("tolerance = 1e-3, exact = false"),
                 "The option 'tolerance' needs 'exact' to be true: the reference counts abscissas, "
                 "by 'ndiv'.");
    expect_errors(Call("fnm_cw"), R"(
f0 | [], '1', {}, 1i, sparse[1], struct[1 1] | The option '@' must be one positive number (Hz) or a vector of them, *
f0 | NaN, Inf, -1, 0 | The option '@' must be one positive number (Hz) or a vector of them, not #.
f0 | [1 -2], [-2 1] | The option '@' must be one positive number (Hz) or a vector of them, not -2.
f0 | missing | fnm_cw needs the option 'f0' (Hz).
)");
    const Call own = Call("fnm_cw").set("f0 = missing, medium.f0 = 1e6");
    EXPECT_EQ(run(own).error, std::nullopt);
    expect_errors(own, "medium.f0 | NaN, Inf, 0 | fnm_cw needs the option 'f0' (Hz).");
    expect_errors(Call("fnm_tsd_sse"),
                  "ndiv | 2147483647 | Computed number of abscissas is too large. 2147483648 are "
                  "asked for, 2147483647 are the most. Take a smaller 'ndiv'.");
    expect_errors(Call("fnm_cw_apodized"), R"(
apodization          | 'cosin' | The option '@' must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4, not '#'.
apodization          | 5, -1, 1.5 | The option '@' must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4, not #.
elements.apodization | 5, -1, 1.5 | Transducer field '@' must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4, not # (element 1).
)");
    expect_error(Call("fnm_fdtsd").set("excitation", Call()["excitation"]),
                 "fnm_fdtsd, element 1: this method needs a sampled waveform, not a pulse.");
    expect_error(Call("kzk_transient").set("excitation", sampled_excitation()),
                 "kzk_transient, element 1: this method needs a pulse with a centre frequency, not "
                 "a sampled waveform.");
    expect_errors(Call("kzk_transient"), R"(
excitation.f0 | -2, 0 | kzk_transient, element 1: this method needs a pulse of positive '@', not #.
)");
}

TEST(SolveErrors, name_method_shape_and_element_before_any_work) {
    for (const kavro::Operation& operation : kavro::operations()) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            if (!implements(operation, shape)) {
                Call call(operation);
                call.set("elements", elements_with(operation, &shape));
                call.set("grid = struct[1 1]");  // not even looked at
                expect_error(call,
                             operation.name + ", shape '"s + shape.name + "', element " +
                                 std::to_string(call["elements"]->count()) +
                                 ": This function is not implemented for this transducer shape.");
            }
        }
    }
}

// Where losses count by a power law, it must be one; elsewhere nobody asks.
TEST(SolveErrors, of_power_laws) {
    for (const char* method : {"fnm_spectral", "fnm_cw"}) {
        Call call(method);
        call.set("medium.attenuationdBcmMHz = 0.5, medium.powerlawexponent = 1.1");
        call.set("medium.referencefrequency = 2e6");
        EXPECT_EQ(run(call).error, std::nullopt) << method;
        EXPECT_TRUE(run(call).warnings.empty()) << method;
        expect_errors(call, R"(
medium.powerlawexponent    | 0, -1, 2.5            | Medium field '@' must be above 0 and at most 2 where the medium attenuates, but holds #.
medium.referencefrequency  | 0, -1, NaN, Inf       | Medium field '@' must be finite and positive, but holds #.
medium.attenuationdBcmMHz  | -1                    | Medium field '@' must be finite and at least 0, but holds #.
)");
        call.set("medium.attenuationdBcmMHz = 0, medium.powerlawexponent = 0");
        EXPECT_EQ(run(call).error, std::nullopt) << method;
    }
}

// Numbers that make no sense are named, wherever they are, instead of ending in a field of NaN.
TEST(SolveErrors, of_senseless_numbers) {
    Call call("fnm_tsd");
    call.set("elements.amplitude = 0, elements.phase = 0, elements.time_delay = -1e-6");
    call.set("elements", repeated(call["elements"], 2));
    EXPECT_EQ(run(call).error, std::nullopt);
    expect_errors(call, R"(
elements.radius            | NaN, Inf, -Inf, -0.25 | Transducer field '@' must be finite and at least 0, but holds # (element 2).
elements.amplitude elements.phase elements.time_delay | NaN, Inf, -Inf | Transducer field '@' must be finite, but holds # (element 2).
elements.center elements.euler | [0 NaN 0]         | Transducer field '@' must be finite, but holds NaN (element 2).
medium.soundspeed          | NaN, Inf, -Inf, -1, 0 | Medium field '@' must be finite and positive, but holds #.
medium.density medium.attenuationdBcmMHz | NaN, Inf, -Inf, -1 | Medium field '@' must be finite and at least 0, but holds #.
medium.nonlinearityparameter medium.bloodperfusion medium.specificheat | NaN, Inf, -Inf | Medium field '@' must be finite, but holds #.
medium.specificheatofblood medium.thermalconductivity medium.powerlawexponent | NaN, Inf, -Inf | Medium field '@' must be finite, but holds #.
medium.density             | 1i                    | Medium field '@' must hold real numbers, but holds complex ones.
grid.xmin grid.xmax grid.ymin grid.ymax grid.zmin grid.zmax | NaN, Inf, -Inf | Coordinate grid field '@' must be finite, but holds #.
grid.coordinates           | [0 0 1; 0 NaN 1]      | Coordinate grid field '@' must be finite, but holds NaN.
grid.delta                 | [1 1 -1]              | Coordinate grid field '@' must be finite and at least 0, but holds -1.
grid.delta                 | 1i                    | Coordinate grid field '@' must hold real numbers, but holds complex ones.
time.tmin time.tmax time.time_samples | NaN, Inf, -Inf | Time samples field '@' must be finite, but holds #.
time.deltat                | NaN, Inf, -Inf, -1    | Time samples field '@' must be finite and at least 0, but holds #.
time.tmin                  | 1i                    | Time samples field '@' must hold real numbers, but holds complex ones.
excitation.f0 excitation.B | NaN, Inf, -Inf        | Excitation field '@' must be finite, but holds # (row 1).
excitation.pulse_width     | NaN, Inf, -Inf, -1    | Excitation field '@' must be finite and at least 0, but holds # (row 1).
)");
    expect_errors(Call("fnm_tsd").set("excitation", sampled_excitation()), R"(
excitation.clip_threshold  | NaN, Inf, -Inf        | Excitation field '@' must be finite, but holds # (row 1).
excitation.clip_threshold  | 1, 2                  | Excitation field '@' must be below 1, at which no frequency is left, but holds # (row 1).
excitation.ts              | NaN, Inf, -Inf, -1, 0 | Excitation field '@' must be finite and positive, but holds # (row 1).
excitation.w               | NaN, Inf, -Inf, -1    | Excitation field '@' must be finite and at least 0, but holds # (row 1).
excitation.signal          | [0 1 Inf 1]           | Excitation field '@' must be finite, but holds Inf (row 1).
)");
}

// A field that is missing, empty or of another kind is named, with what it is.
TEST(SolveErrors, of_fields_without_numbers) {
    Call call("fnm_tsd");
    expect_errors(call, R"(
elements   | struct[0 0] | The transducer array has no elements.
elements.shape | 'cirk' | Transducer field '@' must be one of 'disc', 'ring', 'rectangle', 'spherical shell', 'spherical ring', 'polygon', but is '#' (element 1).
elements.shape | 'a ring cut from a bowl' | Transducer field '@' must be one of 'disc', 'ring', 'rectangle', 'spherical shell', 'spherical ring', 'polygon', but is a text (element 1).
elements.shape | missing | Transducer field '@' must be one of 'disc', 'ring', 'rectangle', 'spherical shell', 'spherical ring', 'polygon', but is missing (element 1).
elements.radius | missing | Transducer field '@' must hold 1 real number(s) (element 1). It is missing.
elements.center | [1 2]   | Transducer field '@' must hold 3 real number(s) (element 1). It has 2 entries.
elements.radius | 1i      | Transducer field '@' must hold 1 real number(s) (element 1). It is complex.
medium     | struct[1 1] | Medium field 'soundspeed' must hold a number, but is missing.
grid       | struct[1 1] | Coordinate grid field 'xmin' must hold a number, but is missing, and so is 'coordinates'.
time       | struct[1 1] | Time samples field 'tmin' must hold a number, but is missing, and so is 'time_samples'.
medium.density medium.bloodperfusion medium.powerlawexponent | missing | Medium field '@' must hold a number, but is missing.
medium.density             | []          | Medium field '@' must hold a number, but is empty.
medium.density             | '1'         | Medium field '@' must hold a number, but is a text.
medium.density             | true        | Medium field '@' must hold a number, but is logical.
medium.density             | sparse[1]   | Medium field '@' must hold a number, but is of another kind.
medium.density             | struct[1 1] | Medium field '@' must hold a number, but is a structure.
grid.xmax grid.zmin        | 'a'         | Coordinate grid field '@' must hold a number, but is a text.
grid.delta                 | missing     | Coordinate grid field '@' must hold a number, but is missing.
grid.delta                 | [1 1]       | Coordinate grid field '@' must hold 3 numbers, but has 2 entries.
grid.coordinates           | 'abc'       | Coordinate grid field '@' must hold n x 3 numbers, but is a text.
grid.xmax                  | -5          | Coordinate grid field '@' must be at least 'xmin', -0.001, but holds #.
time.tmax time.deltat      | []          | Time samples field '@' must hold a number, but is empty.
time.tmax                  | -1          | Time samples field '@' must be at least 'tmin', 0, but holds #.
excitation.type            | 0, 4, NaN   | Excitation field '@' must be 1, 2 or 3, but holds # (row 1).
excitation.type            | missing     | Excitation field '@' must be 1, 2 or 3, but is missing (row 1).
excitation                 | struct[3 1] | Excitation field 'type' must be 1, 2 or 3, but is missing (row 1).
)");
    expect_errors(call.set("time.tmin = missing"), R"(
time.time_samples          | 'a'         | Time samples field '@' must hold numbers, but is a text.
)");
    call = Call("fnm_tsd").set("excitation", repeated(Call()["excitation"], 3));
    expect_error(call,
                 "Excitation function must have either exactly one row or one row per element. "
                 "It has 3, for 1 element(s).");
}

TEST(SolveErrors, of_limits_say_what_they_are) {
    const Call call("fnm_tsd");
    expect_errors(call, R"(
grid.xmax | 1e12 | Computed number of x coordinate values is too large. 1e+15 are asked for, 2147483647 are the most. Take larger spacings, or compute in parts: several grids of fewer points.
time.tmax | 1e3  | Computed number of time samples is too large. 10000000001 are asked for, 2147483647 are the most. Take a larger step or a shorter time axis.
)");
    expect_errors(call.with("grid.xmax = 50"), R"(
time.tmax | 5e-3 | Computed number of output values is too large. 5000300004 are asked for, 2147483647 are the most. Take fewer points or instants, ask for a 'measure' instead of a field over time, or compute in parts: see kavro.split_grid.
)");
}

TEST(SolveErrors, of_sizes_that_no_face_has) {
    Call call("fnm_transient");
    call.set("elements.shape = 'shel', elements.radius = 5e-3");
    EXPECT_EQ(run(call.with("elements.rad_curvature = 5e-3")).error, std::nullopt);
    expect_errors(call, R"(
elements.rad_curvature | 0     | Transducer field '@' must be finite and positive, but holds # (element 1).
elements.rad_curvature | 0.004 | Transducer field '@' must be at least 'radius', 0.005, but holds # (element 1).
)");
    call.set("elements.inner_radius = 4e-3, elements.outer_radius = 5e-3");
    call.set("elements.geometric_focus = 20e-3");
    for (const char* shape : {"ring", "sph ring"}) {
        expect_errors(call.set("elements.shape", text(shape)), R"(
elements.outer_radius | 0.003 | Transducer field '@' must be at least 'inner_radius', 0.004, but holds # (element 1).
)");
    }
    expect_errors(call, R"(
elements.geometric_focus | -1    | Transducer field '@' must be finite and positive, but holds # (element 1).
elements.geometric_focus | 0.004 | Transducer field '@' must be at least 'outer_radius', 0.005, but holds # (element 1).
)");
    expect_errors(call.set("elements.shape = 'poly', elements.corners = [0 0; 1e-3 0; 0 1e-3]"), R"(
elements.corners | missing, [], '1', 1i, [0 0 1; 1 0 1] | Transducer field '@' must hold n x 2 real numbers (element 1). It *
elements.corners | [0 0; 1 0]           | Transducer field '@' is at fault: a polygon must have at least 3 corners, not 2 (element 1).
elements.corners | [0 0; NaN 0; 0 1]    | Transducer field '@' is at fault: a polygon's corners must be finite, not (nan, 0) (element 1).
elements.corners | [0 0; 1 1; 1 0; 0 1] | Transducer field '@' is at fault: the corners of a polygon must go once around a convex face (element 1).
)");
}

TEST(SolveErrors, of_marches) {
    for (const char* method : {"kzk_transient", "kzk_cw"}) {
        const Call call(method);
        EXPECT_EQ(run(call).error, std::nullopt);
        // Exact marches choose their parameters where none are given.
        expect_errors(Call(method).set("exact = false"), R"(
kzk           | missing | $ needs the option 'kzk', a structure with the march's parameters, where 'exact' is false.
)");
        expect_errors(Call(method).set("kzk", record("harmonics = 2")), R"(
kzk.accuracy  | 0, NaN, '1' | The field '@' of the option 'kzk' must be one positive number for $, *
kzk.harmonics | 0, NaN, 1.5 | The field '@' of the option 'kzk' must be one whole number of at least 1 for $, *
)");
        expect_errors(call, R"(
grid.ymax | 1e-3   | $ needs a regular grid with one value of y.
grid.coordinates | [0 0 1] | $ needs a regular grid with one value of y.
kzk.extent            | missing, [], 0, NaN, -2, 1e300, '1', [1 1] | The field '@' of the option 'kzk' must be one whole number of at least 1 for $, *
kzk.points_per_radius | missing, [], 0, NaN, -2, 1e300, '1', [1 1] | The field '@' of the option 'kzk' must be one positive number for $, *
)");
    }
    expect_errors(Call("kzk_transient"), R"(
kzk       | 1, struct[1 2], struct[0 0], {} | The option 'kzk' must be a structure with the fields 'extent', 'points_per_radius', 'step', 'implicit', 'diffraction' for $*
kzk.exten | 1 | The option 'kzk' has a field '@', but $ reads 'extent', 'points_per_radius', 'step', 'implicit', 'diffraction'.
kzk.step  | missing, [], 0, NaN, -2, 1e300, '1', [1 1] | The field '@' of the option 'kzk' must be one positive number for $, *
kzk.implicit kzk.diffraction | 2, []        | The field '@' of the option 'kzk' must be true or false for $, *
time.tmax | 1e-6 | $ needs a time axis that lasts until the wave has come to the farthest plane.
time.time_samples | [1e-6 2e-6] | $ needs a regular time axis.
elements.center elements.euler | [0 0 1e-3], [1e-3 0 0], [0 1e-3 0] | $, element 1: the march starts from the origin towards +z; center, euler, phase and time_delay must be 0.
elements.phase elements.time_delay | 1e-7 | $, element 1: the march starts from the origin towards +z; center, euler, phase and time_delay must be 0.
)");
    expect_errors(Call("kzk_cw"), R"(
f0 | [1e6 2e6] | The option '@' must be one positive number (Hz), but has 2 entries.
kzk           | 1, struct[1 2], struct[0 0], {} | The option 'kzk' must be a structure with the fields 'extent', 'points_per_radius', 'growth', 'harmonics', 'source_phase' for $*
kzk.exten     | 1 | The option 'kzk' has a field '@', but $ reads 'extent', 'points_per_radius', 'growth', 'harmonics', 'source_phase'.
kzk.growth    | missing, [], 0, NaN, -2, 1e300, '1', [1 1] | The field '@' of the option 'kzk' must be one positive number for $, *
kzk.harmonics | missing, [], 0, NaN, -2, 1e300, '1', [1 1], 1.5 | The field '@' of the option 'kzk' must be one whole number of at least 1 for $, *
kzk.source_phase | 2, [] | The field '@' of the option 'kzk' must be true or false for $, *
)");
}

// Where the library's march would answer with zeros.
TEST(SolveErrors, of_marches_that_cannot_run) {
    for (const bool exact : {true, false}) {
        for (const bool shell : {true, false}) {
            SCOPED_TRACE(std::string(exact ? "exact " : "reference ") + (shell ? "shell" : "disc"));
            Call transient("kzk_transient"), harmonic("kzk_cw");
            for (Call* call : {&transient, &harmonic}) {
                call->set("medium.nonlinearityparameter = 3.5");
                call->set("exact", value(exact ? "true" : "false"));
                if (shell) {
                    call->set("elements.shape = 'shel', elements.rad_curvature = 8e-3");
                }
                EXPECT_EQ(run(*call).error, std::nullopt);
                expect_errors(*call, R"(
kzk.points_per_radius | 0.001 | $, element 1: the field '@' of the option 'kzk' must be at least 0.666667 and less than 3.33333e+08 for this extent, not #.
kzk.extent         | 2147483647 | $, element 1: the field '@' of the option 'kzk' must be at least 1 and less than 1e9, not 2.14748e+09.
elements.radius    | 0      | $, element 1: the Rayleigh distance or the radius of curvature must be a positive scale length, not #.
elements.amplitude | 1e+300 | $, element 1: the field '@' must be small enough for this medium and these lengths, not #.
)");
            }
            expect_errors(transient, R"(
kzk.step                  | 1e-12 | $, element 1: the field '@' of the option 'kzk' must be more than *
medium.attenuationdBcmMHz | 1e+30 | $, element 1: the medium's field '@' must be small enough for this step, not #.
)");
            expect_errors(harmonic, R"(
kzk.growth                | 1e-12 | $, element 1: the field '@' of the option 'kzk' must be more than 6e-8, not #.
)");
            EXPECT_EQ(run(harmonic.set("kzk.source_phase = true")).error.value_or(""),
                      shell
                          ? "kzk_cw, element 1: the field 'source_phase' of the option 'kzk' must "
                            "be false, for only a disc's march has a source phase."
                          : "");
        }
    }
}

// The march's nonlinearity is not printed here, and its complaint is a warning.
TEST(SolveErrors, of_a_shock_is_a_warning) {
    Call call("kzk_transient");
    call.set("exact = false");
    for (const bool shocked : {false, true}) {
        call.set("medium.nonlinearityparameter = 3.5");
        call.set("elements.amplitude", value(shocked ? "5000" : "1"));
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
    call.set("elements", discs(2)).set("excitation", sampled_excitation());
    expect_no_harm_of_failing_allocations(call);
    EXPECT_EQ(run(call, Leaving::exception, Fault::creation).error, "The host has no memory left.");
}

TEST(SolveFaults, senseless_values_end_in_a_result_or_in_an_error) {
    std::vector<Call> calls;
    for (const kavro::Operation& operation : kavro::operations()) {
        calls.push_back(Call(operation).set("elements", elements_with(operation)));
    }
    expect_results_or_errors(calls, 150, 100);
}

}  // namespace
}  // namespace host
