// Both nonlinear marches against the literal ones, and the routines that disc and shell offer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "kzk_support.h"

namespace kavro_test {
namespace {

using KzkOracle = Kzk;
using kavro_oracle::KzkHarmonics;
using kavro_oracle::KzkTransientField;

// Of the first values of two fields, in units of the second one's largest.
double distance(const std::vector<double>& field, const std::vector<double>& reference) {
    double most = 0.0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const double difference = std::abs(field[i] - reference[i]);
        most = std::isnan(difference) ? std::numeric_limits<double>::infinity()
                                      : std::max(most, difference);
    }
    return most / peak_of(reference);
}

// Beams that differ in everything that the march branches on.
std::vector<KzkBeam> beams() {
    std::vector<KzkBeam> all;
    for (const bool shell : {false, true}) {
        std::vector<KzkBeam> some(10, small_beam(shell));
        some[1].scheme = 0.0f;
        some[2].beta = 0.0;
        some[2].xmin = -8e-3;
        some[3].attenuation = 0.0;
        some[3].amplitude = -0.4;
        some[3].scheme = 2.0f;
        some[4].extent = 1.9f;  // the source reaches the outermost column
        some[4].xmin = 1e-3;
        some[4].xmax = 5e-3;
        some[5].amplitude = 40.0;  // shortened steps
        some[5].attenuation = 0.3;
        some[6].points_per_radius = 1.0f;
        some[6].tmin = 0.7e-6;      // the pulse begins before the axis
        some[6].xmax = 40e-3;       // beyond the radial grid
        some[7].amplitude = 200.0;  // a shock after some steps
        some[7].zmin = 1e-4;        // some planes for each step
        some[7].zmax = 3e-3;
        some[8].duration = 2.75e-6;
        some[9].duration = 9e-6;  // beyond the axis's end
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

// Pulses of another duration than the others end with a jump.
KzkStage stage_of(const KzkBeam& beam) {
    return KzkStage(beam, beam.duration == small_beam().duration
                              ? nullptr
                              : std::make_shared<RisingSine>(beam.f0, beam.duration, 1.0));
}

// Without diffraction the product's arithmetic is the literal one.
TEST_F(KzkOracle, TransientMarchWithoutDiffractionIsTheLiteralOneToTheBit) {
    for (int i = 0; KzkBeam beam : beams()) {
        SCOPED_TRACE(i++);
        beam.diffraction = 0.0f;
        KzkStage stage = stage_of(beam);
        ASSERT_EQ(stage.transient(), kavro::status_success);
        const KzkTransientField literal = kavro_oracle::kzk_transient<float>(stage.for_oracle());
        ASSERT_GT(peak_of(literal.pressure), 1e5);
        for (std::size_t n = 0; n < literal.pressure.size(); ++n) {
            // Numbers below single precision's normal range count as zero there.
            ASSERT_NEAR(stage.pressure[n], literal.pressure[n], 1e-23);
        }
    }
}

// With it, the tridiagonal solves along the radius are ordered otherwise: rounding. The bound is
// the literal march's own distance from the march in double precision.
TEST_F(KzkOracle, TransientMarchIsTheLiteralOneToRounding) {
    for (int i = 0; const KzkBeam& beam : beams()) {
        SCOPED_TRACE(i++);
        KzkStage stage = stage_of(beam);
        ASSERT_EQ(stage.transient(), kavro::status_success);
        const KzkBeam complete = stage.for_oracle();
        const KzkTransientField literal = kavro_oracle::kzk_transient<float>(complete);
        const KzkTransientField wide = kavro_oracle::kzk_transient<double>(complete);
        ASSERT_EQ(literal.rows, wide.rows);
        const double own = distance(literal.pressure, wide.pressure);
        EXPECT_LT(distance(stage.pressure, wide.pressure), 1.5 * own + 2e-6) << "literal " << own;
        EXPECT_LT(distance(stage.pressure, literal.pressure), own + 5e-6);
        for (std::size_t n = literal.pressure.size(); n < stage.pressure.size(); ++n) {
            ASSERT_EQ(stage.pressure[n], KzkStage::unwritten) << "beyond the retarded time";
        }
    }
}

TEST_F(KzkOracle, HarmonicMarchIsTheLiteralOneToTheBit) {
    for (int i = 0; KzkBeam beam : beams()) {
        SCOPED_TRACE(i++);
        beam.amplitude = std::min(beam.amplitude, 2.0);
        for (const int phase : {0, 1}) {
            beam.source_phase = phase;
            beam.harmonics = phase == 0 ? 6 : 19;
            KzkStage stage(beam);
            ASSERT_EQ(stage.harmonics(), kavro::status_success);
            const KzkHarmonics literal = kavro_oracle::kzk_cw(stage.for_oracle());
            ASSERT_GT(peak_of(literal.real), 1e5);
            EXPECT_EQ(stage.real, literal.real) << "phase " << phase;
            EXPECT_EQ(stage.imag, literal.imag) << "phase " << phase;
        }
    }
}

// The solution is put into the equations. Blocks are of any kind, not only complex numbers.
template <class Shape>
void solves_tridiagonal_systems(Shape shape, float first, float last) {
    constexpr std::size_t n = 9;
    const std::vector<double> random = noise(14 * n, 5);
    std::vector<float> a(n + 2), b(n + 2), c(n + 2), r(n + 2), x(n + 2, 7.0f), bet(n + 2),
        gam(n + 2);
    for (std::size_t j = 2; j < n + 2; ++j) {
        a[j] = static_cast<float>(random[j]);
        b[j] = static_cast<float>(3.0 + random[n + j]);
        c[j] = static_cast<float>(random[2 * n + j]);
        r[j] = static_cast<float>(random[3 * n + j]);
    }
    a[2] = c[n + 1] = std::numeric_limits<float>::quiet_NaN();  // not to be read
    shape.Tridiag(first, last, a.data(), b.data(), c.data(), r.data(), x.data(), bet.data(),
                  gam.data());
    EXPECT_EQ(x[1], 7.0f);
    for (std::size_t j = 2; j < n + 2; ++j) {
        const float below = j > 2 ? a[j] * x[j - 1] : 0.0f;
        const float above = j < n + 1 ? c[j] * x[j + 1] : 0.0f;
        EXPECT_NEAR(below + b[j] * x[j] + above, r[j], 1e-6f) << j;
    }

    std::vector<double> matrix(random.begin(), random.begin() + 12 * n);
    for (std::size_t j = 0; j < n; ++j) {
        matrix[12 * j + 4] += 4.0;
        matrix[12 * j + 7] += 4.0;
    }
    const std::vector<double> right(random.end() - 2 * n, random.end());
    std::vector<double> in_place = right, out(2 * n), w1(12 * n), w2(12 * n);
    shape.TRIDIA(matrix.data(), n - 1, in_place.data(), out.data(), w1.data(), w2.data());
    EXPECT_EQ(out, in_place);
    for (std::size_t i = 0; i < 2 * n; ++i) {
        double sum = 0.0;
        for (std::size_t block = 0; block < 3; ++block) {
            for (std::size_t k = 0; k < 2; ++k) {
                const std::size_t column = 2 * (i / 2 + block) + k;  // two to the right
                const double entry = matrix[12 * (i / 2) + 4 * block + 2 * (i % 2) + k];
                sum += column >= 2 && column < 2 * n + 2 ? entry * out[column - 2] : 0.0;
            }
        }
        EXPECT_NEAR(sum, right[i], 1e-13) << i;
    }
}

TEST_F(KzkOracle, TridiagonalSolversSolveTheirSystems) {
    solves_tridiagonal_systems(kavro::CircularTransducer(), 2.0f, 10.5f);  // bounds are truncated
    solves_tridiagonal_systems(kavro::SphericalTransducer(), 2.9f, 10.0f);
}

// Kn/g p dp/dtau, projected on each harmonic.
TEST_F(KzkOracle, NonlinearSourceIsTheProductOfTheWaveforms) {
    constexpr int N = 5;
    constexpr int last = 2;
    std::vector<double> field = noise(2 * N * (last + 1), 11);
    const auto at = [](int n, int j) { return static_cast<std::size_t>((n - 1) * (last + 1) + j); };
    const std::size_t half = field.size() / 2;
    std::vector<double> of_disc(field.size()), of_shell(field.size());
    kavro::CircularTransducer().NONLIN(0.5, field.data(), last, N, of_disc.data(), 3.0, 1);
    kavro::SphericalTransducer().NONLIN(0.5, field.data(), last, N, of_shell.data(), 3.0);
    for (int j = 0; j <= last; ++j) {
        for (int n = 1; n <= N; ++n) {
            constexpr int samples = 64;
            std::complex<double> sum;  // d(p^2/2)/dtau by parts
            for (int i = 0; i < samples; ++i) {
                const double phase = 2.0 * std::numbers::pi * i / samples;
                double p = 0.0;
                for (int m = 1; m <= N; ++m) {
                    p += field[at(m, j)] * std::cos(m * phase) +
                         field[half + at(m, j)] * std::sin(m * phase);
                }
                sum += p * p / samples * n *
                       std::complex<double>(std::sin(n * phase), -std::cos(n * phase));
            }
            EXPECT_NEAR(of_disc[at(n, j)], 3.0 / 1.5 * sum.real(), 1e-12);
            EXPECT_NEAR(of_disc[half + at(n, j)], 3.0 / 1.5 * sum.imag(), 1e-12);
            EXPECT_NEAR(of_shell[at(n, j)], 3.0 * sum.real(), 1e-12);
            EXPECT_NEAR(of_shell[half + at(n, j)], 3.0 * sum.imag(), 1e-12);
        }
    }
}

// Half the source, and twice the absorption.
template <class Shape, class Curvature>
class Replaced : public Shape {
public:
    using Shape::Shape;
    void INIT(int extent, double* field, int last, int harmonics, Curvature of) override {
        Shape::INIT(extent, field, last, harmonics, of);
        std::for_each_n(field, 2 * (last + 1) * harmonics, [](double& p) { p *= 0.5; });
    }
    double COEFF(double next, double range, double* alpha, double* delta, int harmonics, double A,
                 Curvature of) override {
        return Shape::COEFF(next, range, alpha, delta, harmonics, 2.0 * A, of);
    }
};

TEST_F(KzkOracle, HarmonicMarchCallsWhatADerivedClassReplaces) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        beam.beta = 0.0;
        KzkStage replaced(beam);
        if (shell) {
            replaced.use(std::make_unique<Replaced<kavro::SphericalTransducer, double>>(beam.radius,
                                                                                        beam.roc));
        } else {
            replaced.use(std::make_unique<Replaced<kavro::CircularTransducer, int>>(beam.radius));
        }
        beam.attenuation *= 2.0;
        KzkStage plain(beam);
        ASSERT_EQ(plain.harmonics(), kavro::status_success);
        ASSERT_EQ(replaced.harmonics(), kavro::status_success);
        for (std::size_t i = 0; i < plain.real.size(); ++i) {
            ASSERT_EQ(replaced.real[i], 0.5 * plain.real[i]) << "shell " << shell << ", " << i;
            ASSERT_EQ(replaced.imag[i], 0.5 * plain.imag[i]) << "shell " << shell << ", " << i;
        }
    }
}

}  // namespace
}  // namespace kavro_test
