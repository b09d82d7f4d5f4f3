// What the module computes, prints and warns of.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

using Texts = std::vector<std::string>;

TEST(Output, has_the_shape_of_the_grid) {
    const Outcome regular = run(Call());
    ASSERT_TRUE(regular.output);
    EXPECT_EQ(regular.output->dims, (Sizes{3, 1, 2, 41}));
    EXPECT_EQ(regular.printed, "");
    EXPECT_EQ(regular.warnings, Texts());
    EXPECT_GT(largest(values(regular.output)), 0.0);
    EXPECT_EQ(pressure(Call().set("grid.delta = [1e-3; 1e-3; 1e-3]")), values(regular.output));

    Call list;
    list.set(
        "grid.coordinates = [-1e-3 0 1e-3; 0 0 1e-3; 1e-3 0 1e-3; -1e-3 0 2e-3; "
        "0 0 2e-3; 1e-3 0 2e-3]");
    const Outcome points = run(list);  // a list wins over limits
    ASSERT_TRUE(points.output);
    EXPECT_EQ(points.output->dims, (Sizes{6, 41}));
    EXPECT_EQ(values(points.output), values(regular.output));
    list.set("grid.coordinates", numbers({}, {0, 3}));
    EXPECT_EQ(run(list).output->dims, (Sizes{0, 41}));

    Call silent;
    EXPECT_EQ(pressure(silent.set("elements", discs(0))), std::vector<double>(6 * 41));
    silent.set("excitation = struct[0 0]");  // one row for each of no elements
    EXPECT_EQ(pressure(silent), std::vector<double>(6 * 41));
}

TEST(Output, adds_elements_with_their_own_weights_and_waveforms) {
    Call one, both;
    one.set("elements.amplitude = 2, elements.time_delay = 3e-7, excitation.type = 1");
    one.set("excitation.B = 1e5");
    both.set("elements", repeated(one["elements"], 2));
    both.set("excitation", repeated(one["excitation"], 2));
    std::vector<double> sum = pressure(one);
    for (Call* call : {&one, &both}) {
        call->set("elements.amplitude = -0.5, elements.time_delay = 0, excitation.type = 3");
        call->set("elements.center = [1e-3 0 0]");
    }
    const std::vector<double> second = pressure(one);
    EXPECT_GT(largest(second), 0.0);
    for (std::size_t i = 0; i < sum.size(); ++i) {
        sum[i] += second[i];
    }
    EXPECT_EQ(pressure(both), sum);
}

TEST(Output, has_defaults_for_what_is_left_out) {
    const std::vector<double> p = pressure(Call());
    Call given;
    EXPECT_EQ(pressure(given.set("elements.amplitude = 1, elements.time_delay = 0")), p);
    given.set("elements.amplitude = 4");
    EXPECT_NEAR(largest(pressure(given)), 4.0 * largest(p), 1e-6 * largest(p));
    EXPECT_NE(pressure(given.set("elements.amplitude = 1, elements.time_delay = 5e-7")), p);
    // Only the t-cubed pulse decays.
    EXPECT_EQ(pressure(Call().set("excitation.B = []")), p);
    EXPECT_EQ(pressure(Call().set("excitation.B = missing")), p);
    expect_error(Call().set("excitation.B = [], excitation.type = 3.9"),
                 "Excitation field 'B' must hold 1 real number(s) (row 1).");
}

TEST(Output, rounds_ndiv_up_to_a_multiple_of_four) {
    const auto with = [](const char* ndiv) { return pressure(Call().set("ndiv", value(ndiv))); };
    for (const char* ndiv : {"5", "5.9", "8.9"}) {
        EXPECT_EQ(with(ndiv), with("8"));
    }
    for (const char* ndiv : {"1", "4.9"}) {
        EXPECT_EQ(with(ndiv), with("4"));
    }
    EXPECT_NE(with("4"), with("8"));
    EXPECT_NE(with("9"), with("8"));
}

