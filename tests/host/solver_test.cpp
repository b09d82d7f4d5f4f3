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

TransducerStatus fnm_tsd_sse(std::span<Transducer* const>, Output) {
    return solver();
}

}  // namespace kavro

namespace host {
namespace {

TEST(Solver, status_becomes_a_host_error) {
    const auto answer = [](int status) {
        solver = [status] { return static_cast<kavro::TransducerStatus>(status); };
    };
    answer(0);
    EXPECT_EQ(pressure(Arguments()), std::vector<double>(6 * 41));
    answer(1);
    expect_error(Arguments(), "This function is not implemented for this transducer shape.");
    answer(2);
    expect_error(Arguments(), "Out of memory.");
    for (const int other : {3, -1, 99}) {
        answer(other);
        expect_error(Arguments(),
                     "An unspecified error occurred. See this function's documentation for "
                     "details.");
    }
}

class Progress : public testing::Test {
protected:
    ~Progress() override { unsetenv("KAVRO_PROGRESS"); }

    static void want(const char* setting) { ASSERT_EQ(setenv("KAVRO_PROGRESS", setting, 1), 0); }

    static void report_and_answer(std::vector<double> fractions, kavro::TransducerStatus status) {
        solver = [fractions, status] {
            for (const double fraction : fractions) {
                kavro::console::progress(fraction);
            }
            return status;
        };
    }

    static std::string line(int percent) {
        return "\rkavro.transient_pressure: " + std::to_string(percent) + " % done";
    }
};

TEST_F(Progress, is_shown_only_where_asked) {
    report_and_answer({0.5, 1.0}, kavro::status_success);
    for (const char* off : {"", "0"}) {
        want(off);
        EXPECT_EQ(run(Arguments()).printed, "");
    }
    unsetenv("KAVRO_PROGRESS");
    EXPECT_EQ(run(Arguments()).printed, "");
    want("1");
    EXPECT_EQ(run(Arguments()).printed, line(50) + line(100) + "\n");
}

TEST_F(Progress, is_one_line_that_changes_at_each_percent) {
    want("1");
    report_and_answer({0.001, 0.002, 0.01, 0.019, 0.02}, kavro::status_success);
    EXPECT_EQ(run(Arguments()).printed, line(0) + line(1) + line(2) + line(100) + "\n");
    report_and_answer({0.2}, kavro::status_not_implemented);
    expect_error(Arguments(), "This function is not implemented for this transducer shape.",
                 line(20) + "\n");
    report_and_answer({}, kavro::status_success);
    EXPECT_EQ(run(Arguments()).printed, "");
}

TEST_F(Progress, lets_the_host_interrupt_once_the_solver_is_done) {
    want("1");
    bool finished = false;
    solver = [&finished] {
        kavro::console::progress(0.5);  // the host throws here, and may not throw into a solver
        kavro::console::progress(0.6);
        finished = true;
        return kavro::status_success;
    };
    const Outcome outcome = run(Arguments(), Leaving::exception, Fault::print);
    EXPECT_TRUE(finished);
    EXPECT_EQ(outcome.error, "Interrupted.");
    EXPECT_EQ(outcome.printed, "");
}

}  // namespace
}  // namespace host
