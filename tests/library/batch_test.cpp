// The batch operations of the waveforms against their scalar siblings.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::VectorTarget;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

class Batch : public testing::TestWithParam<VectorTarget> {
protected:
    void SetUp() override {
        if (GetParam() > kavro::best_vector_target()) {
            GTEST_SKIP() << "this processor has no such vectors";
        }
        kavro::set_vector_target(GetParam());
    }
    void TearDown() override { kavro::set_vector_target(std::nullopt); }
};

std::string name_of(const testing::TestParamInfo<VectorTarget>& target) {
    const char* const names[] = {"scalar", "sse4", "avx2", "avx512"};
    return names[static_cast<std::size_t>(target.param)];
}

INSTANTIATE_TEST_SUITE_P(Targets, Batch,
                         testing::Values(VectorTarget::scalar, VectorTarget::sse4,
                                         VectorTarget::avx2, VectorTarget::avx512),
                         name_of);

std::vector<Waveform> waveforms() {
    const std::vector<double> zero_mean = {3, -1, 4, -1, -5, 2, -6, 4};
    std::vector<Waveform> all;
    for (const bool exact : {false, true}) {
        const std::size_t begin = all.size();
        all.push_back(std::make_shared<kavro::ToneBurst>(1.3e6, 2.3e-6, 0));
        all.push_back(std::make_shared<kavro::ToneBurst>(1.3e6, infinity, 0));
        all.push_back(std::make_shared<kavro::HanningPulse>(1.3e6, 2e-6, 0));
        all.push_back(std::make_shared<kavro::TCubedPulse>(1.3e6, 2e-6, 4e5));
        all.push_back(sampled(noise(24, 61), 1e-7, 2.35e-6, 0.0));
        all.push_back(sampled(noise(33, 62), 1e-7, 3e-6, 0.0));
        all.push_back(sampled(noise(300, 63), 1e-8, 3e-6, -3.0));
        all.push_back(sampled(zero_mean, 1e-7, 8e-7, 0.0));
        all.push_back(sampled({}, 1e-7, 8e-7, 0.0));
        for (std::size_t i = begin; i < all.size(); ++i) {
            all[i]->set_exact(exact);
        }
    }
    return all;
}

// Delays and instants of every size, in a count that fills no vector.
std::vector<double> instants(double w) {
    std::vector<double> values = {0.0,
                                  -0.0,
                                  w,
                                  std::nextafter(w, 1),
                                  std::nextafter(w, 0),
                                  -1e-9,
                                  1e-3,
                                  17.0,
                                  -1e4,
                                  not_a_number,
                                  infinity,
                                  -infinity,
                                  5e-324};
    const std::vector<double> random = noise(150, 64);
    for (const double value : random) {
        values.push_back(2e-6 * (value + 0.8));
    }
    values.push_back(1e9);
    return values;
}

void expect_near(double actual, double expected, double tolerance) {
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual)
                                     : std::fabs(actual - expected) <= tolerance)
        << actual << " instead of " << expected;
}

TEST_P(Batch, ValuesAreThoseOfTheWaveform) {
    for (const Waveform& f : waveforms()) {
        const std::vector<double> t = instants(f->w);
        std::vector<double> values(t.size() + 1, 777.0);
        f->at_batch(values.data(), t.data(), static_cast<int>(t.size()));
        for (std::size_t m = 0; m < t.size(); ++m) {
            if (std::isfinite(t[m]) && std::fabs(t[m]) < 1e6) {
                const double v = f->at(t[m]);
                expect_near(values[m], v, 1e-12);
                EXPECT_EQ(values[m] == 0.0, v == 0.0) << t[m];
            }
        }
        EXPECT_EQ(values.back(), 777.0);
    }
}

template <class Real>
void expect_scalar_factors(const kavro::ExcitationFunction& f, double tolerance) {
    std::vector<Real> tau;
    for (const double value : instants(f.w)) {
        if (std::isfinite(value) && std::fabs(value) < 1e-4) {
            tau.push_back(static_cast<Real>(value));
        }
    }
    const auto terms = static_cast<std::size_t>(f.number_of_tsd_terms());
    std::vector<Real> factors(terms * tau.size() + 1, Real(777)), expected(terms);
    f.spatial_tsd_batch(factors.data(), tau.data(), static_cast<int>(tau.size()));
    for (std::size_t m = 0; m < tau.size(); ++m) {
        f.spatial_tsd(expected.data(), tau[m]);
        for (std::size_t k = 0; k < terms; ++k) {
            expect_near(static_cast<double>(factors[k * tau.size() + m]),
                        static_cast<double>(expected[k]), tolerance);
        }
    }
    EXPECT_EQ(factors.back(), Real(777));
}

