// Quadrature rules.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "oracle/gauss.h"
#include "stage.h"

namespace kavro_test {
namespace {

using kavro::NumericalIntegration;

NumericalIntegration sized(int n) {
    NumericalIntegration rule;
    EXPECT_TRUE(rule.allocate_memory(n));
    return rule;
}

const int orders[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 15, 16, 31, 32, 33, 63, 64, 100, 257, 1000};

TEST(GaussQuadrature, IsTheLiteralRuleBitForBit) {
    for (const int n : orders) {
        SCOPED_TRACE(n);
        NumericalIntegration rule = sized(n);
        rule.gauss_quadrature();
        const kavro_oracle::Rule literal = kavro_oracle::gauss(n);
        EXPECT_EQ(rule.abscissas, literal.x);
        EXPECT_EQ(rule.weights, literal.w);
        rule.gauss_quadrature(-0.3, 1.7);
        const kavro_oracle::Rule mapped = kavro_oracle::gauss(n, -0.3, 1.7);
        EXPECT_EQ(rule.abscissas, mapped.x);
        EXPECT_EQ(rule.weights, mapped.w);
        const kavro_oracle::Rule refined = kavro_oracle::gauss(n, 2);
        NumericalIntegration::modifiedgrule(n, rule.abscissas.data(), rule.weights.data());
        EXPECT_EQ(rule.abscissas, refined.x);
        EXPECT_EQ(rule.weights, refined.w);
    }
}

// The standard rule is remembered; nothing of it shows but the time.
TEST(GaussQuadrature, FollowsItsSizeAndIgnoresWhatWasInIt) {
    NumericalIntegration rule = sized(5);
    rule.gauss_quadrature(2, 3);
    NumericalIntegration copy = rule;
    for (const int n : {5, 8, 5}) {
        copy.allocate_memory(n);
        copy.midpoint_rule();
        copy.gauss_quadrature();
        EXPECT_EQ(copy.abscissas, kavro_oracle::gauss(n).x);
        EXPECT_EQ(copy.weights, kavro_oracle::gauss(n).w);
        copy.gauss_quadrature_cylindrical();
    }
    EXPECT_EQ(rule.abscissas, kavro_oracle::gauss(5, 2, 3).x);
}

TEST(GaussQuadrature, LeavesTheRuleAsItWasWhenInterrupted) {
    NumericalIntegration rule = sized(3000);
    rule.midpoint_rule();
    const NumericalIntegration before = rule;
    int asked = 0;
    {
        const kavro::console::Connection impatient({{}, {}, {}, [&] { return ++asked > 1; }});
        EXPECT_THROW(rule.gauss_quadrature(0, 1), kavro::Interrupted);
        EXPECT_EQ(rule.abscissas, before.abscissas);
        EXPECT_EQ(rule.weights, before.weights);
        EXPECT_EQ(asked, 2);
        asked = -1000;
        EXPECT_TRUE(rule.gauss_quadrature(0, 1));
        EXPECT_LT(asked, -990);
    }
    EXPECT_EQ(rule.abscissas, kavro_oracle::gauss(3000, 0, 1).x);
}

// Powers below twice the order exactly, the next one not; abscissas downwards, in pairs.
TEST(GaussQuadrature, IntegratesPolynomialsOfTwiceItsOrder) {
    for (int n = 1; n <= 24; ++n) {
        NumericalIntegration rule = sized(n);
        rule.gauss_quadrature();
        for (int power = 0; power <= 2 * n; ++power) {
            double sum = 0;
            for (int i = 0; i < n; ++i) {
                sum += rule.get_weight(i) * std::pow(rule.get_abscissa(i), power);
            }
            const double integral = power % 2 == 0 ? 2.0 / (power + 1) : 0.0;
            EXPECT_NEAR(sum, integral, power < 2 * n ? 1e-14 : 1.0) << n << " " << power;
            EXPECT_TRUE(power < 2 * n || sum < integral - 1e-15);
        }
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(rule.get_abscissa(i), -rule.get_abscissa(n - 1 - i));
            EXPECT_TRUE(i == 0 || rule.get_abscissa(i) < rule.get_abscissa(i - 1));
        }
    }
}

TEST(GaussQuadrature, MapsToHalfATurnWithCosines) {
    NumericalIntegration rule = sized(17);
    rule.gauss_quadrature_cylindrical();
    const kavro_oracle::Rule literal = kavro_oracle::gauss(17);
    for (std::size_t i = 0; i < 17; ++i) {
        EXPECT_EQ(rule.abscissas[i], literal.x[i] * 3.14159265358979 * 0.5 + 1.570796326794895);
        EXPECT_EQ(rule.cosines[i], std::cos(rule.abscissas[i]));
        EXPECT_EQ(rule.weights[i], literal.w[i] * 3.14159265358979 * 0.5);
    }
}

TEST(MidpointRule, IsPlainOnTheUnitIntervalAndShiftedElsewhere) {
    NumericalIntegration rule = sized(4);
    EXPECT_TRUE(rule.midpoint_rule());
    EXPECT_EQ(rule.abscissas, (std::vector<double>{-0.75, -0.25, 0.25, 0.75}));
    EXPECT_EQ(rule.weights, std::vector<double>(4, 0.5));
    EXPECT_TRUE(rule.midpoint_rule(0, 1));
    EXPECT_EQ(rule.abscissas, (std::vector<double>{-0.125, 0.125, 0.375, 0.625}));
    EXPECT_EQ(rule.weights, std::vector<double>(4, 0.25));
}

TEST(NumericalIntegration, AnswersZeroAndRefusesWhereThereIsNoAbscissa) {
    const Recorder console;
    NumericalIntegration rule = sized(3);
    rule.midpoint_rule(5, 8);
    for (const int i : {-1, 3, INT_MAX, INT_MIN}) {
        EXPECT_EQ(rule.get_abscissa(i), 0.0);
        EXPECT_EQ(rule.get_weight(i), 0.0);
    }
    EXPECT_EQ(rule.get_weight(2), 1.0);
    for (const int n : {0, -7}) {
        EXPECT_EQ(error_of([&] { rule.allocate_memory(n); }),
                  "Specified number of abscissas is less than 1.\n");
    }
    EXPECT_EQ(console.printed, "Illegal number of abscissas 0\nIllegal number of abscissas -7\n");
    EXPECT_EQ(rule.get_npoints(), 3);
    rule.allocate_memory(1);
    EXPECT_EQ(rule.get_weight(1), 0.0);
}

TEST(NumericalIntegration, IsAnEmptyRuleUntilItIsSized) {
    NumericalIntegration rule;
    EXPECT_TRUE(rule.gauss_quadrature(0, 1));
    EXPECT_TRUE(rule.gauss_quadrature_cylindrical());
    EXPECT_TRUE(rule.midpoint_rule());
    EXPECT_TRUE(rule.midpoint_rule(0, 1));
    EXPECT_EQ(rule.get_npoints(), 0);
    EXPECT_EQ(rule.get_abscissa(0), 0.0);
    double untouched = 7;
    NumericalIntegration::grule(0, &untouched, &untouched);
    NumericalIntegration::modifiedgrule(-1, &untouched, &untouched);
    EXPECT_EQ(untouched, 7);
}

TEST(NumericalIntegration, KeepsTheLastTwoParametersOfTheOtherMarch) {
    NumericalIntegration rule;
    const auto& [extent, points, step, implicit, diffraction, growth, harmonics, phase] =
        rule.kzk_parameters;
    const auto all = [&] {
        return std::vector<float>{extent,
                                  points,
                                  step,
                                  implicit,
                                  diffraction,
                                  growth,
                                  static_cast<float>(harmonics),
                                  static_cast<float>(phase)};
    };
    rule.cw_set_kzk_parameters(6, 7, 8, 9, 10);
    rule.set_kzk_parameters(1, 2, 3, 4, 5);
    EXPECT_EQ(all(), (std::vector<float>{1, 2, 3, 4, 5, 3, 9, 10}));
    rule.cw_set_kzk_parameters(6, 7, 8, 11, 12);
    EXPECT_EQ(all(), (std::vector<float>{6, 7, 8, 4, 5, 8, 11, 12}));
}

}  // namespace
}  // namespace kavro_test
