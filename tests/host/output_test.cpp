// What the module computes, prints and warns of.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

using Sizes = std::vector<std::size_t>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Output, has_the_shape_of_the_grid) {
    const Outcome regular = run(Arguments());
    ASSERT_TRUE(regular.output);
    EXPECT_EQ(sizes(regular.output), (Sizes{3, 1, 2, 41}));
    EXPECT_EQ(regular.printed, "");
    EXPECT_TRUE(regular.warnings.empty());

    Arguments list;
    list.grid = list_of_points({-1e-3, 0, 1e-3, -1e-3, 0, 1e-3}, {0, 0, 0, 0, 0, 0},
                               {1e-3, 1e-3, 1e-3, 2e-3, 2e-3, 2e-3});
    set(list.grid, "xmin", scalar(5));  // a list wins over limits
    const Outcome points = run(list);
    ASSERT_TRUE(points.output);
    EXPECT_EQ(sizes(points.output), (Sizes{6, 41}));
    EXPECT_EQ(values(points.output), values(regular.output));
    EXPECT_GT(largest(values(points.output)), 0.0);
}

TEST(Output, without_points_or_elements) {
    Arguments no_points;
    no_points.grid = structure(1, 1);
    set(no_points.grid, "coordinates", numbers({}, 0, 3));
    const Outcome empty = run(no_points);
    ASSERT_TRUE(empty.output);
    EXPECT_EQ(sizes(empty.output), (Sizes{0, 41}));

    Arguments no_elements;
    no_elements.elements = discs(0);
    EXPECT_EQ(pressure(no_elements), std::vector<double>(6 * 41));
    no_elements.excitation = structure(0, 0);  // one row for each of no elements
    EXPECT_EQ(pressure(no_elements), std::vector<double>(6 * 41));
}

TEST(Output, follows_a_disc_on_its_axis) {
    // p = rho c (v(t - z/c) - v(t - sqrt(z^2 + a^2)/c)), v the Hanning pulse.
    const double a = 2e-3, z = 2e-3, c = 1500.0, rho = 1000.0, width = 2e-6;
    const auto v = [&](double t) {
        return t > 0.0 && t < width
                   ? std::sin(2e6 * M_PI * t) * (1.0 - std::cos(2.0 * M_PI * t / width)) / 2.0
                   : 0.0;
    };
    Arguments arguments;
    arguments.grid = list_of_points({0}, {0}, {z});
    arguments.ndiv = scalar(32);
    const std::vector<double> p = pressure(arguments);
    ASSERT_EQ(p.size(), 41u);
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double t = 1e-7 * static_cast<double>(i);
        const double expected = rho * c * (v(t - z / c) - v(t - std::sqrt(z * z + a * a) / c));
        EXPECT_NEAR(p[i], expected, 1e-4 * rho * c) << "at sample " << i;
    }
}

TEST(Output, adds_elements_with_their_own_weights_and_waveforms) {
    Arguments both;
    both.elements = discs(2);
    set(both.elements, "amplitude", scalar(2), 0);
    set(both.elements, "amplitude", scalar(-0.5), 1);
    set(both.elements, "time_delay", scalar(3e-7), 0);
    set(both.elements, "time_delay", scalar(0), 1);
    both.excitation = structure(2, 1);
    std::vector<double> sum(6 * 41);
    for (std::size_t i = 0; i < 2; ++i) {
        Arguments one;
        for (const char* field :
             {"shape", "radius", "center", "euler", "amplitude", "time_delay"}) {
            set(one.elements, field, get(both.elements, field, i));
        }
        set(one.excitation, "type", scalar(i == 0 ? 1 : 3));
        set(one.excitation, "B", scalar(1e5));
        for (const char* field : {"type", "f0", "pulse_width", "B"}) {
            set(both.excitation, field, get(one.excitation, field), i);
        }
        const std::vector<double> p = pressure(one);
        ASSERT_GT(largest(p), 0.0);
        for (std::size_t j = 0; j < p.size(); ++j) {
            sum[j] += p[j];
        }
    }
    EXPECT_EQ(pressure(both), sum);
}

TEST(Output, defaults_to_amplitude_one_and_no_delay) {
    Arguments given;
    set(given.elements, "amplitude", scalar(1));
    set(given.elements, "time_delay", scalar(0));
    const std::vector<double> p = pressure(Arguments());
    EXPECT_EQ(pressure(given), p);
    set(given.elements, "amplitude", scalar(4));
    EXPECT_NEAR(largest(pressure(given)), 4.0 * largest(p), 1e-6 * largest(p));
    set(given.elements, "time_delay", scalar(5e-7));
    EXPECT_NE(pressure(given), p);
}

TEST(Output, rounds_ndiv_up_to_a_multiple_of_four) {
    const auto with = [](double ndiv) {
        Arguments arguments;
        arguments.ndiv = scalar(ndiv);
        return pressure(arguments);
    };
    EXPECT_EQ(with(5), with(8));
    EXPECT_EQ(with(5.9), with(8));
    EXPECT_EQ(with(8.9), with(8));
    EXPECT_EQ(with(1), with(4));
    EXPECT_EQ(with(4.9), with(4));
    EXPECT_NE(with(4), with(8));
    EXPECT_NE(with(9), with(8));
}