TEST(Output, is_the_same_for_every_numeric_class_and_orientation) {
    Call call;
    call.set("elements.radius = 2, elements.center = [1 0 0], grid.coordinates = [0 2 3; 1 0 4]");
    call.set("time.tmax = 8, time.deltat = 1, medium.soundspeed = 2");
    call.set("excitation.f0 = 1, excitation.pulse_width = 5");
    const std::vector<double> p = pressure(call);
    ASSERT_GT(largest(p), 0.0);
    for (const mxClassID type :
         {mxSINGLE_CLASS, mxINT8_CLASS, mxUINT8_CLASS, mxINT16_CLASS, mxUINT16_CLASS, mxINT32_CLASS,
          mxUINT32_CLASS, mxINT64_CLASS, mxUINT64_CLASS}) {
        call.set("grid.coordinates", numbers({0, 1, 2, 0, 3, 4}, {2, 3}, type));
        call.set("elements.radius", row({2, 99}, type));  // of a scalar the first value counts
        call.set("elements.center", numbers({1, 0, 0}, {3, 1}, type));
        call.set("elements.amplitude", row({1}, type)).set("ndiv", row({8}, type));
        call.set("medium.soundspeed", row({2, 99}, type));
        call.set("excitation.pulse_width", row({5}, type));
        EXPECT_EQ(pressure(call), p) << "class " << type;
    }
}

TEST(Output, takes_sampled_waveforms_either_way_up) {
    Call call;
    const std::vector<double> reference = pressure(call.set("excitation", sampled_excitation()));
    ASSERT_GT(largest(reference), 0.0);
    EXPECT_EQ(pressure(call.set("excitation.signal = [0; 1; 2; 1; 0; -1; -2; -1]")), reference);
    EXPECT_EQ(pressure(call.set("excitation.decomposition = 'reference'")), reference);
    EXPECT_NE(pressure(call.set("excitation.decomposition = 'exact'")), reference);
    EXPECT_EQ(run(call.set("excitation.signal = 1")).error, std::nullopt);  // of one sample
}

TEST(Console, lists_explicit_times) {
    const Outcome outcome = run(Call().set("time.time_samples = [2e-6 1e-6]"));
    EXPECT_EQ(outcome.printed,
              "0: 2.000000e-06, 2.000000e-06, 2.000000e-06 => 2.000000e-06\n"
              "1: 1.000000e-06, 2.000000e-06, 1.000000e-06 => 1.000000e-06\n");
    EXPECT_EQ(outcome.output->dims, (Sizes{3, 1, 2, 2}));
}

TEST(Console, warns_of_attenuation_and_of_the_display_flag) {
    for (const char* attenuation : {"0.5", "NaN"}) {
        const Outcome lossy = run(Call().set("medium.attenuationdBcmMHz", value(attenuation)));
        EXPECT_EQ(
            lossy.warnings,
            Texts{"Non-zero attenuation will be ignored. See the documentation for details.\n"});
        EXPECT_EQ(values(lossy.output), pressure(Call()));
    }
    for (const char* on : {"1", "NaN", "true", "'y'"}) {
        const Call flagged = Call().set("flag", value(on));
        EXPECT_EQ(run(flagged).warnings, Texts{"The use of the display flag was deprecated.\n"});
        EXPECT_EQ(run(flagged.with("eighth = 1")).warnings, Texts());  // then neither is read
    }
    for (const char* off : {"0", "false", "[]", "{}", "sparse[1]"}) {
        EXPECT_EQ(run(Call().set("flag", value(off))).warnings, Texts());
    }
}

// What it reads as it always did, and does not mean.
TEST(Console, warns_of_what_does_not_count) {
    const auto warnings = [](const Call& call) { return run(call).warnings; };
    for (const auto& [record, field] :
         {std::pair{"medium", "density"}, {"grid", "ymax"}, {"time", "deltat"}}) {
        EXPECT_EQ(warnings(Call().set(std::string(record) + "." + field, value("1i"))),
                  Texts{"The imaginary part of '" + std::string(field) + "' is ignored.\n"});
    }
    EXPECT_EQ(warnings(Call().set("elements", discs(0))),
              Texts{"The transducer array has no elements: the pressure is zero.\n"});
    EXPECT_EQ(
        warnings(
            Call().set("excitation", sampled_excitation()).set("excitation.clip_threshold = 1")),
        Texts{"A 'clip_threshold' that is not below 1 leaves no frequency: the excitation is "
              "zero.\n"});
}

}  // namespace
}  // namespace host
