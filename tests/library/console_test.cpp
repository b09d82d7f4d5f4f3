// The console port, what the medium says through it, and counts that cannot be.
#include <gtest/gtest.h>

#include "core/available_memory.h"
#include "core/counts.h"
#include "stage.h"

namespace kavro_test {
namespace {

namespace console = kavro::console;

void say(const char* what) {
    console::print("%s of %d\n", what, 3);
    console::warn(what);
    console::progress(0.5);
}

TEST(Console, HooksThatAreNotConnectedHaveTheirDefaults) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    say("one");
    std::string printed;
    {
        const console::Connection partly({[&](const char* text) { printed += text; }});
        say("two");
    }
    EXPECT_FALSE(console::interrupted());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one of 3\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: one\nWarning: two\n");
    EXPECT_EQ(printed, "two of 3\n");
}

TEST(Console, ConnectionsNestAndProgressIsPartOfAWhole) {
    const Recorder outer;
    const console::ProgressPart second_half(0.5, 1.0);
    {
        const Recorder inner;
        say("inner");
        {
            const console::ProgressPart half(0.5, 1.0);
            const console::ProgressPart quarter(0.0, 0.5);
            console::progress(1.0);
        }
        console::progress(1.0);
        EXPECT_EQ(inner.printed, "inner of 3\n");
        EXPECT_EQ(inner.warnings, std::vector<std::string>{"inner"});
        EXPECT_EQ(inner.progress, (Values{0.5, 0.75, 1.0}));
    }
    console::print("outer");
    console::progress(0);
    EXPECT_EQ(outer.progress, Values{0.5});
    EXPECT_EQ(outer.printed, "outer");
    EXPECT_TRUE(outer.warnings.empty());
}

TEST(Console, PrintsLinesOfAnyLength) {
    for (const std::size_t length : {0u, 510u, 511u, 512u, 5000u}) {
        const Recorder console;
        const std::string text(length, 'x');
        console::print("%s>", text.c_str());
        EXPECT_EQ(console.printed, text + ">");
    }
}

TEST(Medium, ShowsElevenOfItsMembers) {
    const Recorder console;
    kavro::Medium medium;
    double value = 1e6;
    for (double kavro::Medium::*member :
         {&kavro::Medium::_f0, &kavro::Medium::_fs, &kavro::Medium::_soundspeed,
          &kavro::Medium::_dBcmMHz, &kavro::Medium::_powerlawcoeff, &kavro::Medium::_rho_density,
          &kavro::Medium::_ct, &kavro::Medium::_cb, &kavro::Medium::_wb, &kavro::Medium::_b,
          &kavro::Medium::_kappa, &kavro::Medium::_beta}) {
        medium.*member = value++;
    }
    medium.mexDebug();
    EXPECT_EQ(console.printed,
              "f0 (_f0): 1000000.000000\nfs (_fs): 1000001.000000\n"
              "soundspeed (_soundspeed): 1000002.000000\nattenuation (_dBcmMHz): 1000003.000000\n"
              "power law coefficient (_powerlawcoeff): 1000004.000000\n"
              "density (_rho_density): 1000005.000000\nspecific heat(_ct): 1000006.000000\n"
              "blood perfusion (_wb): 1000008.000000\npower law exponent (_b): 1000009.000000\n"
              "thermal conductivity (_kappa): 1000010.000000\n"
              "nonlinearity param (_beta): 1000011.000000\n");
}

TEST(Counts, RefuseWhatCannotFit) {
    const std::string too_large = "Computed number of cats is too large.";
    const auto memory_error = [](std::size_t count, std::size_t bytes) {
        return error_of([=] { kavro::require_memory(count, bytes, "cats"); });
    };
    EXPECT_EQ(memory_error(1000, 8), "(no error)");
    EXPECT_EQ(memory_error(SIZE_MAX / 8, 16), too_large);
    if (kavro::available_memory()) {
        EXPECT_EQ(memory_error(SIZE_MAX / 16, 8), too_large);
    }
    const std::int32_t sides[] = {46340, 46340, 2};
    EXPECT_EQ(kavro::checked_product(std::span(sides, 2), "cats"), 46340 * 46340);
    EXPECT_EQ(error_of([&] { kavro::checked_product(sides, "cats"); }), too_large);
    try {
        kavro::checked_product(sides, "cats");
    } catch (const kavro::InputError& error) {
        EXPECT_STREQ(error.more(), "4294791200 are asked for, 2147483647 are the most.");
    }
    EXPECT_EQ(kavro::count_of_steps(0, INT32_MAX - 1.0, 1, "cats"), INT32_MAX);
    EXPECT_EQ(error_of([] { kavro::count_of_steps(0, INT32_MAX, 1, "cats"); }), too_large);
}

}  // namespace
}  // namespace kavro_test