TEST(Output, is_the_same_for_every_numeric_class_and_orientation) {
    Arguments wanted;
    wanted.grid = list_of_points({0, 1}, {2, 0}, {3, 4});
    set(wanted.elements, "radius", scalar(2));
    set(wanted.elements, "center", row({1, 0, 0}));
    set(wanted.times, "tmax", scalar(8));
    set(wanted.times, "deltat", scalar(1));
    set(wanted.medium, "soundspeed", scalar(2));
    set(wanted.excitation, "f0", scalar(1));
    set(wanted.excitation, "pulse_width", scalar(5));
    const std::vector<double> p = pressure(wanted);
    ASSERT_GT(largest(p), 0.0);
    for (const mxClassID type :
         {mxSINGLE_CLASS, mxINT8_CLASS, mxUINT8_CLASS, mxINT16_CLASS, mxUINT16_CLASS, mxINT32_CLASS,
          mxUINT32_CLASS, mxINT64_CLASS, mxUINT64_CLASS}) {
        Arguments given = wanted;
        given.grid = structure(1, 1);
        set(given.grid, "coordinates", numbers({0, 1, 2, 0, 3, 4}, 2, 3, type));
        given.elements = discs(1);
        set(given.elements, "radius", row({2, 99}, type));  // of a scalar the first value counts
        set(given.elements, "center", numbers({1, 0, 0}, 3, 1, type));
        set(given.elements, "amplitude", row({1}, type));
        given.ndiv = row({8}, type);
        set(given.medium, "soundspeed", row({2, 99}, type));
        set(given.excitation, "pulse_width", row({5}, type));
        EXPECT_EQ(pressure(given), p) << "class " << type;
    }
}

TEST(Output, takes_sampled_waveforms_either_way_up) {
    std::vector<double> signal(20);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        signal[i] = std::sin(0.3 * static_cast<double>(i)) * (i < 19 ? 1.0 : 0.0);
    }
    Arguments arguments;
    arguments.excitation = sampled_excitation(signal);
    const std::vector<double> reference = pressure(arguments);
    ASSERT_GT(largest(reference), 0.0);
    set(arguments.excitation, "signal", numbers(signal, 20, 1));
    EXPECT_EQ(pressure(arguments), reference);
    set(arguments.excitation, "decomposition", text("reference"));
    EXPECT_EQ(pressure(arguments), reference);
    set(arguments.excitation, "decomposition", text("exact"));
    EXPECT_NE(pressure(arguments), reference);
    set(arguments.excitation, "signal", scalar(1));  // a signal of one sample
    EXPECT_EQ(run(arguments).error, std::nullopt);
}

TEST(Output, needs_no_decay_for_pulses_without_one) {
    Arguments arguments;
    const std::vector<double> p = pressure(arguments);
    set(arguments.excitation, "B", numbers({}, 0, 0));
    EXPECT_EQ(pressure(arguments), p);
    remove(arguments.excitation, "B");
    EXPECT_EQ(pressure(arguments), p);
    set(arguments.excitation, "type", scalar(3.9));
    expect_error(arguments, "Excitation field 'B' must hold 1 real number(s) (row 1).");
}

TEST(Console, lists_explicit_times) {
    Arguments arguments;
    arguments.times = structure(1, 1);
    set(arguments.times, "time_samples", row({2e-6, 1e-6}));
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.printed,
              "0: 2.000000e-06, 2.000000e-06, 2.000000e-06 => 2.000000e-06\n"
              "1: 1.000000e-06, 2.000000e-06, 1.000000e-06 => 1.000000e-06\n");
    EXPECT_EQ(sizes(outcome.output), (Sizes{3, 1, 2, 2}));
}

TEST(Console, warns_of_attenuation_and_of_the_display_flag) {
    const std::vector<std::string> none;
    const std::vector<std::string> attenuation{
        "Non-zero attenuation will be ignored. See the documentation for details.\n"};
    for (const double value : {0.5, nan}) {
        Arguments lossy;
        set(lossy.medium, "attenuationdBcmMHz", scalar(value));
        const Outcome outcome = run(lossy);
        EXPECT_EQ(outcome.warnings, attenuation);
        EXPECT_EQ(values(outcome.output), pressure(Arguments()));
    }

    const std::vector<std::string> deprecated{"The use of the display flag was deprecated.\n"};
    const auto with = [](std::vector<Value> further) {
        Arguments arguments;
        arguments.further = std::move(further);
        return run(arguments).warnings;
    };
    EXPECT_EQ(with({scalar(0)}), none);
    EXPECT_EQ(with({logical(false)}), none);
    EXPECT_EQ(with({scalar(1)}), deprecated);
    EXPECT_EQ(with({scalar(nan)}), deprecated);
    EXPECT_EQ(with({logical(true)}), deprecated);
    EXPECT_EQ(with({text("y")}), deprecated);
    EXPECT_EQ(with({numbers({}, 0, 0)}), none);
    EXPECT_EQ(with({cell()}), none);
    EXPECT_EQ(with({sparse_row({1})}), none);
    EXPECT_EQ(with({scalar(1), scalar(1)}), none);  // with eight arguments neither is read
    EXPECT_EQ(with({structure(1, 1), cell()}), none);
}

}  // namespace
}  // namespace host
