// Scalar kernels and the four-wide functions.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>

#include "oracle/four_wide.h"
#include "stage.h"

namespace kavro_test {
namespace {

using Lanes = std::array<float, 4>;

constexpr float infinite = std::numeric_limits<float>::infinity();

Lanes lanes_of(__m128 v) {
    alignas(16) Lanes lanes;
    _mm_store_ps(lanes.data(), v);
    return lanes;
}

float first(__m128 v) {
    return lanes_of(v)[0];
}

// Arguments of every magnitude and sign, and the ones at which something changes.
std::vector<float> arguments() {
    std::vector<float> values = {
        0.0f,           -0.0f,     infinite,      -infinite,     88.3762626647949f,
        -88.4f,         100.0f,    -100.0f,       -87.3366f,     1e-38f,
        1e-45f,         1.0f,      0.70710678f,   0.70710683f,   3.4028235e38f,
        8192.0f,        -39000.0f, 2147483648.0f, 1686629713.0f, -3e9f,
        1.17549435e-38f};
    for (int octant = -20; octant <= 20; ++octant) {
        const float edge = static_cast<float>(octant * std::numbers::pi / 4);
        values.insert(values.end(),
                      {edge, std::nextafter(edge, infinite), std::nextafter(edge, -infinite)});
    }
    std::mt19937 generator(4);
    while (values.size() < 200000) {
        const auto bits = static_cast<std::uint32_t>(generator());
        const float any = std::bit_cast<float>(bits);
        values.push_back(static_cast<float>(bits) / 4294967296.0f * 200.0f - 100.0f);
        values.push_back(std::isnan(any) ? 0.5f : any);
    }
    values.resize(values.size() / 4 * 4);
    return values;
}

// The same bits, or both not a number.
void expect_lanes(const char* what, __m128 found, const Lanes& expected) {
    const Lanes lanes = lanes_of(found);
    for (std::size_t l = 0; l < 4; ++l) {
        ASSERT_TRUE(std::bit_cast<std::uint32_t>(lanes[l]) ==
                        std::bit_cast<std::uint32_t>(expected[l]) ||
                    (std::isnan(lanes[l]) && std::isnan(expected[l])))
            << what << ": " << lanes[l] << " instead of " << expected[l];
    }
}

TEST(FourWide, EveryLaneHasTheBitsOfTheScalarScheme) {
    using namespace kavro_oracle;
    const std::vector<float> values = arguments();
    for (std::size_t i = 0; i < values.size(); i += 4) {
        const float* const x = &values[i];
        const float* const y = &values[values.size() - 4 - i];
        const auto of_each = [x](float (*lane)(float)) {
            return Lanes{lane(x[0]), lane(x[1]), lane(x[2]), lane(x[3])};
        };
        const __m128 v = _mm_loadu_ps(x);
        __m128 s, c, re, im;
        kavro::sincos_ps(v, &s, &c);
        kavro::complex_exp(_mm_loadu_ps(y), v, &re, &im);
        Lanes expected_re, expected_im;
        for (std::size_t l = 0; l < 4; ++l) {
            complex_exp_lane(y[l], x[l], &expected_re[l], &expected_im[l]);
        }
        expect_lanes("exp", kavro::exp_ps(v), of_each(exp_lane));
        expect_lanes("log", kavro::log_ps(v), of_each(log_lane));
        expect_lanes("sin", kavro::sin_ps(v), of_each(sin_lane));
        expect_lanes("cos", kavro::cos_ps(v), of_each(cos_lane));
        expect_lanes("sine of both", s, of_each(sin_lane));
        expect_lanes("cosine of both", c, of_each(cos_lane));
        expect_lanes("real part", re, expected_re);
        expect_lanes("imaginary part", im, expected_im);
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Against the mathematics library: a scheme that both sides copied wrongly would show here.
TEST(FourWide, IsCloseToTheTrueFunctions) {
    for (double x = -80; x < 80; x += 0.0137) {
        const __m128 v = _mm_set1_ps(static_cast<float>(x));
        const auto exact = static_cast<double>(first(v));
        const double e = std::exp(exact);
        const auto power = static_cast<float>(e);
        EXPECT_NEAR(static_cast<double>(first(kavro::sin_ps(v))), std::sin(exact), 1.2e-7);
        EXPECT_NEAR(static_cast<double>(first(kavro::cos_ps(v))), std::cos(exact), 1.2e-7);
        EXPECT_NEAR(static_cast<double>(first(kavro::exp_ps(v))), e, 2e-7 * e);
        EXPECT_NEAR(static_cast<double>(first(kavro::log_ps(_mm_set1_ps(power)))),
                    std::log(static_cast<double>(power)), 1e-5);
    }
}

TEST(FourWide, LaneOrderAndSums) {
    const __m128 v = kavro::_mm_set_doubles(4, 3, 2, 1 + 1e-12);
    EXPECT_EQ(lanes_of(v), (Lanes{1, 2, 3, 4}));
    EXPECT_EQ(kavro::horizontal_add_ps(v), 10.0f);
    // (l0 + l2) + (l1 + l3): neighbours paired, each 1 would be lost beside 1e8.
    EXPECT_EQ(kavro::horizontal_add_ps(_mm_set_ps(1.0f, -1e8f, 1.0f, 1e8f)), 2.0f);
    const Recorder console;
    kavro::debug_m128(v);
    EXPECT_EQ(console.printed, "<1.000000e+00 2.000000e+00 3.000000e+00 4.000000e+00>\n");
}

using Complex = std::complex<double>;

TEST(NumericKernels, SignToleratesTinyNumbers) {
    EXPECT_EQ(kavro::sign(1e-10), 0.0);
    EXPECT_EQ(kavro::sign(-1e-10), 0.0);
    EXPECT_EQ(kavro::sign(-1.0000001e-10), -1.0);
    EXPECT_EQ(kavro::sign(3.0), 1.0);
}

TEST(NumericKernels, SmartExpSkipsZeroComponents) {
    const double e = std::exp(0.7), infinity = std::numeric_limits<double>::infinity();
    const std::pair<Complex, Complex> cases[] = {
        {{0, 0}, {1, 0}},
        {{0, 2.5}, {std::cos(2.5), std::sin(2.5)}},
        {{-2.5, 0}, {std::exp(-2.5), 0}},
        {{0.7, -3}, {e * std::cos(-3.0), e * std::sin(-3.0)}},
        // Nothing comes of infinity times the zero that a skipped sine stands for.
        {{infinity, 0}, {infinity, 0}}};
    for (const auto& [z, expected] : cases) {
        double re = 0, im = 0;
        kavro::smart_exp(z.real(), z.imag(), re, im);
        EXPECT_EQ(Complex(re, im), expected);
        EXPECT_EQ(kavro::smart_exp(z), expected);
        EXPECT_EQ(kavro::smart_exp(z.real(), z.imag()), expected);
    }
    const std::complex<float> single = kavro::smart_exp(0.7f, -3.0f);
    EXPECT_EQ(single.real(), std::exp(0.7f) * std::cos(-3.0f));
    EXPECT_EQ(single, kavro::smart_exp(std::complex<float>(0.7f, -3.0f)));
    EXPECT_TRUE(std::isnan(kavro::smart_exp(std::nan(""), 0.0).real()));
}

TEST(NumericKernels, FastSincWeighsItsExponentialsUnevenly) {
    EXPECT_EQ(kavro::fast_sinc(0.0, 0.0), Complex(1, 0));
    for (const Complex z : {Complex(0.3, -1.2), Complex(-2.0, 0.4), Complex(0, 0.9)}) {
        const double s = std::sin(z.real()), c = std::cos(z.real());
        const double P = std::exp(z.imag()), M = std::exp(-z.imag());
        const Complex numerator(s * M + s * 0.5 * P, 0.5 * P * c - c * M);
        EXPECT_NEAR(std::abs(kavro::fast_sinc(z) - numerator * std::conj(z) / std::norm(z)), 0.0,
                    1e-15);
        EXPECT_EQ(kavro::fast_sinc(z), kavro::fast_sinc(z.real(), z.imag()));
    }
}

}  // namespace
}  // namespace kavro_test
