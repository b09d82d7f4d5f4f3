// Echoes asked for through the door: what it says to what makes no sense, and that nothing breaks
// it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

// Two channels of a disc each, two scatterers, 11 instants.
Call echo() {
    Call call = Call::command("pulse_echo", {"elements", "scatterers", "medium"});
    const Value elements = discs(2);
    set(elements, "channel", row({0}), 0);
    set(elements, "channel", row({0}), 1);
    call.set("elements", elements);
    call.set("scatterers", record("positions = [0 0 10e-3; 1e-3 0 12e-3], strengths = [1e-4; 0]"));
    call.set("medium", Call()["medium"]);
    call.set("time", record("tmin = 13e-6, tmax = 15e-6, deltat = 2e-7"));
    return call.set("excitation", Call()["excitation"]);
}

Call spectrum() {
    Call call = Call::command("pulse_echo", {"elements", "scatterers", "medium"});
    for (const char* name : {"elements", "scatterers", "medium"}) {
        call.set(name, echo()[name]);
    }
    return call.set("f0 = [1e6 1.5e6 1.7e6]");
}

TEST(Echoes, refuse_what_makes_no_sense) {
    expect_error({text("pulse_echo"), discs(1), discs(1)},
                 "This function needs elements, scatterers and a medium; then options by name and "
                 "value.");
    const std::string lacks =
        "pulse_echo needs the options 'time', made by kavro.set_time_samples, and 'excitation', "
        "made by kavro.set_excitation_function, or 'f0' (Hz).";
    expect_errors(echo(), "time excitation | missing | " + lacks);
    expect_errors(echo(), R"(
elements            | 1              | Transducer array must be a MATLAB structure.\n
elements            | struct[0 0]    | The transducer array has no elements.
elements.radius     | 0              | pulse_echo, element 2 of those that listen: a face without an area hears nothing.
elements.channel    | []             | Transducer field '@' must hold 1 real number(s) (element 2). It is empty.
elements.channel    | -1, 1.5, Inf   | Transducer field '@' must be a whole number of at least 0, but holds # (element 2).
receivers           | 1              | Transducer array must be a MATLAB structure.\n
scatterers          | 1              | Scatterers must be a MATLAB structure.\n
scatterers.positions | missing       | Scatterers field '@' must hold n x 3 real numbers, but is missing.
scatterers.positions | [1 2]         | Scatterers field '@' must hold n x 3 real numbers, but is 1 x 2.
scatterers.positions | [0 0 1; 0 NaN 1] | Scatterers field '@' must be finite, but holds NaN (scatterer 2).
scatterers.strengths | [1; Inf]      | Scatterers field '@' must be finite, but holds Inf (scatterer 2).
scatterers.strengths | [1; 2; 3]     | Scatterers field '@' must hold 2 real number(s), one for each of the positions, but has 3 entries.
scatterers.strengths | 1i            | Scatterers field '@' must hold 2 real number(s), one for each of the positions, but is complex.
scatterers.exponent | NaN            | Scatterers field '@' must be finite, but holds NaN.
scatterers.exponent | 2              | Scatterers field 'reference_frequency' must hold 1 real number(s). It is missing.
medium.density      | 0              | The density must be a positive number, not 0.
medium.soundspeed   | 0              | Medium field '@' must be finite and positive, but holds #.
tolerance           | 0, 1, NaN      | The option '@' must be one number from 1e-12 to 0.1, not #.
f0                  | 1e6            | The options 'f0' (spectra) and 'time' (signals over time) exclude each other.
delays apodization  | 1, 'x', []     | The option '@' must *
delays              | [0 0 0]        | The option '@' must be events x channels, n x 2, but is 1 x 3.
delays              | [0; 0]         | The option '@' must be events x channels, n x 2, but is 2 x 1.
delays              | [0 Inf]        | The option '@' must be finite, or NaN for silence, but holds Inf.
apodization         | [0 NaN]        | The option '@' must be finite, but holds NaN.
events              | 1              | Events must be a MATLAB structure.\n
excitation          | struct[2 1]    | The option '@' must be one waveform for all elements, not 2 of them.
)");
    const Call delayed = echo().set("delays = [0 0; 0 NaN]");
    expect_errors(delayed, R"(
apodization         | [1 1]          | The option '@' must be as large as the delays, 2 x 2, but is 1 x 2.
events              | struct[1 1]    | The options 'events' and 'delays' exclude each other.
)");
    expect_error(echo().set("events", record("delays = [0 0], apodization = [1 1; 1 1]")),
                 "Events field 'apodization' must be as large as the delays, 1 x 2, but is 2 x 2.");
    const Call lossy = echo().set("medium.attenuationdBcmMHz = 0.5");
    expect_errors(lossy, R"(
medium.powerlawexponent | 0, 2.5 | Medium field '@' must be above 0 and at most 2 where the medium attenuates, but holds #.
)");
    expect_errors(spectrum(), R"(
f0 | [1e6 -1] | The option '@' must be one positive number (Hz) or a vector of them, not -1.
)");
    Call responses = echo().set("response", echo()["excitation"]);
    responses.set("receive_response", echo()["excitation"]);
    expect_error(responses,
                 "The option 'response' acts both ways: it and the option 'receive_response' "
                 "exclude each other.");
}

TEST(Echoes, in_parts_need_what_joins_them) {
    const Value extent = row({0.02, 1e-5, 0.03, 0.015, 1e-4, 2e-5});
    expect_error({text("echo_sum")}, "This function needs the extent of all scatterers.");
    expect_error({text("echo_signals"), extent},
                 "This function needs the extent of all scatterers and their sum.");
    expect_error({text("echo_sum"), row({1.0})},
                 "The extent must hold 6 numbers, but is one number.");
    std::vector<Value> arguments = spectrum().all();
    arguments.front() = text("echo_signals");
    arguments.insert(arguments.begin() + 1, {extent, row({1.0, 2.0})});
    expect_error(arguments, "The sum of all chunks must have 6 numbers, not 1.");
}

TEST(Echoes, say_how_many_values_are_too_many) {
    const Value silence = numbers(std::vector<double>(1000, 0.0), {500, 2});
    expect_error(echo().with("delays", silence).set("time.tmax = 1").set("time.deltat = 4e-7"),
                 "Computed number of output values is too large. 2499968000 are asked for, "
                 "2147483647 are the most. Take fewer events, receivers or instants.");
}

TEST(Echoes, survive_failing_allocations_and_senseless_values) {
    expect_no_harm_of_failing_allocations(spectrum().set("threads = 1"));
    Call events = spectrum().set("apodization = [1 1; 0 1]").set("elements.channel = 1");
    expect_results_or_errors({echo().set("tolerance = 0.1"), spectrum(), events}, 150, 60);
}

}  // namespace
}  // namespace host
