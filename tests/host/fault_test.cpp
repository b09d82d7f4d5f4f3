// What the module does when something fails that is not the input's fault, and under input that
// nobody thought of.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

TEST(Faults, every_allocation_may_fail) {
    Arguments arguments;
    arguments.elements = discs(2);
    arguments.excitation = sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1});
    const std::vector<double> wanted = pressure(arguments);
    long n = 1;
    for (;; ++n) {
        fail_allocation(n);
        const Outcome outcome = run(arguments, n % 2 == 0 ? Leaving::exception : Leaving::jump);
        const bool failed = fail_allocation(0) <= 0;
        if (!failed) {
            break;  // the call makes fewer than n
        }
        if (outcome.error) {
            EXPECT_EQ(outcome.error, "Out of memory.") << "allocation " << n;
        } else {
            EXPECT_EQ(values(outcome.output), wanted) << "allocation " << n;
        }
    }
    EXPECT_GT(n, 20);
}

TEST(Faults, errors_of_the_host_pass_through) {
    const Outcome creation = run(Arguments(), Leaving::exception, Fault::creation);
    EXPECT_EQ(creation.error, "The host has no memory left.");
    Arguments printing;
    set(printing.times, "time_samples", row({1e-6}));
    const Outcome print = run(printing, Leaving::exception, Fault::print);
    EXPECT_EQ(print.error, "Interrupted.");
}

TEST(Faults, an_abandoned_call_is_released_by_the_next) {
    const std::vector<double> wanted = pressure(Arguments());
    const long before = live_allocations();
    std::vector<Value> all;
    const Arguments arguments;
    for (const Value& value : {arguments.elements, arguments.grid, arguments.medium,
                               arguments.times, arguments.ndiv, arguments.excitation}) {
        all.push_back(value);
    }
    long after_one = 0;
    for (int i = 0; i < 3; ++i) {
        const Outcome outcome = call(mexFunction, 1, all, Leaving::jump, Fault::creation);
        EXPECT_EQ(outcome.error, "The host has no memory left.");
        after_one = i == 0 ? live_allocations() : after_one;
        EXPECT_EQ(live_allocations(), after_one);
    }
    EXPECT_GT(after_one, before);
    const Outcome outcome = call(mexFunction, 1, all);
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
    std::set<std::string> errors;
    int results = 0;
    for (int i = 0; i < 3000; ++i) {
        Arguments arguments;
        set(arguments.elements, "amplitude", scalar(1));
        set(arguments.elements, "time_delay", scalar(0));
        if (pick(3) == 0) {
            arguments.excitation = sampled_excitation({0, 1, 2, 1, 0});
        }
        if (pick(3) == 0) {
            arguments.times = structure(1, 1);
            set(arguments.times, "time_samples", row({0, 2e-6, 1e-6}));
        }
        for (std::size_t changes = 1 + pick(3); changes > 0; --changes) {
            const Value structure =
                std::vector{arguments.elements, arguments.grid, arguments.medium, arguments.times,
                            arguments.excitation}[pick(5)];
            const std::size_t field = pick(structure->fields.size());
            if (structure->fields[field] == "shape") {
                continue;
            }
            std::vector<double> numbers_now = values(structure->field_data[field]);
            numbers_now[pick(numbers_now.size())] = extremes[pick(extremes.size())];
            const std::vector<std::size_t> dims = sizes(structure->field_data[field]);
            set(structure, structure->fields[field], numbers(numbers_now, dims[0], dims[1]));
        }
        const Outcome outcome = run(arguments, i % 2 == 0 ? Leaving::exception : Leaving::jump);
        if (outcome.error) {
            errors.insert(*outcome.error);
        } else {
            ++results;
        }
    }
    EXPECT_GT(results, 500);
    EXPECT_GT(errors.size(), 10u);
    for (const std::string& error : errors) {
        EXPECT_EQ(error.find("unspecified"), std::string::npos) << error;
        EXPECT_EQ(error.find("std::"), std::string::npos) << error;
    }
}

}  // namespace
}  // namespace host
