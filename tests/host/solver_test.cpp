// What the module makes of the solver's answers and of its progress. The solver is replaced here:
// most of its answers cannot be provoked from outside.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "core/console.h"
#include "module_call.h"
#include "transducers/array.h"

namespace {

std::function<kavro::TransducerStatus()> solver;

}  // namespace

namespace kavro {

TransducerStatus solve(Method, std::span<Transducer* const>, Output, QuadratureReport*) {
    return solver();
}

}  // namespace kavro

namespace host {
namespace {

// The solver's next answer, after it has reported this progress.
void answer(int status, std::vector<double> fractions = {}) {
    solver = [status, fractions] {
        for (const double fraction : fractions) {
            kavro::console::progress(fraction);
        }
        return static_cast<kavro::TransducerStatus>(status);
    };
}

TEST(Solver, status_becomes_a_host_error) {
    answer(0);
    EXPECT_EQ(pressure(Call()), std::vector<double>(6 * 41));
    answer(1);
    expect_error(Call(), "This function is not implemented for this transducer shape.");
    answer(2);
    expect_error(Call(), "Out of memory.");
    answer(kavro::status_interrupted);
    expect_error(Call(), "The call was interrupted.");
    for (const int other : {3, -1, 99}) {
        answer(other);
        expect_error(Call(),
                     "An unspecified error occurred. See this function's documentation for "
                     "details.");
    }
}

// With the environment variable that asks for progress.
class Progress : public testing::Test {
protected:
    Progress() { want("1"); }
    ~Progress() override { unsetenv("KAVRO_PROGRESS"); }

    static void want(const char* setting) { setenv("KAVRO_PROGRESS", setting, 1); }

    static void expect_lines(std::vector<int> percents) {
        std::string lines = percents.empty() ? "" : "\n";
        for (; !percents.empty(); percents.pop_back()) {
            lines.insert(
                0, "\rkavro.transient_pressure: " + std::to_string(percents.back()) + " % done");
        }
        EXPECT_EQ(run(Call()).printed, lines);
    }
};

TEST_F(Progress, is_one_line_that_changes_at_each_percent_where_asked) {
    answer(0, {0.001, 0.002, 0.01, 0.019, 0.02});
    expect_lines({0, 1, 2, 100});
    answer(1, {0.2});
    expect_lines({20});
    answer(0);
    expect_lines({});
    answer(0, {0.5, 1.0});
    expect_lines({50, 100});
    for (const char* off : {"", "0"}) {
        want(off);
        expect_lines({});
    }
    unsetenv("KAVRO_PROGRESS");
    expect_lines({});
}

TEST_F(Progress, lets_the_host_interrupt_once_the_solver_is_done) {
    bool finished = false;
    solver = [&finished] {
        kavro::console::progress(0.5);  // the host throws here, and may not throw into a solver
        kavro::console::progress(0.6);
        finished = true;
        return kavro::status_success;
    };
    const Outcome outcome = run(Call(), Leaving::exception, Fault::print);
    EXPECT_TRUE(finished);
    EXPECT_EQ(outcome.error, "Interrupted.");
    EXPECT_EQ(outcome.printed, "");
}

}  // namespace
}  // namespace host