TEST_P(Batch, SpatialFactorsAreTheScalarOnes) {
    for (const Waveform& f : waveforms()) {
        // All but the t-cubed pulse's grow no larger than two; its come from the scalar operation.
        const double scale = f->B > 0 ? 0.0 : 1.0;
        expect_scalar_factors<double>(*f, 2e-12 * scale);
        expect_scalar_factors<float>(*f, 2.4e-7 * scale);
    }
}

// Neighbouring frequencies come by rotation: a thousand of them keep their digits.
TEST_P(Batch, ManyFrequenciesKeepTheirDigits) {
    const Waveform f = sampled(noise(2000, 66), 1e-7, 2e-4, 0.0);
    const std::vector<double> tau = {0.0, 1.3e-7, 7.7e-7, 1.9e-6};
    const auto terms = static_cast<std::size_t>(f->number_of_tsd_terms());
    std::vector<double> factors(terms * tau.size()), expected(terms);
    f->spatial_tsd_batch(factors.data(), tau.data(), 4);
    for (std::size_t m = 0; m < tau.size(); ++m) {
        f->spatial_tsd(expected.data(), tau[m]);
        for (std::size_t k = 0; k < terms; ++k) {
            ASSERT_NEAR(factors[k * 4 + m], expected[k], 4e-14) << k;
        }
    }
}

TEST_P(Batch, ComplexFactorsAreCosineAndSine) {
    for (const Waveform& f : waveforms()) {
        if (!f->has_complex_decomposition()) {
            continue;
        }
        const std::vector<double> tau = {0.0, 3.3e-7, 1.1e-6, 2.7e-6, 1.9e-5};
        const auto terms = static_cast<std::size_t>(f->n_terms);
        std::vector<double> factors(2 * terms * tau.size());
        std::vector<std::complex<double>> expected(terms);
        f->complex_spatial_tsd_batch(factors.data(), tau.data(), 5);
        for (std::size_t m = 0; m < tau.size(); ++m) {
            f->spatial_tsd(expected.data(), tau[m]);
            for (std::size_t k = 0; k < terms; ++k) {
                expect_near(factors[2 * k * 5 + m], expected[k].real(), 2e-12);
                expect_near(factors[(2 * k + 1) * 5 + m], -expected[k].imag(), 2e-12);
            }
        }
    }
}

TEST_P(Batch, SineAndCosineAreRightForEveryArgument) {
    std::vector<double> x = {0.0, -0.0, 1e-300, 1e5, 39000.5, 1e15, -1e22, 1e300, 0.785398163};
    for (const double value : noise(1000, 65)) {
        x.push_back(10 * value);
        x.push_back(1e5 * value);
        x.push_back(1e9 * value);
    }
    for (int i = -50; i < 50; ++i) {
        x.push_back(i * 0.78539816339744831);
    }
    std::vector<double> sine(x.size()), cosine(x.size());
    kavro::sine_and_cosine(x.data(), static_cast<int>(x.size()), sine.data(), cosine.data());
    for (std::size_t m = 0; m < x.size(); ++m) {
        const double s = std::sin(x[m]), c = std::cos(x[m]);
        EXPECT_NEAR(sine[m], s, 3e-16 * std::fabs(s) + 1e-18) << x[m];
        EXPECT_NEAR(cosine[m], c, 3e-16 * std::fabs(c) + 1e-18) << x[m];
    }
    const double odd[] = {not_a_number, infinity, -infinity};
    kavro::sine_and_cosine(odd, 3, sine.data(), cosine.data());
    for (std::size_t m = 0; m < 3; ++m) {
        EXPECT_TRUE(std::isnan(sine[m]) && std::isnan(cosine[m]));
    }
}

}  // namespace
}  // namespace kavro_test
