// The waveform made from a sampled signal, and the transform behind it.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <thread>

#include "excitation/discrete_spectrum.h"
#include "oracle/literal_waveforms.h"
#include "oracle/spectrum.h"
#include "support.h"

namespace kavro_test {
namespace {

using Complex = std::complex<double>;
using kavro::ExcitationFunction;

constexpr double ts = 1e-7;
const std::vector<double> zero_mean = {3, -1, 4, -1, -5, 2, -6, 4};

double duration(const std::vector<double>& signal) {
    return static_cast<double>(signal.size()) * ts;
}

TEST(DiscreteSpectrum, IsTheDirectSum) {
    EXPECT_TRUE(kavro::discrete_spectrum({}).empty());
    for (const std::size_t n : {1u, 2u, 3u, 4u, 5u, 8u, 9u, 17u, 100u, 127u, 128u, 1001u}) {
        const std::vector<double> signal = noise(n, 5);
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
    std::vector<double> signal;
    double threshold;
};

std::vector<Case> cases() {
    std::vector<Case> all;
    for (const double threshold : {0.0, 0.05, 0.4, 0.999, 1.0, -3.0, -10.0, -40.0}) {
        for (const std::size_t n : {1u, 2u, 3u, 8u, 9u, 16u, 33u}) {
            all.push_back({noise(n, 7), threshold});
        }
        all.push_back({zero_mean, threshold});
        all.push_back({std::vector<double>(6, 0.0), threshold});
        all.push_back({std::vector<double>(), threshold});
    }
    all.push_back({noise(8, 7), std::nan("")});
    return all;
}

TEST(SampledWaveform, KeepsTheLiteralTerms) {
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
    }
}

TEST(SampledWaveform, FactorsAndValuesAreTheLiteralOnes) {
    const std::vector<double> times = {-2e-7, 0.0, 3.3e-7, 1e-6, 2.95e-6};
    kavro::TimeSamples axis;
    axis.times = times;
    axis.ntimes = static_cast<std::int32_t>(times.size());
    for (const Case& c : cases()) {
        SCOPED_TRACE(std::to_string(c.signal.size()) + ", " + std::to_string(c.threshold));
        const ExcitationFunction f(c.signal, ts, duration(c.signal), c.threshold);
        const kavro_oracle::SampledSignal literal(c.signal, ts, duration(c.signal), c.threshold);
        const auto terms = static_cast<std::size_t>(literal.n_terms);
        std::vector<double> wide(terms * times.size()), wide_literal(wide.size());
        std::vector<float> single(wide.size()), single_literal(wide.size());
        std::vector<Complex> complex(wide.size()), complex_literal(wide.size());
        const auto expect_equal = [&](std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) {
                EXPECT_NEAR(wide[i], wide_literal[i], 1e-13);
                EXPECT_NEAR(single[i], single_literal[i], 2.5e-7f * std::fabs(single[i]) + 1e-13f);
                EXPECT_NEAR(std::abs(complex[i] - complex_literal[i]), 0.0, 1e-13);
            }
        };
        f.temporal_tsd(wide.data(), &axis, axis.ntimes, 1.7e-7);
        f.temporal_tsd(single.data(), &axis, axis.ntimes, 1.7e-7f);
        f.temporal_tsd(complex.data(), &axis, axis.ntimes, 1.7e-7);
        literal.temporal(times, 1.7e-7, wide_literal.data());
        literal.temporal(times, 1.7e-7f, single_literal.data());
        literal.temporal(times, 1.7e-7, complex_literal.data());
        expect_equal(wide.size());
        f.spatial_tsd(wide.data(), 4.4e-7);
        f.spatial_tsd(single.data(), 4.4e-7f);
        f.spatial_tsd(complex.data(), 4.4e-7);
        literal.spatial(4.4e-7, wide_literal.data());
        literal.spatial(4.4e-7f, single_literal.data());
        literal.spatial(4.4e-7, complex_literal.data());
        expect_equal(terms);
        for (const double t : {-1e-12, 0.0, 1.23e-7, f.w, std::nextafter(f.w, 1)}) {
            EXPECT_NEAR(f.at(t), literal.at(t), 1e-12);
            EXPECT_NEAR(f.derivative(t), literal.derivative(t), 1e-12);
        }
    }
}

TEST(SampledWaveform, BothEndsOfTheIntervalBelongToIt) {
    const ExcitationFunction f(noise(8, 8), ts, 5.5e-7, 0);
    EXPECT_NE(f.at(0.0), 0.0);
    EXPECT_NE(f.at(5.5e-7), 0.0);
    EXPECT_EQ(f.at(-1e-300), 0.0);
    EXPECT_EQ(f.at(std::nextafter(5.5e-7, 1)), 0.0);
    EXPECT_EQ(f.derivative(5.6e-7), 0.0);
}

// ---- the exact waveform

Waveform exact(const std::vector<double>& signal, double threshold = 0.0) {
    const Waveform f = sampled(signal, ts, duration(signal), threshold);
    f->set_exact(true);
    return f;
}

std::vector<std::vector<double>> signals() {
    return {noise(1, 9),           noise(2, 9),    noise(7, 9), noise(8, 9),
            noise(33, 9),          noise(64, 9),   zero_mean,   std::vector<double>(6, 2.5),
            {1, -1, 1, -1, 1, -1}, {0, 0, 1, 0, 0}};
}

TEST(ExactSampledWaveform, IsTheBandLimitedSignalThroughTheSamples) {
    for (const std::vector<double>& signal : signals()) {
        const Waveform f = exact(signal);
        for (std::size_t i = 0; i < signal.size(); ++i) {
            EXPECT_NEAR(f->at(static_cast<double>(i) * ts), signal[i], 1e-12);
        }
        for (double t = 0.0; t <= f->w; t += 0.37 * ts) {
            EXPECT_NEAR(f->at(t), kavro_oracle::band_limited(signal, ts, t), 1e-12);
        }
    }
}

TEST(ExactSampledWaveform, DecompositionIsTheDelayedSignal) {
    kavro::TimeSamples axis;
    axis.times = {3.1e-7, 1.234e-6, 2.2e-6};
    axis.ntimes = 3;
    for (const std::vector<double>& signal : signals()) {
        const Waveform f = exact(signal);
        const auto terms = static_cast<std::size_t>(f->number_of_tsd_terms());
        const auto complex_terms = static_cast<std::size_t>(f->n_terms);
        std::vector<double> S(terms), T(terms * 3);
        std::vector<float> S_single(terms), T_single(terms * 3);
        std::vector<Complex> S_complex(complex_terms), T_complex(complex_terms * 3);
        const double tau = 2.9e-7, delay = -1.5e-7;
        f->spatial_tsd(S.data(), tau);
        f->temporal_tsd(T.data(), &axis, 3, delay);
        f->spatial_tsd(S_single.data(), static_cast<float>(tau));
        f->temporal_tsd(T_single.data(), &axis, 3, static_cast<float>(delay));
        f->spatial_tsd(S_complex.data(), tau);
        f->temporal_tsd(T_complex.data(), &axis, 3, delay);
        for (std::size_t i = 0; i < 3; ++i) {
            double sum = 0, single = 0, complex = 0;
            for (std::size_t k = 0; k < terms; ++k) {
                sum += S[k] * T[k * 3 + i];
                single +=
                    static_cast<double>(S_single[k]) * static_cast<double>(T_single[k * 3 + i]);
            }
            for (std::size_t k = 0; k < complex_terms; ++k) {
                complex += (S_complex[k] * T_complex[k * 3 + i]).real();
            }
            const double v = kavro_oracle::band_limited(signal, ts, axis.times[i] - delay - tau);
            EXPECT_NEAR(sum, v, 1e-12);
            EXPECT_NEAR(complex, v, 1e-12);
            EXPECT_NEAR(single, v, 2e-5);
        }
    }
}

TEST(ExactSampledWaveform, SlopeIsTheSlopeOfTheWaveform) {
    constexpr double h = 1e-12;
    for (const std::vector<double>& signal : signals()) {
        const Waveform f = exact(signal);
        for (double t = 0.1 * f->w; t < f->w; t += 0.13 * f->w) {
            EXPECT_NEAR(f->derivative(t), (f->at(t + h) - f->at(t - h)) / (2 * h), 1e-6 / ts);
        }
    }
}

TEST(ExactSampledWaveform, DropsWeakTermsOnly) {
    // A strong tone, a weak one and a mean, at bins 3, 10 and 0 of 32.
    std::vector<double> signal(32), strong(32);
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
    const std::vector<double> signal = noise(9, 10);
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
