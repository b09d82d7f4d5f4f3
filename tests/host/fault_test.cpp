// What the module does when something fails that is not the input's fault, and under input that
// nobody thought of.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

TEST(Faults, every_allocation_may_fail) {
    Call call;
    call.set("elements", discs(2)).set("excitation", sampled_excitation());
    expect_no_harm_of_failing_allocations(call);
}

TEST(Faults, errors_of_the_host_pass_through) {
    EXPECT_EQ(run(Call(), Leaving::exception, Fault::creation).error,
              "The host has no memory left.");
    const Call printing = Call().set("time.time_samples = 1e-6");
    EXPECT_EQ(run(printing, Leaving::exception, Fault::print).error, "Interrupted.");
}

TEST(Faults, an_abandoned_call_is_released_by_the_next) {
    const std::vector<double> wanted = pressure(Call());
    const long before = live_allocations();
    long after_one = 0;
    for (int i = 0; i < 3; ++i) {
        const Outcome outcome = call(mexFunction, 1, Call().all(), Leaving::jump, Fault::creation);
        EXPECT_EQ(outcome.error, "The host has no memory left.");
        after_one = i == 0 ? live_allocations() : after_one;
        EXPECT_EQ(live_allocations(), after_one);
    }
    EXPECT_GT(after_one, before);
    const Outcome outcome = call(mexFunction, 1, Call().all());
    ASSERT_TRUE(outcome.output);
    EXPECT_EQ(values(outcome.output), wanted);
    EXPECT_EQ(live_allocations(), before);
}

TEST(Faults, senseless_values_end_in_a_result_or_in_an_error) {
    const Call call = Call().set("elements.amplitude = 1, elements.time_delay = 0");
    const Call sampled = call.with("excitation", sampled_excitation());
    const std::string list = "time.time_samples = [0 2e-6 1e-6]";
    expect_results_or_errors({call, call, sampled, call.with(list), sampled.with(list)}, 300, 30);
}

}  // namespace
}  // namespace host
