// Both nonlinear marches and their tridiagonal solvers against the literal ones and dense solves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "kzk_support.h"
#include "support.h"

namespace kavro_test {
namespace {

// One thread, so that a busy machine does not make the many short steps wait for each other.
class KzkOracle : public testing::Test {
protected:
    void SetUp() override { kavro::set_thread_count(1); }
    void TearDown() override { kavro::set_thread_count(0); }
};

using kavro_oracle::KzkBeam;
using kavro_oracle::KzkHarmonics;
using kavro_oracle::KzkTransientField;

double largest(const std::vector<double>& values) {
    double most = 0.0;
    for (const double value : values) {
        most = std::max(most, std::abs(value));
    }
    return most;
}

// Of the first values of two fields, in units of the second one's largest.
double distance(const std::vector<double>& field, const std::vector<double>& reference) {
    double most = 0.0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const double difference = std::abs(field[i] - reference[i]);
        most = std::isnan(difference) ? std::numeric_limits<double>::infinity()
                                      : std::max(most, difference);
    }
    return most / largest(reference);
}

std::string described(const KzkBeam& beam) {
    return std::string(beam.shell ? "shell" : "disc") + ", amplitude " +
           std::to_string(beam.amplitude) + ", extent " + std::to_string(beam.extent) + " x " +
           std::to_string(beam.points_per_radius) + ", scheme " + std::to_string(beam.scheme) +
           ", diffraction " + std::to_string(beam.diffraction);
}

// Beams that differ in everything that the march branches on.
std::vector<KzkBeam> beams(bool shell) {
    std::vector<KzkBeam> all(7, small_beam(shell));
    all[1].scheme = 0.0f;
    all[2].beta = 0.0;
    all[2].xmin = -8e-3;
    all[3].attenuation = 0.0;
    all[3].amplitude = -0.4;
    all[3].scheme = 2.0f;
    all[4].extent = 1.9f;  // the source reaches the outermost column
    all[4].xmin = 1e-3;
    all[5].amplitude = 40.0;  // shortened steps
    all[5].attenuation = 0.3;
    all[6].points_per_radius = 1.0f;
    all[6].tmin = 0.7e-6;  // the pulse begins before the axis
    all[6].xmax = 40e-3;   // beyond the radial grid
    return all;
}

// Without diffraction the product's arithmetic is the literal one.
TEST_F(KzkOracle, TransientMarchWithoutDiffractionIsTheLiteralOneToTheBit) {
    for (const bool shell : {false, true}) {
        for (KzkBeam beam : beams(shell)) {
            beam.diffraction = 0.0f;
            KzkStage stage(beam);
            const Recorder quiet;
            ASSERT_EQ(stage.transient(), kavro::status_success);
            const KzkTransientField literal =
                kavro_oracle::kzk_transient<float>(stage.for_oracle());
            ASSERT_GT(largest(literal.pressure), 1e5) << described(beam);
            for (std::size_t i = 0; i < literal.pressure.size(); ++i) {
                // Numbers below single precision's normal range count as zero.
                ASSERT_NEAR(stage.pressure[i], literal.pressure[i], 1e-25) << described(beam);
            }
        }
    }
}

// With it, the tridiagonal solves along the radius are ordered otherwise: rounding. The bound is
// the literal march's own distance from the march in double precision.
TEST_F(KzkOracle, TransientMarchIsTheLiteralOneToRounding) {
    for (const bool shell : {false, true}) {
        for (const KzkBeam& beam : beams(shell)) {
            KzkStage stage(beam);
            const Recorder quiet;
            ASSERT_EQ(stage.transient(), kavro::status_success);
            const KzkBeam complete = stage.for_oracle();
            const KzkTransientField literal = kavro_oracle::kzk_transient<float>(complete);
            const KzkTransientField wide = kavro_oracle::kzk_transient<double>(complete);
            ASSERT_EQ(literal.rows, wide.rows);
            const double own = distance(literal.pressure, wide.pressure);
            EXPECT_LT(distance(stage.pressure, wide.pressure), 1.5 * own + 2e-6)
                << described(beam) << ", literal " << own;
            EXPECT_LT(distance(stage.pressure, literal.pressure), own + 5e-6) << described(beam);
            for (std::size_t i = literal.pressure.size(); i < stage.pressure.size(); ++i) {
                ASSERT_EQ(stage.pressure[i], KzkStage::unwritten) << "beyond the retarded time";
            }
        }
    }
}

TEST_F(KzkOracle, HarmonicMarchIsTheLiteralOneToTheBit) {
    for (const bool shell : {false, true}) {
        for (KzkBeam beam : beams(shell)) {
            beam.amplitude = std::min(beam.amplitude, 2.0);
            for (const int phase : {0, 1}) {
                beam.source_phase = phase;
                beam.harmonics = phase == 0 ? 6 : 19;
                KzkStage stage(beam);
                ASSERT_EQ(stage.harmonics(), kavro::status_success);
                const KzkHarmonics literal = kavro_oracle::kzk_cw(stage.for_oracle());
                ASSERT_GT(largest(literal.real), 1e5);
                EXPECT_EQ(stage.real, literal.real) << described(beam) << ", phase " << phase;
                EXPECT_EQ(stage.imag, literal.imag) << described(beam) << ", phase " << phase;
            }
        }
    }
}

// Solves a dense system by elimination with pivoting.
template <class Value>
std::vector<Value> dense_solution(std::vector<std::vector<Value>> A, std::vector<Value> r) {
    const std::size_t n = r.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k; i < n; ++i) {
            pivot = std::abs(A[i][k]) > std::abs(A[pivot][k]) ? i : pivot;
        }
        std::swap(A[k], A[pivot]);
        std::swap(r[k], r[pivot]);
        for (std::size_t i = 0; i < n; ++i) {
            const Value share = i == k ? Value(0) : A[i][k] / A[k][k];
            for (std::size_t j = 0; j < n; ++j) {
                A[i][j] -= share * A[k][j];
            }
            r[i] -= share * r[k];
        }
    }
    for (std::size_t k = 0; k < n; ++k) {
        r[k] /= A[k][k];
    }
    return r;
}

