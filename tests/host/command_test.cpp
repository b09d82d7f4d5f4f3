// Tests of the module with all commands, `kavro.internal.call`, in the host double.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_call.h"
#include "transducers/operations.h"

namespace host {
namespace {

using kavro::Operation;

TEST(Commands, list_the_methods_of_the_library) {
    const Outcome outcome = run({text("methods")});
    ASSERT_TRUE(outcome.output);
    const std::vector<std::string> lines = parts_of(characters(outcome.output), "\n");
    ASSERT_EQ(lines.size(), kavro::shapes().size() + kavro::operations().size());
    EXPECT_EQ(lines[1], "shape\tring\tring");
    for (std::size_t i = 0; i < kavro::operations().size(); ++i) {
        const std::string& line = lines[kavro::shapes().size() + i];
        const Operation& operation = kavro::operations()[i];
        EXPECT_TRUE(line.starts_with(std::string("method\t") + operation.name + "\t"));
        EXPECT_EQ(line.find("disc") != std::string::npos,
                  implements(operation, kavro::shapes()[0]));
        EXPECT_EQ(line.find(",kzk,") != std::string::npos, operation.uses(kavro::input_kzk));
        EXPECT_TRUE(line.ends_with(operation.summary));
    }
}

TEST(Commands, tell_the_power_of_elements) {
    const Call scene("fnm_cw");
    const std::vector<Value> given{text("acoustic_power"), scene["elements"], scene["medium"],
                                   row({1e6})};
    const Outcome outcome = run(given);
    ASSERT_EQ(outcome.error, std::nullopt);
    EXPECT_GT(values(outcome.output)[0], 0.0);
    const auto with = [&](std::size_t i, const Value& value) {
        std::vector<Value> other = given;
        other[i] = value;
        return other;
    };
    expect_error({given[0], given[1], given[2]},
                 "This function needs elements, a medium and a frequency; then options by name and "
                 "value.");
    expect_error(with(1, row({1.0})), "Transducer array must be a MATLAB structure.\n");
    expect_error(with(3, row({0.0})),
                 "The frequency 'f0' must be one positive number (Hz), not 0.");
    expect_error(with(3, row({1e30})), "Out of memory.*");
}

TEST(Commands, refuse_what_they_do_not_know) {
    expect_error(std::vector<Value>{}, "The first argument must be the name of a command.");
    expect_error({row({1.0})}, "The first argument must be the name of a command.");
    expect_error({text("method")}, "There is no command 'method'.");
    expect_error({text("methods")}, "This function has 1 result(s).", "", 2);
}

}  // namespace
}  // namespace host
