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
#include "support.h"

namespace kavro_test {
namespace {

using Lanes = std::array<float, 4>;

constexpr float infinite = std::numeric_limits<float>::infinity();

Lanes lanes_of(__m128 v) {
    alignas(16) Lanes lanes;
    _mm_store_ps(lanes.data(), v);
    return lanes;
}

// The same bits, or both not a number.
bool same(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
           (std::isnan(a) && std::isnan(b));
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
        const float moderate = static_cast<float>(bits) / 4294967296.0f * 200.0f - 100.0f;
        if (!std::isnan(any)) {
            values.push_back(any);
        }
        values.push_back(moderate);
    }
    values.resize(values.size() / 4 * 4);
    return values;
}

template <class FourWide, class Lane>
void expect_same_bits(FourWide four_wide, Lane lane) {
    const std::vector<float> values = arguments();
    int differences = 0;
    for (std::size_t i = 0; i < values.size(); i += 4) {
        const Lanes result = lanes_of(four_wide(_mm_loadu_ps(&values[i])));
        for (std::size_t l = 0; l < 4; ++l) {
            const float expected = lane(values[i + l]);
            if (!same(result[l], expected) && ++differences < 5) {
                ADD_FAILURE() << values[i + l] << ": " << result[l] << " instead of " << expected;
            }
        }
    }
    EXPECT_EQ(differences, 0);
}

TEST(FourWide, EveryLaneHasTheBitsOfTheScalarScheme) {
    expect_same_bits(kavro::exp_ps, kavro_oracle::exp_lane);
    expect_same_bits(kavro::log_ps, kavro_oracle::log_lane);
    expect_same_bits(kavro::sin_ps, kavro_oracle::sin_lane);
    expect_same_bits(kavro::cos_ps, kavro_oracle::cos_lane);
}

TEST(FourWide, PairsHaveTheBitsOfTheSingleFunctions) {
    const std::vector<float> values = arguments();
    for (std::size_t i = 0; i < values.size(); i += 4) {
        const __m128 x = _mm_loadu_ps(&values[i]);
        const __m128 re = _mm_loadu_ps(&values[values.size() - 4 - i]);
        __m128 s, c, out_re, out_im;
        kavro::sincos_ps(x, &s, &c);
        kavro::complex_exp(re, x, &out_re, &out_im);
        const Lanes sine = lanes_of(s), cosine = lanes_of(c);
        const Lanes real = lanes_of(out_re), imaginary = lanes_of(out_im);
        for (std::size_t l = 0; l < 4; ++l) {
            const std::size_t from_end = values.size() - 4 - i + l;
            float expected_re = 0, expected_im = 0;
            kavro_oracle::complex_exp_lane(values[from_end], values[i + l], &expected_re,
                                           &expected_im);
            ASSERT_TRUE(same(sine[l], kavro_oracle::sin_lane(values[i + l]))) << values[i + l];
            ASSERT_TRUE(same(cosine[l], kavro_oracle::cos_lane(values[i + l]))) << values[i + l];
            ASSERT_TRUE(same(real[l], expected_re)) << values[from_end] << " " << values[i + l];
            ASSERT_TRUE(same(imaginary[l], expected_im));
        }
    }
}

float first(__m128 v) {
    return lanes_of(v)[0];
}

// Against the mathematics library: a scheme that both sides copied wrongly would show here.
TEST(FourWide, IsCloseToTheTrueFunctions) {
    for (double x = -80; x < 80; x += 0.0137) {
        const auto f = static_cast<float>(x);
        const auto exact = static_cast<double>(f);
        const __m128 v = _mm_set1_ps(f);
        EXPECT_NEAR(static_cast<double>(first(kavro::sin_ps(v))), std::sin(exact), 1.2e-7);
        EXPECT_NEAR(static_cast<double>(first(kavro::cos_ps(v))), std::cos(exact), 1.2e-7);
        const double e = std::exp(exact);
        EXPECT_NEAR(static_cast<double>(first(kavro::exp_ps(v))), e, 2e-7 * e);
        const auto power = static_cast<float>(e);
        EXPECT_NEAR(static_cast<double>(first(kavro::log_ps(_mm_set1_ps(power)))),
                    std::log(static_cast<double>(power)), 1e-5);
    }
}

TEST(FourWide, EndsOfTheRanges) {
    const __m128 largest = _mm_set1_ps(88.3762626647949f);
    EXPECT_EQ(first(kavro::exp_ps(_mm_set1_ps(100.0f))), first(kavro::exp_ps(largest)));
    EXPECT_TRUE(std::isnan(first(kavro::log_ps(_mm_set1_ps(0.0f)))));
    EXPECT_TRUE(std::isnan(first(kavro::log_ps(_mm_set1_ps(-1.0f)))));
    EXPECT_EQ(first(kavro::log_ps(_mm_set1_ps(1.0f))), 0.0f);
    EXPECT_EQ(first(kavro::exp_ps(_mm_setzero_ps())), 1.0f);
    EXPECT_TRUE(std::signbit(first(kavro::sin_ps(_mm_set1_ps(-0.0f)))));
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

TEST(NumericKernels, SignToleratesTinyNumbers) {
    EXPECT_EQ(kavro::sign(1e-10), 0.0);
    EXPECT_EQ(kavro::sign(-1e-10), 0.0);
    EXPECT_EQ(kavro::sign(-2e-10), -1.0);
    EXPECT_EQ(kavro::sign(3.0), 1.0);
}

TEST(NumericKernels, SmartExpSkipsZeroComponents) {
    using Complex = std::complex<double>;
    EXPECT_EQ(kavro::smart_exp(0.0, 0.0), Complex(1, 0));
    EXPECT_EQ(kavro::smart_exp(0.0, 2.5), Complex(std::cos(2.5), std::sin(2.5)));
    EXPECT_EQ(kavro::smart_exp(-2.5, 0.0), Complex(std::exp(-2.5), 0));
    const double e = std::exp(0.7);
    EXPECT_EQ(kavro::smart_exp(Complex(0.7, -3)), Complex(e * std::cos(-3.0), e * std::sin(-3.0)));
    double re = 0, im = 0;
    kavro::smart_exp(0.7, -3.0, re, im);
    EXPECT_EQ(Complex(re, im), kavro::smart_exp(0.7, -3.0));
    // Nothing comes of infinity times the zero that a skipped sine stands for.
    EXPECT_EQ(kavro::smart_exp(std::numeric_limits<double>::infinity(), 0.0).imag(), 0.0);
    const std::complex<float> single = kavro::smart_exp(0.7f, -3.0f);
    EXPECT_EQ(single.real(), std::exp(0.7f) * std::cos(-3.0f));
    EXPECT_EQ(single, kavro::smart_exp(std::complex<float>(0.7f, -3.0f)));
    EXPECT_TRUE(std::isnan(kavro::smart_exp(std::nan(""), 0.0).real()));
}

TEST(NumericKernels, FastSincWeighsItsExponentialsUnevenly) {
    using Complex = std::complex<double>;
    EXPECT_EQ(kavro::fast_sinc(0.0, 0.0), Complex(1, 0));
    for (const Complex z : {Complex(0.3, -1.2), Complex(-2.0, 0.4), Complex(0, 0.9)}) {
        const double s = std::sin(z.real()), c = std::cos(z.real());
        const double P = std::exp(z.imag()), M = std::exp(-z.imag());
        const Complex numerator(s * M + s * 0.5 * P, 0.5 * P * c - c * M);
        const Complex expected = numerator * std::conj(z) / std::norm(z);
        EXPECT_NEAR(std::abs(kavro::fast_sinc(z) - expected), 0.0, 1e-15);
        EXPECT_EQ(kavro::fast_sinc(z), kavro::fast_sinc(z.real(), z.imag()));
    }
}

}  // namespace
}  // namespace kavro_test