TEST_F(KzkOracle, TridiagonalSolversSolveTheDenseSystem) {
    constexpr int n = 9;
    const std::vector<double> random = noise(20 * n, 5);
    std::vector<float> a(n + 2), b(n + 2), c(n + 2), r(n + 2), x(n + 2), bet(n + 2), gam(n + 2);
    std::vector<std::vector<double>> A(n, std::vector<double>(n));
    std::vector<double> rhs(n);
    for (std::size_t i = 0; i < n; ++i) {
        a[i + 2] = static_cast<float>(random[i]);
        b[i + 2] = static_cast<float>(3.0 + random[n + i]);
        c[i + 2] = static_cast<float>(random[2 * n + i]);
        r[i + 2] = static_cast<float>(random[3 * n + i]);
        rhs[i] = static_cast<double>(r[i + 2]);
        A[i][i] = static_cast<double>(b[i + 2]);
        if (i > 0) {
            A[i][i - 1] = static_cast<double>(a[i + 2]);
        }
        if (i + 1 < n) {
            A[i][i + 1] = static_cast<double>(c[i + 2]);
        }
    }
    // Neither of these is to be read; bounds are truncated.
    a[2] = c[n + 1] = std::numeric_limits<float>::quiet_NaN();
    const std::vector<double> solution = dense_solution(A, rhs);
    kavro::CircularTransducer disc;
    kavro::SphericalTransducer shell;
    for (const bool of_shell : {false, true}) {
        std::fill(x.begin(), x.end(), 7.0f);
        if (of_shell) {
            shell.Tridiag(2.9f, n + 1, a.data(), b.data(), c.data(), r.data(), x.data(), bet.data(),
                          gam.data());
        } else {
            disc.Tridiag(2.0f, n + 1.5f, a.data(), b.data(), c.data(), r.data(), x.data(),
                         bet.data(), gam.data());
        }
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_NEAR(static_cast<double>(x[i + 2]), solution[i], 1e-6);
        }
        EXPECT_EQ(x[1], 7.0f);
    }

    // Blocks of any kind, not only complex numbers.
    std::vector<double> matrix(12 * n);
    std::vector<double> right(2 * n), out(2 * n), w1(12 * n), w2(12 * n);
    std::vector<std::vector<double>> B(2 * n, std::vector<double>(2 * n));
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < 12; ++i) {
            matrix[12 * j + i] = random[12 * j + i] + (i == 4 || i == 7 ? 4.0 : 0.0);
            const std::size_t column = 2 * (j + i / 4) + i % 2;  // two to the right
            if (column >= 2 && column < 2 * n + 2) {
                B[2 * j + i % 4 / 2][column - 2] = matrix[12 * j + i];
            }
        }
        right[2 * j] = random[12 * n + 2 * j];
        right[2 * j + 1] = random[12 * n + 2 * j + 1];
    }
    const std::vector<double> blocks = dense_solution(B, right);
    for (const bool of_shell : {false, true}) {
        std::vector<double> in_place = right;
        if (of_shell) {
            shell.TRIDIA(matrix.data(), n - 1, in_place.data(), out.data(), w1.data(), w2.data());
        } else {
            disc.TRIDIA(matrix.data(), n - 1, in_place.data(), out.data(), w1.data(), w2.data());
        }
        EXPECT_LT(distance(in_place, blocks), 1e-13);
        EXPECT_EQ(out, in_place);
    }
}

// A march's own kernel and the routine that the classes offer form the same sums.
TEST_F(KzkOracle, NonlinearSourceIsTheProductOfTheWaveforms) {
    constexpr int N = 5;
    constexpr int last = 2;
    const std::vector<double> field = noise(2 * N * (last + 1), 11);
    std::vector<double> source(field.size());
    kavro::CircularTransducer disc;
    disc.NONLIN(0.5, std::vector<double>(field).data(), last, N, source.data(), 3.0, 1);
    const auto harmonic = [&](const std::vector<double>& of, int n, int j, double phase) {
        const auto re = static_cast<std::size_t>((n - 1) * (last + 1) + j);
        return of[re] * std::cos(n * phase) + of[re + of.size() / 2] * std::sin(n * phase);
    };
    for (int j = 0; j <= last; ++j) {
        // Kn/g p dp/dtau, projected on each harmonic.
        constexpr int samples = 64;
        for (int n = 1; n <= N; ++n) {
            double re = 0.0;
            double im = 0.0;
            for (int i = 0; i < samples; ++i) {
                const double phase = 2.0 * M_PI * i / samples;
                double p = 0.0;
                for (int m = 1; m <= N; ++m) {
                    p += harmonic(field, m, j, phase);
                }
                // d(p^2/2)/dtau by parts.
                re += p * p / 2.0 * n * std::sin(n * phase) * 2.0 / samples;
                im -= p * p / 2.0 * n * std::cos(n * phase) * 2.0 / samples;
            }
            const auto at = static_cast<std::size_t>((n - 1) * (last + 1) + j);
            EXPECT_NEAR(source[at], 3.0 / 1.5 * re, 1e-12);
            EXPECT_NEAR(source[at + source.size() / 2], 3.0 / 1.5 * im, 1e-12);
        }
    }
}

}  // namespace
}  // namespace kavro_test
