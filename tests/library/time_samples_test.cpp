// The time axis and the tau axis.
#include <gtest/gtest.h>

#include <limits>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::TimeSamples;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

TEST(TimeSamples, AreEvenWithoutDriftAndSingleWithoutRangeOrStep) {
    const struct {
        double deltat, tmin, tmax;
        int count;
        // Of the third, the quotient falls just short of 3.
    } cases[] = {{1e-8, 0, 1e-6, 101}, {0.1, 0, 1, 11}, {0.1, 0, 0.3, 4}, {0.1, -0.55, 0.38, 10},
                 {1e-8, 5, 5, 1},      {0, 5, 6, 1},    {3, 5, 6, 1}};
    for (const auto& [deltat, tmin, tmax, count] : cases) {
        const TimeSamples times(deltat, tmin, tmax);
        ASSERT_EQ(times.ntimes, count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(times.time_index_value(i), i * deltat + tmin);
        }
        EXPECT_EQ(times.tmin(), tmin);
        EXPECT_EQ(times.tmax(), tmax);
        EXPECT_EQ(times.deltat(), deltat);
    }
}

TEST(TimeSamples, AnswerZeroWhereThereIsNoSample) {
    TimeSamples times(1, 3, 5);
    times.generatetauvectorfromminmaxdeltatau(1, 3, 4);
    for (const int i : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(times.time_index_value(i), 0.0);
        EXPECT_EQ(times.tau_index_value(i), 0.0);
    }
    EXPECT_EQ(TimeSamples().time_index_value(0), 0.0);
    EXPECT_EQ(TimeSamples().ntimes, 0);
}

TEST(TimeSamples, CopyAListAndShowEverySample) {
    const Recorder console;
    const double values[] = {2e-6, -1e-6, 3e-6};
    TimeSamples times(1, 0, 100);
    EXPECT_TRUE(times.vectoroftimevalues(values, 3));
    EXPECT_EQ(console.printed,
              "0: 2.000000e-06, 2.000000e-06, 2.000000e-06 => 2.000000e-06\n"
              "1: -1.000000e-06, 2.000000e-06, -1.000000e-06 => -1.000000e-06\n"
              "2: -1.000000e-06, 3.000000e-06, 3.000000e-06 => 3.000000e-06\n");
    EXPECT_EQ(times.ntimes, 3);
    EXPECT_EQ(times.deltat(), 0);
    EXPECT_EQ(times.tmin(), -1e-6);
    EXPECT_EQ(times.tmax(), 3e-6);
    EXPECT_EQ(times.time_index_value(1), -1e-6);
    EXPECT_EQ(times.time_index_value(3), 0.0);
}

TEST(TimeSamples, CountTauSamplesByTheTimeAxis) {
    TimeSamples times(0.5, 0, 2);
    EXPECT_TRUE(times.generatetauvectorfromminmaxdeltatau(0.1, -1, 7));
    EXPECT_EQ(times.ntaus, 5);
    EXPECT_EQ(times.tau_index_value(4), 4 * 0.1 + -1);
    EXPECT_EQ(times.taumin(), -1);
    EXPECT_EQ(times.taumax(), 7);
    EXPECT_EQ(times.deltatau(), 0.1);
    EXPECT_EQ(times.time_index_value(4), 2.0);
    times.generatetauvectorfromminmaxdeltatau(0, -1, 7);
    EXPECT_EQ(times.ntaus, 1);
    times.generatetauvectorfromminmaxdeltatau(0.1, 7, 7);
    EXPECT_EQ(times.ntaus, 1);
}

// Of both axes, in the words of the time axis.
TEST(TimeSamples, RefuseAxesThatCannotBe) {
    const Recorder console;
    const std::string few =
        "Computed number of time samples is less than 1.\n  Check values of tmin, tmax, and "
        "deltat.\n";
    const auto error = [](double deltat, double tmin, double tmax) {
        return error_of([=] { TimeSamples(deltat, tmin, tmax); });
    };
    EXPECT_EQ(error(-1, 5, 0), "deltat must be greater or equal to 0.\n");
    EXPECT_EQ(error(1, 5, 0), "tmax - tmin must be greater than or equal to 0.\n");
    EXPECT_EQ(error(1, none, 0), few);
    EXPECT_EQ(error(1e-12, 0, 1), "Computed number of time samples is too large.");
    EXPECT_EQ(console.printed,
              "Input value of deltat is -1\nInput value of tmax - tmin is -5\n"
              "Illegal number of time samples " +
                  std::to_string(std::numeric_limits<int>::min() + 1) + "\n");
    const auto tau_error = [](TimeSamples times, double deltatau, double taumin, double taumax) {
        return error_of(
            [&] { times.generatetauvectorfromminmaxdeltatau(deltatau, taumin, taumax); });
    };
    const TimeSamples times(0.5, 0, 2);
    EXPECT_EQ(tau_error(times, -1, 0, 1), "deltat must be greater or equal to 0.\n");
    EXPECT_EQ(tau_error(times, 1, 1, 0), "tmax - tmin must be greater than or equal to 0.\n");
    EXPECT_EQ(tau_error(TimeSamples(), 1, 0, 1), few);
    EXPECT_NE(error_of([] { TimeSamples().vectoroftimevalues(nullptr, -1); }), "(no error)");
}

}  // namespace
}  // namespace kavro_test
