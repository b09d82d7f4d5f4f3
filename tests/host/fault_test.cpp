// What the module does when something fails that is not the input's fault, and under input that
// nobody thought of.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

TEST(Faults, every_allocation_may_fail) {
    Call call;
    call.set("elements", discs(2));
    call.set("excitation", sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1}));
    expect_no_harm_of_failing_allocations(call);
}

TEST(Faults, errors_of_the_host_pass_through) {
    EXPECT_EQ(run(Call(), Leaving::exception, Fault::creation).error,
              "The host has no memory left.");
    const Call printing = Call().set("time", list_of_times({1e-6}));
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

// Every scalar of every structure takes extreme values, alone and in company.
TEST(Faults, extreme_numbers_end_in_a_result_or_in_an_error) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> extremes{
        std::numeric_limits<double>::quiet_NaN(),  inf,          -inf,         0.0, 1e300, -1e300,
        std::numeric_limits<double>::denorm_min(), 2147483648.0, -2147483648.0};
    std::mt19937 random(1);
    const auto pick = [&](std::size_t n) {
        return static_cast<std::size_t>(random() % static_cast<std::uint32_t>(n));
    };
    Tally tally;
    for (int i = 0; i < 3000; ++i) {
        Call call;
        call.set("elements.amplitude", 1).set("elements.time_delay", 0);
        if (pick(3) == 0) {
            call.set("excitation", sampled_excitation({0, 1, 2, 1, 0}));
        }
        if (pick(3) == 0) {
            call.set("time", list_of_times({0, 2e-6, 1e-6}));
        }
        for (std::size_t changes = 1 + pick(3); changes > 0; --changes) {
            const std::string structure =
                std::vector{"elements", "grid", "medium", "time", "excitation"}[pick(5)];
            const auto& fields = call[structure]->fields;
            const auto& [field, entries] = fields[pick(fields.size())];
            if (field == "shape") {
                continue;
            }
            std::vector<double> changed = values(entries[0]);
            changed[pick(changed.size())] = extremes[pick(extremes.size())];
            call.set(structure + "." + field, numbers(changed, entries[0]->dims));
        }
        tally.run(call.all());
    }
    tally.expect(500, 10);
}

}  // namespace
}  // namespace host
