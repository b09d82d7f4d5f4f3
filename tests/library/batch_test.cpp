// The batch operations of the waveforms against their scalar siblings.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <limits>

#include "stage.h"

namespace kavro_test {
namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// Of each kind, and of the sampled ones with few, many, odd, no mean and no terms.
void for_every_waveform(const std::function<void(const kavro::ExcitationFunction&)>& test) {
    for_every_vector_target([&] {
        for (const bool exact : {false, true}) {
            for (const Waveform& f : std::initializer_list<Waveform>{
                     std::make_shared<kavro::ToneBurst>(1.3e6, 2.3e-6, 0),
                     std::make_shared<kavro::ToneBurst>(1.3e6, infinity, 0),
                     std::make_shared<kavro::HanningPulse>(1.3e6, 2e-6, 0),
                     std::make_shared<kavro::TCubedPulse>(1.3e6, 2e-6, 4e5),
                     sampled(noise(24, 61), 1e-7, 2.35e-6, 0.0),
                     sampled(noise(33, 62), 1e-7, 3e-6, 0.0),
                     sampled(noise(300, 63), 1e-8, 3e-6, -3.0),
                     sampled({3, -1, 4, -1, -5, 2, -6, 4}, 1e-7, 8e-7, 0.0),
                     sampled({}, 1e-7, 8e-7, 0.0)}) {
                f->set_exact(exact);
                test(*f);
            }
        }
    });
}

// Delays and instants of every size, in a count that fills no vector.
Values instants(double w) {
    Values values = {0.0,  -0.0, w,   std::nextafter(w, 1), std::nextafter(w, 0), -1e-9,
                     1e-3, 17.0, -1e4};
    for (const double value : noise(150, 64)) {
        values.push_back(2e-6 * (value + 0.8));
    }
    values.insert(values.end(), {not_a_number, infinity, -infinity, 5e-324, 1e9});
    return values;
}

void expect_near(double actual, double expected, double tolerance) {
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual)
                                     : std::fabs(actual - expected) <= tolerance)
        << actual << " instead of " << expected;
}

class Batch : public Variants {};

TEST_F(Batch, ValuesAreThoseOfTheWaveform) {
    for_every_waveform([](const kavro::ExcitationFunction& f) {
        const Values t = instants(f.w);
        Values values(t.size() + 1, 777.0);
        f.at_batch(values.data(), t.data(), static_cast<int>(t.size()));
        for (std::size_t m = 0; m < t.size(); ++m) {
            if (std::fabs(t[m]) < 1e6) {
                const double v = f.at(t[m]);
                expect_near(values[m], v, 1e-12);
                EXPECT_EQ(values[m] == 0.0, v == 0.0) << t[m];
            }
        }
        EXPECT_EQ(values.back(), 777.0);
    });
}

template <class Real>
void expect_scalar_factors(const kavro::ExcitationFunction& f, double tolerance,
                           double latest = 1e-4) {
    std::vector<Real> tau;
    for (const double value : instants(f.w)) {
        if (std::fabs(value) < latest) {
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

TEST_F(Batch, SpatialFactorsAreTheScalarOnes) {
    for_every_waveform([](const kavro::ExcitationFunction& f) {
        // All but the t-cubed pulse's grow no larger than two; its come from the scalar operation.
        const double scale = f.B > 0 ? 0.0 : 1.0;
        expect_scalar_factors<double>(f, 2e-12 * scale);
        expect_scalar_factors<float>(f, 2.4e-7 * scale);
        // As cosine and sine; an analytic pulse has none.
        const Values tau = {0.0, 3.3e-7, 1.1e-6, 2.7e-6, 1.9e-5};
        const auto terms = static_cast<std::size_t>(f.n_terms);
        Values factors(2 * terms * 5);
        std::vector<std::complex<double>> expected(terms);
        f.complex_spatial_tsd_batch(factors.data(), tau.data(), 5);
        for (std::size_t m = 0; m < 5; ++m) {
            f.spatial_tsd(expected.data(), tau[m]);
            for (std::size_t k = 0; k < terms; ++k) {
                expect_near(factors[2 * k * 5 + m], expected[k].real(), 2e-12);
                expect_near(factors[(2 * k + 1) * 5 + m], -expected[k].imag(), 2e-12);
            }
        }
    });
    // Neighbouring frequencies come by rotation: a thousand of them keep their digits.
    const Waveform many = sampled(noise(2000, 66), 1e-7, 2e-4, 0.0);
    for_every_vector_target([&] { expect_scalar_factors<double>(*many, 4e-14, 2e-6); });
}

TEST_F(Batch, SineAndCosineAreRightForEveryArgument) {
    Values x = {0.0,   -0.0,  1e-300,      1e5,          39000.5,  1e15,
                -1e22, 1e300, 0.785398163, not_a_number, infinity, -infinity};
    for (const double value : noise(1000, 65)) {
        x.insert(x.end(), {10 * value, 1e5 * value, 1e9 * value});
    }
    for (int i = -50; i < 50; ++i) {
        x.push_back(i * 0.78539816339744831);
    }
    for_every_vector_target([&] {
        Values sine(x.size()), cosine(x.size());
        kavro::sine_and_cosine(x.data(), static_cast<int>(x.size()), sine.data(), cosine.data());
        for (std::size_t m = 0; m < x.size(); ++m) {
            const double s = std::sin(x[m]), c = std::cos(x[m]);
            expect_near(sine[m], s, 3e-16 * std::fabs(s) + 1e-18);
            expect_near(cosine[m], c, 3e-16 * std::fabs(c) + 1e-18);
        }
    });
}

}  // namespace
}  // namespace kavro_test
