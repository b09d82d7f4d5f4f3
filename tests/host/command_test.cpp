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
        EXPECT_EQ(line.find("circ") != std::string::npos,
                  implements(operation, kavro::shapes()[0]));
        EXPECT_EQ(line.find(",kzk,") != std::string::npos, operation.uses(kavro::input_kzk));
        EXPECT_TRUE(line.ends_with(operation.summary));
    }
}

TEST(Commands, refuse_what_they_do_not_know) {
    expect_error(std::vector<Value>{}, "The first argument must be the name of a command.");
    expect_error({row({1.0})}, "The first argument must be the name of a command.");
    expect_error({text("method")}, "There is no command 'method'.");
    expect_error({text("methods")}, "This function has 1 result(s).", "", 2);
}

}  // namespace
}  // namespace host
