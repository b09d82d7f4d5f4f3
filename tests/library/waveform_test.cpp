// The waveforms: analytic pulses, those made from a sampled signal, and the transform behind them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <thread>

#include "excitation/discrete_spectrum.h"
#include "oracle/literal_waveforms.h"
#include "oracle/spectrum.h"
#include "stage.h"

namespace kavro_test {
namespace {

using kavro::ExcitationFunction;
using Complex = std::complex<double>;

// Within `tolerance` of the largest magnitude of the term.
template <class Factor, class Real>
void expect_literal_factors(const ExcitationFunction& f, const kavro_oracle::Waveform& literal,
                            double tolerance) {
    kavro::TimeSamples axis;
    axis.times = {-3e-7, 0.0, 3.3e-7, 1e-6, 2.5e-6, 2.95e-6, 7e-6, 9e-6};
    axis.ntimes = 8;
    const auto terms = static_cast<std::size_t>(literal.terms());
    std::vector<Factor> found(terms * 8 + 3), expected(found.size());
    const auto compare = [&](std::size_t columns) {
        for (std::size_t row = 0; row < terms; ++row) {
            double largest = 0.0, off = 0.0;
            for (std::size_t i = row * columns; i < (row + 1) * columns; ++i) {
                largest = std::max(largest, static_cast<double>(std::abs(expected[i])));
                off = std::max(off, static_cast<double>(std::abs(found[i] - expected[i])));
            }
            EXPECT_LE(off, tolerance * largest) << "term " << row << " of " << columns;
        }
    };
    const Real delay = static_cast<Real>(1.7e-7);
    f.temporal_tsd(found.data(), &axis, axis.ntimes, delay);
    literal.temporal(axis.times, delay, expected.data());
    compare(8);
    for (const double path : {0.0, 4.4e-7, 4.7e-6}) {
        f.spatial_tsd(found.data(), static_cast<Real>(path));
        literal.spatial(static_cast<Real>(path), expected.data());
        compare(1);
    }
}

// Real part of the sum over the terms of S_k(tau) T_k(t).
template <class Factor, class Real>
double decomposed(const ExcitationFunction& f, double t, Real delay, Real tau) {
    kavro::TimeSamples axis;
    axis.times = {t};
    axis.ntimes = 1;
    const auto terms = static_cast<std::size_t>(
        std::is_same_v<Factor, Complex> ? f.n_terms : f.number_of_tsd_terms());
    std::vector<Factor> S(terms), T(terms + 3);
    f.spatial_tsd(S.data(), tau);
    f.temporal_tsd(T.data(), &axis, 1, delay);
    Complex sum;
    for (std::size_t k = 0; k < terms; ++k) {
        sum += Complex(S[k]) * Complex(T[k]);
    }
    return sum.real();
}

// ---- analytic pulses

constexpr double f0 = 1.3e6;
constexpr double width = 2.1e-6;
constexpr double decay = 7e5;
constexpr double omega = 2 * std::numbers::pi * f0;

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

// Both ends of the pulse are the literal ones too: the burst's slope counts both, the rest none.
TEST(AnalyticPulses, WaveformAndSlopeAreTheLiteralOnes) {
    Values instants = {
        0.0,    -0.0, width,       std::nextafter(width, 1), std::nextafter(width, 0),
        -1e-12, 1.0,  std::nan("")};
    for (int i = -20; i < 120; ++i) {
        instants.push_back(i * 2.17e-8);
    }
    for (const Pair& pulse : pulses()) {
        Values found, expected, slope, expected_slope;
        for (const double t : instants) {
            found.push_back(pulse.library->at(t));
            expected.push_back(pulse.literal->at(t));
            slope.push_back(pulse.library->derivative(t));
            expected_slope.push_back(pulse.literal->derivative(t));
        }
        EXPECT_TRUE(close_to(found, expected, 1e-13));
        EXPECT_TRUE(close_to(slope, expected_slope, 1e-13));
        EXPECT_EQ(pulse.library->at(0.0), 0.0);
        EXPECT_EQ(pulse.library->at(width), 0.0);
    }
}

TEST(AnalyticPulses, SlopeIsTheSlopeOfTheWaveform) {
    constexpr double h = 1e-11;
    for (const Pair& pulse : pulses()) {
        Values slope, difference;
        for (double t = 0.1 * width; t < 0.95 * width; t += 0.07 * width) {
            slope.push_back(pulse.library->derivative(t));
            difference.push_back((pulse.library->at(t + h) - pulse.library->at(t - h)) / (2 * h));
        }
        EXPECT_TRUE(close_to(slope, difference, 1e-5));
    }
}

TEST(AnalyticPulses, FactorsAreTheLiteralOnes) {
    for (const Pair& pulse : pulses()) {
        expect_literal_factors<double, double>(*pulse.library, *pulse.literal, 1e-12);
        expect_literal_factors<float, float>(*pulse.library, *pulse.literal, 2.5e-7);
    }
}

TEST(AnalyticPulses, DecompositionIsTheDelayedWaveformInsideThePulse) {
    const kavro::ToneBurst burst(f0, width, 0);
    const kavro::HanningPulse hanning(f0, width, 0);
    const kavro::TCubedPulse undamped(f0, width, 0), reference(f0, width, decay);
    kavro::TCubedPulse exact(f0, width, decay);
    exact.set_exact(true);
    const double cube = std::pow(width, 3);
    for (const double tau : {0.0, 4e-7, 2.2e-6}) {
        for (double since = 0.02 * width; since < width; since += 0.05 * width) {
            const double t = 3e-7 + tau + since;
            EXPECT_NEAR(decomposed<double>(burst, t, 3e-7, tau), burst.at(since), 1e-12);
            EXPECT_NEAR(decomposed<double>(hanning, t, 3e-7, tau), hanning.at(since), 1e-12);
            EXPECT_NEAR(decomposed<double>(undamped, t, 3e-7, tau), undamped.at(since),
                        1e-12 * cube);
            EXPECT_NEAR(decomposed<double>(exact, t, 3e-7, tau), exact.at(since), 1e-12 * cube);
            // The reference factor grows, where the exact one decays, with the first sample's.
            const double growth = std::exp(decay * (t - 3e-7 + tau));
            EXPECT_NEAR(decomposed<double>(reference, t, 3e-7, tau), growth * undamped.at(since),
                        1e-11 * growth * cube);
        }
    }
    // The endless sine: the pulse's end is no part of the decomposition.
    EXPECT_NEAR(decomposed<double>(burst, 5 * width, 0.0, 0.0), std::sin(omega * 5 * width), 1e-11);
}

// ---- the tone burst's groups of four

// Two rows of n factors, and more room than they need.
std::vector<float> factors_of(const kavro::ToneBurst& burst, int n) {
    std::vector<float> values(static_cast<std::size_t>(2 * n + 9), 777.0f);
    const kavro::TimeSamples times(1e-7, 0.5e-7, 0.5e-7 + 1e-7 * (n - 0.5));
    EXPECT_EQ(times.ntimes, n);
    burst.temporal_tsd(values.data(), &times, n, 2e-8f);
    return values;
}

TEST(ToneBurst, ReferenceFactorsHaveTheLiteralBitsAndExactOnesAreAllThere) {
    kavro::ToneBurst burst(f0, width, 0);
    const kavro_oracle::ToneBurst literal(f0, width, 0);
    for (int n = 1; n <= 13; ++n) {
        const auto rows = static_cast<std::size_t>(2 * n);
        const kavro::TimeSamples times(1e-7, 0.5e-7, 0.5e-7 + 1e-7 * (n - 0.5));
        std::vector<float> expected(rows + 9, 777.0f);
        literal.temporal(times.times, 2e-8f, expected.data());
        burst.set_exact(false);
        EXPECT_EQ(factors_of(burst, n), expected) << n;
        EXPECT_EQ(expected[rows + 3], 777.0f);  // spills no further than three values
        burst.set_exact(true);
        const std::vector<float> exact = factors_of(burst, n);
        EXPECT_EQ(exact[rows], 777.0f) << n;
        for (int i = 0; i < n; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const double angle = omega * (i * 1e-7 + 0.5e-7 - 2e-8);
            EXPECT_NEAR(static_cast<double>(exact[at]), std::sin(angle), 2e-6);
            EXPECT_NEAR(static_cast<double>(exact[rows / 2 + at]), -std::cos(angle), 2e-6);
        }
    }
}

TEST(AnalyticPulses, HaveNoComplexDecomposition) {
    for (const Pair& pulse : pulses()) {
        EXPECT_FALSE(pulse.library->has_complex_decomposition());
        Complex untouched[3] = {7.0, 7.0, 7.0};
        const kavro::TimeSamples times(1, 0, 2);
        pulse.library->spatial_tsd(untouched, 1e-6);
        pulse.library->temporal_tsd(untouched, &times, 3, 0.0);
        EXPECT_EQ(untouched[0], 7.0);
        EXPECT_EQ(untouched[2], 7.0);
    }
}

// ---- sampled waveforms

constexpr double ts = 1e-7;
const Values zero_mean = {3, -1, 4, -1, -5, 2, -6, 4};

double duration(const Values& signal) {
    return static_cast<double>(signal.size()) * ts;
}

TEST(DiscreteSpectrum, IsTheDirectSum) {
    EXPECT_TRUE(kavro::discrete_spectrum({}).empty());
    for (const std::size_t n : {1u, 2u, 3u, 4u, 5u, 8u, 9u, 17u, 100u, 127u, 128u, 1001u}) {
        const Values signal = noise(n, 5);
        const std::vector<Complex> bins = kavro::discrete_spectrum(signal);
        const std::vector<Complex> expected = kavro_oracle::spectrum(signal);
        ASSERT_EQ(bins.size(), expected.size());
        for (std::size_t k = 0; k < bins.size(); ++k) {
            EXPECT_NEAR(std::abs(bins[k] - expected[k]), 0.0, 1e-13 * std::sqrt(double(n)));
        }
    }
}

TEST(DiscreteSpectrum, MayBeComputedFromSeveralThreads) {
    const std::vector<Complex> expected = kavro::discrete_spectrum(noise(60, 6));
    std::vector<int> wrong(4, 0);
    std::vector<std::thread> threads;
    for (int& count : wrong) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                count += kavro::discrete_spectrum(noise(60, 6)) == expected ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

// ---- reference behaviour

struct Case {
    Values signal;
    double threshold;
};

std::vector<Case> cases() {
    std::vector<Case> all;
    for (const double threshold : {0.0, 0.05, 0.4, 0.999, 1.0, -3.0, -10.0, -40.0}) {
        for (const std::size_t n : {1u, 2u, 3u, 8u, 9u, 16u, 33u}) {
            all.push_back({noise(n, 7), threshold});
        }
        all.push_back({zero_mean, threshold});
        all.push_back({Values(6, 0.0), threshold});
        all.push_back({Values(), threshold});
    }
    all.push_back({noise(8, 7), std::nan("")});
    return all;
}

TEST(SampledWaveform, HasTheLiteralTermsFactorsAndValues) {
    for (const Case& c : cases()) {
        SCOPED_TRACE(std::to_string(c.signal.size()) + ", " + std::to_string(c.threshold));
        const ExcitationFunction f(c.signal, ts, duration(c.signal), c.threshold);
        const kavro_oracle::SampledSignal literal(c.signal, ts, duration(c.signal), c.threshold);
        ASSERT_EQ(f.number_of_tsd_terms(), literal.n_terms);
        EXPECT_EQ(f.dc_index, literal.dc_index);
        EXPECT_EQ(f.nyquist_index, literal.nyquist_index);
        EXPECT_EQ(f.frequencies, literal.frequencies);
        EXPECT_EQ(f.signal, c.signal);
        for (std::size_t k = 0; k < literal.coefficients.size(); ++k) {
            EXPECT_NEAR(std::abs(f.coefficients[k] - literal.coefficients[k]), 0.0, 1e-13);
        }
        expect_literal_factors<double, double>(f, literal, 1e-12);
        expect_literal_factors<float, float>(f, literal, 2.5e-7);
        expect_literal_factors<Complex, double>(f, literal, 1e-12);
        for (const double t : {-1e-12, 0.0, 1.23e-7, f.w, std::nextafter(f.w, 1)}) {
            EXPECT_NEAR(f.at(t), literal.at(t), 1e-12);
            EXPECT_NEAR(f.derivative(t), literal.derivative(t), 1e-12);
        }
    }
}

// ---- the exact waveform

Waveform exact(const Values& signal, double threshold = 0.0) {
    const Waveform f = sampled(signal, ts, duration(signal), threshold);
    f->set_exact(true);
    return f;
}

std::vector<Values> signals() {
    return {noise(1, 9),  noise(2, 9), noise(7, 9),    noise(8, 9),           noise(33, 9),
            noise(64, 9), zero_mean,   Values(6, 2.5), {1, -1, 1, -1, 1, -1}, {0, 0, 1, 0, 0}};
}

TEST(ExactSampledWaveform, IsTheBandLimitedSignalThroughTheSamples) {
    constexpr double h = 1e-12;
    for (const Values& signal : signals()) {
        const Waveform f = exact(signal);
        for (std::size_t i = 0; i < signal.size(); ++i) {
            EXPECT_NEAR(f->at(static_cast<double>(i) * ts), signal[i], 1e-12);
        }
        for (double t = 0.0; t <= f->w; t += 0.37 * ts) {
            EXPECT_NEAR(f->at(t), kavro_oracle::band_limited(signal, ts, t), 1e-12);
        }
        for (double t = 0.1 * f->w; t < f->w; t += 0.13 * f->w) {
            EXPECT_NEAR(f->derivative(t), (f->at(t + h) - f->at(t - h)) / (2 * h), 1e-6 / ts);
        }
    }
}

TEST(ExactSampledWaveform, DecompositionIsTheDelayedSignal) {
    const double tau = 2.9e-7, delay = -1.5e-7;
    for (const Values& signal : signals()) {
        const Waveform f = exact(signal);
        for (const double t : {3.1e-7, 1.234e-6, 2.2e-6}) {
            const double v = kavro_oracle::band_limited(signal, ts, t - delay - tau);
            EXPECT_NEAR(decomposed<double>(*f, t, delay, tau), v, 1e-12);
            EXPECT_NEAR(decomposed<Complex>(*f, t, delay, tau), v, 1e-12);
            EXPECT_NEAR(decomposed<float>(*f, t, -1.5e-7f, 2.9e-7f), v, 2e-5);
        }
    }
}

TEST(ExactSampledWaveform, DropsWeakTermsOnly) {
    // A strong tone, a weak one and a mean, at bins 3, 10 and 0 of 32.
    Values signal(32), strong(32);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double turn = 2 * std::numbers::pi * static_cast<double>(i) / 32;
        strong[i] = 0.5 + std::cos(3 * turn + 0.4);
        signal[i] = strong[i] + 0.01 * std::sin(10 * turn);
    }
    const Waveform f = exact(signal, -15.0);  // a power ratio of 0.0316
    EXPECT_EQ(f->n_terms, 2);
    for (double t = 0; t < f->w; t += 0.3 * ts) {
        EXPECT_NEAR(f->at(t), kavro_oracle::band_limited(strong, ts, t), 1e-12);
    }
    EXPECT_EQ(exact(signal, -25.0)->n_terms, 3);
}

TEST(ExactSampledWaveform, CanBeTurnedOffAgain) {
    const Values signal = noise(9, 10);
    const ExcitationFunction reference(signal, ts, duration(signal), 0);
    const Waveform f = exact(signal);
    EXPECT_TRUE(f->exact());
    EXPECT_NE(f->at(3.3e-7), reference.at(3.3e-7));
    f->set_exact(false);
    EXPECT_EQ(f->number_of_tsd_terms(), reference.number_of_tsd_terms());
    EXPECT_EQ(f->coefficients, reference.coefficients);
    EXPECT_EQ(f->at(3.3e-7), reference.at(3.3e-7));
}

}  // namespace
}  // namespace kavro_test
