// The analytic pulses: tone burst, Hanning pulse, t-cubed pulse.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "oracle/literal_waveforms.h"
#include "support.h"

namespace kavro_test {
namespace {

constexpr double f0 = 1.3e6;
constexpr double width = 2.1e-6;
constexpr double decay = 7e5;

struct Pair {
    Waveform library;
    std::unique_ptr<kavro_oracle::Waveform> literal;
};

std::vector<Pair> pulses() {
    std::vector<Pair> pairs;
    pairs.push_back({std::make_shared<kavro::ToneBurst>(f0, width, decay),
                     std::make_unique<kavro_oracle::ToneBurst>(f0, width, decay)});
    pairs.push_back({std::make_shared<kavro::HanningPulse>(f0, width, decay),
                     std::make_unique<kavro_oracle::HanningPulse>(f0, width, decay)});
    pairs.push_back({std::make_shared<kavro::TCubedPulse>(f0, width, decay),
                     std::make_unique<kavro_oracle::TCubedPulse>(f0, width, decay)});
    return pairs;
}

std::vector<double> instants() {
    std::vector<double> times = {
        0.0,          -0.0, width, std::nextafter(width, 1), -1e-12, std::nextafter(width, 0),
        std::nan(""), 1.0};
    for (int i = -20; i < 120; ++i) {
        times.push_back(i * 2.17e-8);
    }
    return times;
}

void expect_close(double actual, double expected, double relative, double scale) {
    if (!std::isnan(expected) || !std::isnan(actual)) {
        EXPECT_NEAR(actual, expected, relative * (std::fabs(expected) + 1e-3 * scale));
    }
}

TEST(AnalyticPulses, WaveformAndSlopeAreTheLiteralOnes) {
    for (const Pair& pulse : pulses()) {
        double peak = 0, slope = 0;
        for (const double t : instants()) {
            peak = std::fmax(peak, std::fabs(pulse.literal->at(t)));
            slope = std::fmax(slope, std::fabs(pulse.literal->derivative(t)));
        }
        for (const double t : instants()) {
            expect_close(pulse.library->at(t), pulse.literal->at(t), 1e-13, peak);
            expect_close(pulse.library->derivative(t), pulse.literal->derivative(t), 1e-13, slope);
        }
    }
}

TEST(AnalyticPulses, EndsOfThePulse) {
    const double omega = f0 * 6.28318530717958;
    for (const Pair& pulse : pulses()) {
        EXPECT_EQ(pulse.library->at(0.0), 0.0);
        EXPECT_EQ(pulse.library->at(width), 0.0);
    }
    // The burst's slope counts both ends, the others' none.
    const kavro::ToneBurst burst(f0, width, 0);
    EXPECT_DOUBLE_EQ(burst.derivative(0.0), omega);
    EXPECT_DOUBLE_EQ(burst.derivative(width), omega * std::cos(omega * width));
    EXPECT_EQ(burst.derivative(std::nextafter(width, 1)), 0.0);
    EXPECT_EQ(kavro::HanningPulse(f0, width, 0).derivative(width), 0.0);
    EXPECT_EQ(kavro::TCubedPulse(f0, width, decay).derivative(0.0), 0.0);
}

TEST(AnalyticPulses, SlopeIsTheSlopeOfTheWaveform) {
    constexpr double h = 1e-11;
    for (const Pair& pulse : pulses()) {
        for (double t = 0.1 * width; t < 0.95 * width; t += 0.07 * width) {
            const double difference =
                (pulse.library->at(t + h) - pulse.library->at(t - h)) / (2 * h);
            double scale = 0;
            for (double s = 0.1 * width; s < width; s += 0.05 * width) {
                scale = std::fmax(scale, std::fabs(pulse.library->derivative(s)));
            }
            EXPECT_NEAR(pulse.library->derivative(t), difference, 1e-5 * scale);
        }
    }
}

// Factors of both precisions, entry by entry; `terms` names the rows.
template <class Real>
void expect_literal_factors(const Pair& pulse, double tolerance) {
    const std::vector<double> times = {-3e-7, 1e-6, 2.5e-6, 4.1e-6, 4.2e-6, 7e-6, 7.7e-6, 9e-6};
    kavro::TimeSamples axis;
    axis.times = times;
    axis.ntimes = static_cast<std::int32_t>(times.size());
    const auto terms = static_cast<std::size_t>(pulse.library->number_of_tsd_terms());
    ASSERT_EQ(terms, static_cast<std::size_t>(pulse.literal->terms()));
    std::vector<Real> factors(terms * times.size() + 3), expected(factors.size());
    const Real delay = static_cast<Real>(4.4e-7);
    pulse.library->temporal_tsd(factors.data(), &axis, axis.ntimes, delay);
    pulse.literal->temporal(times, delay, expected.data());
    for (std::size_t i = 0; i < factors.size(); ++i) {
        const auto value = static_cast<double>(expected[i]);
        EXPECT_NEAR(static_cast<double>(factors[i]), value, tolerance * std::fabs(value)) << i;
    }
    for (const double delay_of_path : {0.0, 3.3e-7, 4.7e-6, 1.1e-5}) {
        const auto tau = static_cast<Real>(delay_of_path);
        pulse.library->spatial_tsd(factors.data(), tau);
        pulse.literal->spatial(tau, expected.data());
        for (std::size_t k = 0; k < terms; ++k) {
            const auto value = static_cast<double>(expected[k]);
            EXPECT_NEAR(static_cast<double>(factors[k]), value, tolerance * std::fabs(value)) << k;
        }
    }
}

TEST(AnalyticPulses, FactorsAreTheLiteralOnes) {
    for (const Pair& pulse : pulses()) {
        expect_literal_factors<double>(pulse, 1e-12);
        expect_literal_factors<float>(pulse, 2.5e-7);
    }
}

// Sum over k of S_k(tau) T_k(t).
double decomposed(const kavro::ExcitationFunction& f, double t, double delay, double tau) {
    kavro::TimeSamples axis;
    axis.times = {t};
    axis.ntimes = 1;
    const auto terms = static_cast<std::size_t>(f.number_of_tsd_terms());
    std::vector<double> spatial(terms), temporal(terms);
    f.spatial_tsd(spatial.data(), tau);
    f.temporal_tsd(temporal.data(), &axis, 1, delay);
    double sum = 0;
    for (std::size_t k = 0; k < terms; ++k) {
        sum += spatial[k] * temporal[k];
    }
    return sum;
}

TEST(AnalyticPulses, DecompositionIsTheDelayedWaveformInsideThePulse) {
    const kavro::ToneBurst burst(f0, width, 0);
    const kavro::HanningPulse hanning(f0, width, 0);
    const kavro::TCubedPulse undamped(f0, width, 0);
    kavro::TCubedPulse exact(f0, width, decay);
    exact.set_exact(true);
    for (const double tau : {0.0, 4e-7, 2.2e-6}) {
        for (double since = 0.02 * width; since < width; since += 0.05 * width) {
            const double t = 3e-7 + tau + since;
            EXPECT_NEAR(decomposed(burst, t, 3e-7, tau), burst.at(since), 1e-12);
            EXPECT_NEAR(decomposed(hanning, t, 3e-7, tau), hanning.at(since), 1e-12);
            const double cube = std::pow(width, 3);
            EXPECT_NEAR(decomposed(undamped, t, 3e-7, tau), undamped.at(since), 1e-12 * cube);
            EXPECT_NEAR(decomposed(exact, t, 3e-7, tau), exact.at(since), 1e-12 * cube);
        }
    }
    // The endless sine: the pulse's end is no part of the decomposition.
    EXPECT_NEAR(decomposed(burst, 5 * width, 0, 0), std::sin(2 * std::numbers::pi * f0 * 5 * width),
                1e-11);
}

TEST(TCubedPulse, ReferenceFactorIsThatOfTheFirstSample) {
    const kavro::TCubedPulse pulse(f0, width, decay);
    const double tau = 1.1e-6, since = 0.4 * width, delay = 2e-7;
    const double t = delay + tau + since;
    const double factor = std::exp(decay * (t - delay)) * std::exp(decay * tau);
    const double bare = std::pow(since, 3) * std::sin(2 * std::numbers::pi * f0 * since);
    EXPECT_NEAR(decomposed(pulse, t, delay, tau) / (factor * bare), 1.0, 1e-11);
}

// ---- the tone burst's groups of four

struct FloatFactors {
    std::vector<float> values;  // two rows, and more room than they need

