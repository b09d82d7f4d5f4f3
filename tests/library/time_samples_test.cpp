// The time axis and the tau axis.
#include <gtest/gtest.h>

#include <limits>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::TimeSamples;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

TEST(TimeSamples, GeneratesEvenSamplesWithoutDrift) {
    const TimeSamples times(1e-8, 0, 1e-6);
    ASSERT_EQ(times.ntimes, 101);
    for (int i = 0; i < times.ntimes; ++i) {
        EXPECT_EQ(times.time_index_value(i), i * 1e-8);
    }
    EXPECT_EQ(times.tmin(), 0);
    EXPECT_EQ(times.tmax(), 1e-6);
    EXPECT_EQ(times.deltat(), 1e-8);
    EXPECT_EQ(TimeSamples(0.1, 0, 1).ntimes, 11);
    EXPECT_EQ(TimeSamples(0.1, 0, 0.3).ntimes, 4);  // the quotient falls just short of 3
    EXPECT_EQ(TimeSamples(0.1, -0.55, 0.38).time_index_value(9), 9 * 0.1 + -0.55);
}

TEST(TimeSamples, HasOneSampleWithoutRangeOrStep) {
    for (const TimeSamples& times : {TimeSamples(1e-8, 5, 5), TimeSamples(0, 5, 5),
                                     TimeSamples(0, 5, 6), TimeSamples(3, 5, 6)}) {
        EXPECT_EQ(times.ntimes, 1);
        EXPECT_EQ(times.time_index_value(0), 5);
    }
}

TEST(TimeSamples, AnswersZeroWhereThereIsNoSample) {
    TimeSamples times(1, 3, 5);
    times.generatetauvectorfromminmaxdeltatau(1, 3, 4);
    for (const int i : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(times.time_index_value(i), 0.0);
        EXPECT_EQ(times.tau_index_value(i), 0.0);
    }
    EXPECT_EQ(TimeSamples().time_index_value(0), 0.0);
    EXPECT_EQ(TimeSamples().ntimes, 0);
}

TEST(TimeSamples, CopiesAListAndShowsEverySample) {
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

TEST(TimeSamples, RefusesAxesThatCannotBe) {
    const Recorder console;
    const auto error = [](double deltat, double tmin, double tmax) {
        return error_of([=] { TimeSamples(deltat, tmin, tmax); });
    };
    EXPECT_EQ(error(-1, 5, 0), "deltat must be greater or equal to 0.\n");
    EXPECT_EQ(error(1, 5, 0), "tmax - tmin must be greater than or equal to 0.\n");
    EXPECT_EQ(error(1, not_a_number, 0),
              "Computed number of time samples is less than 1.\n  Check values of tmin, tmax, and "
              "deltat.\n");
    EXPECT_EQ(error(1e-12, 0, 1), "Computed number of time samples is too large.");
    EXPECT_EQ(console.printed.rfind("Input value of deltat is ", 0), 0u);
    EXPECT_NE(console.printed.find("\nInput value of tmax - tmin is "), std::string::npos);
    EXPECT_NE(console.printed.find("\nIllegal number of time samples "), std::string::npos);
}

TEST(TimeSamples, CountsTauSamplesByTheTimeAxis) {
    TimeSamples times(0.5, 0, 2);
    EXPECT_TRUE(times.generatetauvectorfromminmaxdeltatau(0.1, -1, 7));
    EXPECT_EQ(times.ntaus, 5);
    EXPECT_EQ(times.ntimes, 5);
    EXPECT_EQ(times.tau_index_value(4), 4 * 0.1 + -1);
    EXPECT_EQ(times.taumin(), -1);
    EXPECT_EQ(times.taumax(), 7);
    EXPECT_EQ(times.deltatau(), 0.1);
    times.generatetauvectorfromminmaxdeltatau(0, -1, 7);
    EXPECT_EQ(times.ntaus, 1);
    times.generatetauvectorfromminmaxdeltatau(0.1, 7, 7);
    EXPECT_EQ(times.ntaus, 1);
    EXPECT_EQ(times.time_index_value(4), 2.0);
}

TEST(TimeSamples, RefusesTauAxesInTheWordsOfTheTimeAxis) {
    const Recorder console;
    const auto error = [](TimeSamples times, double deltatau, double taumin, double taumax) {
        return error_of(
            [&] { times.generatetauvectorfromminmaxdeltatau(deltatau, taumin, taumax); });
    };
    const TimeSamples times(0.5, 0, 2);
    EXPECT_EQ(error(times, -1, 0, 1), "deltat must be greater or equal to 0.\n");
    EXPECT_EQ(error(times, 1, 1, 0), "tmax - tmin must be greater than or equal to 0.\n");
    EXPECT_EQ(error(TimeSamples(), 1, 0, 1),
              "Computed number of time samples is less than 1.\n  Check values of tmin, tmax, and "
              "deltat.\n");
}

}  // namespace
}  // namespace kavro_test
