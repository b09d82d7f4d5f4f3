// The console port, and what the medium says through it.
#include <gtest/gtest.h>

#include "core/counts.h"
#include "support.h"

namespace kavro_test {
namespace {

TEST(Console, GoesToTheStandardStreamsUntilConnected) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    kavro::console::print("%d of %s\n", 3, "five");
    kavro::console::warn("careful");
    kavro::console::progress(0.5);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "3 of five\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: careful\n");
}

TEST(Console, ConnectionsNestAndEnd) {
    const Recorder outer;
    const kavro::console::ProgressPart half(0.5, 1.0);
    {
        const Recorder inner;
        kavro::console::print("inner");
        kavro::console::warn("inner");
        kavro::console::progress(0.25);
        EXPECT_EQ(inner.printed, "inner");
        EXPECT_EQ(inner.warnings.size(), 1u);
        EXPECT_EQ(inner.progress, std::vector<double>{0.25});
    }
    kavro::console::print("outer");
    kavro::console::progress(0);
    EXPECT_EQ(outer.progress, std::vector<double>{0.5});
    EXPECT_EQ(outer.printed, "outer");
    EXPECT_TRUE(outer.warnings.empty());
}

TEST(Console, EmptyHooksKeepTheirDefaults) {
    std::string printed;
    kavro::console::Connection connection(
        {[&](const char* text) { printed += text; }, nullptr, nullptr});
    testing::internal::CaptureStderr();
    kavro::console::print("a");
    kavro::console::warn("b");
    kavro::console::progress(0);
    EXPECT_EQ(printed, "a");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: b\n");
}

TEST(Console, PrintsLinesOfAnyLength) {
    const Recorder console;
    for (const std::size_t length : {511u, 512u, 513u, 5000u}) {
        const std::string text(length, 'x');
        kavro::console::print("<%s>", text.c_str());
    }
    EXPECT_EQ(console.printed.size(), 511u + 512u + 513u + 5000u + 8u);
    EXPECT_EQ(console.printed.substr(console.printed.size() - 2), "x>");
}

TEST(Medium, ShowsElevenOfItsMembers) {
    const Recorder console;
    kavro::Medium medium;
    medium._f0 = 1e6;
    medium._fs = 2;
    medium._soundspeed = 1500;
    medium._dBcmMHz = 0.5;
    medium._powerlawcoeff = 3;
    medium._rho_density = 1000;
    medium._ct = 4;
    medium._cb = 99;
    medium._wb = 5;
    medium._b = 6;
    medium._kappa = 7;
    medium._beta = 8;
    medium.mexDebug();
    EXPECT_EQ(console.printed,
              "f0 (_f0): 1000000.000000\nfs (_fs): 2.000000\n"
              "soundspeed (_soundspeed): 1500.000000\nattenuation (_dBcmMHz): 0.500000\n"
              "power law coefficient (_powerlawcoeff): 3.000000\n"
              "density (_rho_density): 1000.000000\nspecific heat(_ct): 4.000000\n"
              "blood perfusion (_wb): 5.000000\npower law exponent (_b): 6.000000\n"
              "thermal conductivity (_kappa): 7.000000\nnonlinearity param (_beta): 8.000000\n");
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
    EXPECT_EQ(kavro::checked_product(46340, 46340, "cats"), 46340 * 46340);
    EXPECT_EQ(kavro::checked_product(0, INT32_MAX, "cats"), 0);
    EXPECT_EQ(error_of([] { kavro::checked_product(46341, 46341, "cats"); }), too_large);
    EXPECT_EQ(kavro::count_of_steps(0, INT32_MAX - 1.0, 1, "cats"), INT32_MAX);
    EXPECT_EQ(error_of([] { kavro::count_of_steps(0, INT32_MAX, 1, "cats"); }), too_large);
}

}  // namespace
}  // namespace kavro_test