    FloatFactors(const kavro::ToneBurst& burst, int n)
        : values(static_cast<std::size_t>(2 * n + 9)) {
        const Recorder quiet;
        for (float& value : values) {
            value = 777.0f;
        }
        const kavro::TimeSamples times(1e-7, 0.5e-7, 0.5e-7 + 1e-7 * (n - 0.5));
        EXPECT_EQ(times.ntimes, n);
        burst.temporal_tsd(values.data(), &times, n, 2e-8f);
    }
    float operator[](int i) const { return values[static_cast<std::size_t>(i)]; }
};

double angle_of(int i) {
    return 2 * std::numbers::pi * f0 * (i * 1e-7 + 0.5e-7 - 2e-8);
}

void expect_factor(float factor, double expected) {
    EXPECT_NEAR(static_cast<double>(factor), expected, 2e-6);
}

TEST(ToneBurst, LastGroupOfSixSpillsIntoTheSecondRow) {
    const FloatFactors factors(kavro::ToneBurst(f0, width, 0), 6);
    for (int i = 0; i < 6; ++i) {
        expect_factor(factors[i], std::sin(angle_of(i)));
    }
    // Samples 6 and 7, which do not exist, count as time zero.
    const double beyond = 2 * std::numbers::pi * f0 * -2e-8;
    for (int i = 0; i < 2; ++i) {
        expect_factor(factors[6 + i], std::sin(beyond));
        expect_factor(factors[12 + i], -std::cos(beyond));
    }
    for (int i = 2; i < 6; ++i) {
        expect_factor(factors[6 + i], -std::cos(angle_of(i)));
    }
    EXPECT_EQ(factors[14], 777.0f);
}

TEST(ToneBurst, FewerThanFourSamplesLeaveHoles) {
    const FloatFactors three(kavro::ToneBurst(f0, width, 0), 3);
    EXPECT_EQ(three[0], 777.0f);
    EXPECT_EQ(three[3], 777.0f);
    for (int i = 1; i < 3; ++i) {
        expect_factor(three[i], std::sin(angle_of(i)));
        expect_factor(three[3 + i], -std::cos(angle_of(i)));
    }
    const FloatFactors one(kavro::ToneBurst(f0, width, 0), 1);
    EXPECT_EQ(one.values, std::vector<float>(11, 777.0f));
}

TEST(ToneBurst, SpillsNoFurtherThanThreeValuesAndExactlyNotAtAll) {
    for (int n = 1; n <= 13; ++n) {
        kavro::ToneBurst burst(f0, width, 0);
        for (const bool exact : {false, true}) {
            burst.set_exact(exact);
            const FloatFactors factors(burst, n);
            for (int i = 2 * n + (exact ? 0 : 3); i < 2 * n + 9; ++i) {
                EXPECT_EQ(factors[i], 777.0f) << n;
            }
            for (int i = 0; i < n && (exact || n % 4 == 0); ++i) {
                expect_factor(factors[i], std::sin(angle_of(i)));
                expect_factor(factors[n + i], -std::cos(angle_of(i)));
            }
        }
    }
}

TEST(ToneBurst, ReferenceFactorsHaveTheLiteralBits) {
    const kavro::ToneBurst burst(f0, width, 0);
    const kavro_oracle::ToneBurst literal(f0, width, 0);
    for (int n = 1; n <= 13; ++n) {
        const kavro::TimeSamples times(1e-7, 0.5e-7, 0.5e-7 + 1e-7 * (n - 0.5));
        std::vector<float> expected(static_cast<std::size_t>(2 * n + 9), 777.0f);
        literal.temporal(times.times, 2e-8f, expected.data());
        EXPECT_EQ(FloatFactors(burst, n).values, expected) << n;
    }
}

TEST(AnalyticPulses, FourWideSpatialFactorsWriteNothing) {
    __m128 untouched[8];
    for (__m128& value : untouched) {
        value = _mm_set1_ps(777.0f);
    }
    kavro::ToneBurst(f0, width, 0).spatial_tsd(untouched, _mm_set1_ps(1e-6f));
    kavro::HanningPulse(f0, width, 0).spatial_tsd(untouched, _mm_set1_ps(1e-6f));
    kavro::TCubedPulse(f0, width, 0).spatial_tsd(untouched, _mm_set1_ps(1e-6f));
    for (const __m128& value : untouched) {
        EXPECT_EQ(_mm_movemask_ps(_mm_cmpeq_ps(value, _mm_set1_ps(777.0f))), 15);
    }
}

TEST(AnalyticPulses, HaveNoComplexDecomposition) {
    for (const Pair& pulse : pulses()) {
        EXPECT_FALSE(pulse.library->has_complex_decomposition());
        std::complex<double> untouched[3] = {7.0, 7.0, 7.0};
        const kavro::TimeSamples times(1, 0, 2);
        pulse.library->spatial_tsd(untouched, 1e-6);
        pulse.library->temporal_tsd(untouched, &times, 3, 0.0);
        EXPECT_EQ(untouched[0], 7.0);
        EXPECT_EQ(untouched[2], 7.0);
    }
}

}  // namespace
}  // namespace kavro_test
