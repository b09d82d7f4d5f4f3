// The nonlinear marches against closed forms, and against each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "kzk_support.h"
#include "support.h"

namespace kavro_test {
namespace {

// One thread, so that a busy machine does not make the many short steps wait for each other.
class KzkPhysics : public testing::Test {
protected:
    void SetUp() override { kavro::set_thread_count(1); }
    void TearDown() override { kavro::set_thread_count(0); }
};

using kavro_oracle::KzkBeam;
using std::numbers::pi;

// Rayleigh distance of the beams here, m.
double rayleigh(const KzkBeam& beam) {
    return pi * beam.f0 * beam.radius * beam.radius / beam.speed;
}

double pressure_scale(const KzkBeam& beam) {
    return beam.density * beam.speed * beam.amplitude;
}

// No nonlinearity, no losses; planes on the axis from 0.25 Rayleigh distances on.
KzkBeam linear_beam(bool shell = false) {
    KzkBeam beam = small_beam(shell);
    beam.beta = 0.0;
    beam.attenuation = 0.0;
    beam.nx = 1;
    beam.xmax = 0.0;
    beam.nz = 8;
    beam.zmin = 0.25 * rayleigh(beam);
    beam.zmax = 2.0 * rayleigh(beam);
    beam.harmonics = 1;
    beam.exact = true;
    return beam;
}

double z_of(const KzkBeam& beam, int k) {
    return beam.zmin + k * (beam.zmax - beam.zmin) / (beam.nz - 1);
}

// The retarded waveform of a plane from its first sample on, and the retarded time of a sample.
struct Retarded {
    std::vector<double> p;
    double first, step;  // rad

    Retarded(const KzkStage& stage, int iz) {
        const KzkBeam& beam = stage.beam;
        const double z = beam.nz > 1 ? z_of(beam, iz) : beam.zmin;
        const std::vector<double> all = stage.series(0, iz);
        const auto start = static_cast<std::ptrdiff_t>(std::lround(z / beam.speed / beam.deltat));
        p.assign(all.begin() + start, all.end());
        p.resize(static_cast<std::size_t>(stage.times.ntaus));
        const double omega0 = 2.0 * pi * beam.f0;
        first = omega0 * (stage.times.times[static_cast<std::size_t>(start)] - z / beam.speed);
        step = omega0 * beam.deltat;
    }

    // Largest distance from the closed form, of the form's largest magnitude.
    double distance(const std::function<double(double)>& form) const {
        double most = 0.0;
        double peak = 0.0;
        for (std::size_t i = 1; i + 1 < p.size(); ++i) {
            const double expected = form(first + static_cast<double>(i) * step);
            most = std::max(most, std::abs(p[i] - expected));
            peak = std::max(peak, std::abs(expected));
        }
        return most / peak;
    }
};

// On the axis, in Rayleigh distances, a disc's harmonic field is 2 sin(1/(2 sigma)). With the
// source phase, the march follows the same field in coordinates that grow with the range.
TEST_F(KzkPhysics, HarmonicDiscOnTheAxis) {
    for (const int phase : {0, 1}) {
        KzkBeam beam = linear_beam();
        beam.nz = 6;
        beam.zmax = 1.5 * rayleigh(beam);
        beam.extent = phase == 0 ? 10.0f : 6.0f;
        beam.points_per_radius = 60.0f;
        beam.growth = 0.0005f;
        beam.source_phase = phase;
        KzkStage stage(beam);
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        for (int k = 0; k < beam.nz; ++k) {
            const double sigma = z_of(beam, k) / rayleigh(beam);
            const double expected = 2.0 * std::abs(std::sin(0.5 / sigma)) * pressure_scale(beam);
            EXPECT_NEAR(stage.magnitude(0, k, 1) / expected, 1.0, 0.04)
                << "sigma " << sigma << ", phase " << phase;
        }
    }
}

// p = f(tau) - f(tau - b^2/sigma): direct and edge wave of the parabolic approximation, with the
// radius b of the face on the grid: half a column more than the disc's.
TEST_F(KzkPhysics, TransientDiscOnTheAxis) {
    for (const float scheme : {1.0f, 0.0f}) {
        KzkBeam beam = linear_beam();
        beam.scheme = scheme;
        beam.extent = 6.0f;
        beam.points_per_radius = 40.0f;
        beam.step = 0.004f;
        beam.deltat = 1.0 / 40e6;
        beam.tmin = -1e-6;
        beam.tmax = 8e-6 + beam.zmax / beam.speed;
        KzkStage stage(beam);
        const Recorder quiet;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        for (int k = 0; k < beam.nz; ++k) {
            const double sigma = z_of(beam, k) / rayleigh(beam);
            const auto f = [&](double tau) {
                const double t = tau / (2.0 * pi * beam.f0);
                return t > 0.0 && t < beam.duration ? stage.waveform->at(t) : 0.0;
            };
            const double b = 1.0 + 0.5 / 40.0;
            const auto form = [&](double tau) {
                return pressure_scale(beam) *
                       (f(tau) - f(tau - b * b / (z_of(beam, k) / rayleigh(beam))));
            };
            const double off = Retarded(stage, k).distance(form);
            EXPECT_LT(off, sigma < 0.3 ? 0.1 : 0.03) << "sigma " << sigma << ", scheme " << scheme;
        }
    }
}

// A disc whose source is a Gaussian of 1/e radius 1.
class GaussianDisc : public kavro::CircularTransducer {
public:
    using CircularTransducer::CircularTransducer;
    void INIT(int extent, double* field, int last, int harmonics, int phase) override {
        CircularTransducer::INIT(extent, field, last, harmonics, phase);
        for (int j = 0; j <= last; ++j) {
            const double r = static_cast<double>(j) * extent / (last + 1);
            field[j] = std::exp(-r * r);
        }
    }
};

// Of all directions and the phase: exp(-r^2/(1 + i sigma))/(1 + i sigma).
TEST_F(KzkPhysics, GaussianBeam) {
    KzkBeam beam = linear_beam();
    beam.extent = 8.0f;
    beam.points_per_radius = 30.0f;
    beam.growth = 0.001f;
    beam.nx = 7;
    beam.xmax = 2.0 * beam.radius;
    KzkStage stage(beam);
    stage.use(std::make_unique<GaussianDisc>(beam.radius));
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        for (int m = 0; m < beam.nx; ++m) {
            const double r = m * 10 * 8.0 / 241.0;  // of the column that is recorded
            const std::complex<double> s(1.0, z_of(beam, k) / rayleigh(beam));
            const std::complex<double> expected = std::exp(-r * r / s) / s * pressure_scale(beam);
            const auto i = static_cast<std::size_t>(m + beam.nx * k);
            const std::complex<double> field(stage.real[i], stage.imag[i]);
            EXPECT_LT(std::abs(field - expected), 2e-3 * pressure_scale(beam))
                << "r " << r << ", plane " << k;
        }
    }
}

// A plane wave: no diffraction, and a sine.
KzkBeam plane_wave() {
    KzkBeam beam = linear_beam();
    beam.diffraction = 0.0f;
    beam.extent = 2.0f;
    beam.points_per_radius = 2.0f;
    beam.duration = 12e-6;
    beam.deltat = 1.0 / 400e6;
    beam.tmin = -1e-6;
    beam.nz = 3;
    beam.zmin = 15e-3;
    beam.zmax = 45e-3;
    beam.tmax = beam.tmin + 10e-6 + beam.zmax / beam.speed;
    return beam;
}

std::shared_ptr<kavro::ExcitationFunction> sine(const KzkBeam& beam, double rise) {
    return std::make_shared<RisingSine>(beam.f0, beam.duration, rise);
}

// Before the shock p = f(tau + X p), where X = 1 is the shock distance of the unit sine.
TEST_F(KzkPhysics, PlaneWaveSteepensAsTheImplicitSolutionSays) {
    KzkBeam beam = plane_wave();
    beam.beta = 3.5;
    beam.amplitude = 0.8 * beam.speed * beam.speed /
                     (beam.beta * 2.0 * pi * beam.f0 * beam.zmax);  // X = 0.8 at the last plane
    beam.step = 0.0203f;
    KzkStage stage(beam, sine(beam, 0.0));
    const Recorder quiet;
    ASSERT_EQ(stage.transient(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        const double X = 0.8 * z_of(beam, k) / beam.zmax;
        const auto form = [&](double tau) {
            double p = 0.0;
            for (int i = 0; i < 400; ++i) {
                const double moved = tau + X * p;
                p = 0.7 * p + 0.3 * (moved > 0.0 ? std::sin(moved) : 0.0);
            }
            return p * pressure_scale(beam);
        };
        const double off = Retarded(stage, k).distance(form);
        EXPECT_LT(off, 0.01) << "X " << X;
    }
}

// Beyond the shock a sine decays as a sawtooth does, its harmonics as 2/(n (1 + X)), as long as a
// step is short enough that the front's samples do not overtake each other.
TEST_F(KzkPhysics, PlaneWaveDecaysAsASawtoothBeyondTheShock) {
    KzkBeam beam = plane_wave();
    beam.deltat = 1.0 / 50e6;
    beam.duration = 16e-6;
    beam.zmin =
        0.105;  // whole numbers of samples: straight lines between samples take 2 % of n = 3
    beam.zmax = 0.315;
    beam.tmax = beam.tmin + 13e-6 + beam.zmax / beam.speed;
    beam.beta = 3.5;
    beam.amplitude = 3.0 * beam.speed * beam.speed / (beam.beta * 2.0 * pi * beam.f0 * 0.1);
    const double allowed = pi / 50.0;  // in units of X, for a jump of 2
    beam.step = static_cast<float>(0.7 * allowed / (30.0 * rayleigh(beam)));
    KzkStage stage(beam, sine(beam, 2.0));
    const Recorder recorder;
    ASSERT_EQ(stage.transient(), kavro::status_success);
    EXPECT_EQ(recorder.printed.find("dSigma"), std::string::npos);
    for (int k = 0; k < beam.nz; ++k) {
        const double X = 30.0 * z_of(beam, k);
        for (int n = 1; n <= 3; ++n) {
            const double found = harmonic_amplitude(Retarded(stage, k).p, 350, 100, 2, n);
            EXPECT_NEAR(found / pressure_scale(beam) * n * (1.0 + X) / 2.0, 1.0,
                        n == 1 ? 0.03 : 0.06)
                << "X " << X << ", n " << n;
        }
    }
}

TEST_F(KzkPhysics, PlaneWaveIsAbsorbedAtTheCentreFrequencyAsGiven) {
    for (const float scheme : {1.0f, 0.0f}) {
        KzkBeam beam = plane_wave();
        beam.scheme = scheme;
        beam.attenuation = 1.1;
        beam.step = 0.01f;
        KzkStage stage(beam, sine(beam, 2.0));
        const Recorder quiet;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        for (int k = 0; k < beam.nz; ++k) {
            const double z = (z_of(beam, k) / rayleigh(beam)) * rayleigh(beam);
            const double expected = std::exp(-beam.attenuation * 100 / 8.686 * z);
            const double amplitude = harmonic_amplitude(Retarded(stage, k).p, 2000, 1600, 4, 1);
            EXPECT_NEAR(amplitude / pressure_scale(beam) / expected, 1.0, 0.01);
        }
    }
}

// A disc that does not diffract, for the harmonic march of a plane wave.
class WideDisc : public kavro::CircularTransducer {
public:
    using CircularTransducer::CircularTransducer;
    double COEFF(double next, double range, double* alpha, double* delta, int harmonics, double A,
                 int phase) override {
        const double g = CircularTransducer::COEFF(next, range, alpha, delta, harmonics, A, phase);
        for (int n = 0; n < harmonics; ++n) {
            delta[n] *= 1e-6;
        }
        return g;
    }
};

// Fubini's series in the lossless plane wave; 2 J_n(n X)/(n X). With losses alone, exp(-n^2 A).
TEST_F(KzkPhysics, HarmonicPlaneWave) {
    KzkBeam beam = plane_wave();
    beam.nz = 61;
    beam.zmin = 0.0;
    beam.harmonics = 10;
    beam.growth = 0.001f;
    beam.beta = 3.5;
    beam.amplitude = 0.6 * beam.speed * beam.speed / (beam.beta * 2.0 * pi * beam.f0 * beam.zmax);
    KzkStage stage(beam);
    stage.use(std::make_unique<WideDisc>(beam.radius));
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    for (const int k : {10, 20, 40, 60}) {
        const double X = 0.6 * z_of(beam, k) / beam.zmax;
        for (int n = 1; n <= (X < 0.3 ? 2 : 4); ++n) {
            const double expected = 2.0 * std::cyl_bessel_j(n, n * X) / (n * X);
            const double found = stage.magnitude(0, k, n) / pressure_scale(beam);
            EXPECT_NEAR(found / expected, 1.0, n <= 2 ? 0.01 : 0.03) << "X " << X << ", n " << n;
        }
    }

    beam.attenuation = 0.8;
    beam.beta = 0.0;
    KzkStage lossy(beam);
    lossy.use(std::make_unique<WideDisc>(beam.radius));
    ASSERT_EQ(lossy.harmonics(), kavro::status_success);
    for (const int k : {20, 60}) {
        const double expected = std::exp(-beam.attenuation * 100 / 8.686 * z_of(beam, k));
        EXPECT_NEAR(lossy.magnitude(0, k, 1) / pressure_scale(beam) / expected, 1.0, 0.005);
        EXPECT_EQ(lossy.magnitude(0, k, 2), 0.0);
    }
}

// The transient march's second harmonic starts with the same slope, X/2 of the fundamental.
TEST_F(KzkPhysics, TransientSecondHarmonicOfAPlaneWave) {
    KzkBeam beam = plane_wave();
    beam.beta = 3.5;
    beam.step = 0.01f;
    const double at_the_end = 0.3;
    beam.amplitude =
        at_the_end * beam.speed * beam.speed / (beam.beta * 2.0 * pi * beam.f0 * beam.zmax);
    KzkStage stage(beam, sine(beam, 2.0));
    const Recorder quiet;
    ASSERT_EQ(stage.transient(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        const double X = at_the_end * z_of(beam, k) / beam.zmax;
        const double expected = std::cyl_bessel_j(2, 2.0 * X) / X;
        const double second = harmonic_amplitude(Retarded(stage, k).p, 2000, 1600, 4, 2);
        EXPECT_NEAR(second / pressure_scale(beam) / expected, 1.0, 0.01) << "X " << X;
    }
}

// In its focus a shell multiplies the pressure by its gain z_R/d, and differentiates the waveform.
TEST_F(KzkPhysics, ShellHasItsFocalGain) {
    KzkBeam beam = linear_beam(true);
    beam.roc = rayleigh(beam) / 4.0;
    const double gain = 4.0;
    beam.nz = 1;
    beam.zmin = beam.zmax = beam.roc;
    beam.extent = 6.0f;
    beam.points_per_radius = 60.0f;
    beam.growth = 0.0005f;
    KzkStage harmonic(beam);
    ASSERT_EQ(harmonic.harmonics(), kavro::status_success);
    EXPECT_NEAR(harmonic.magnitude(0, 0, 1) / (gain * pressure_scale(beam)), 1.0, 0.03);

    beam.extent = 4.0f;
    beam.step = 0.004f;
    beam.deltat = 1.0 / 60e6;
    beam.tmin = -2e-6;
    beam.tmax = 6e-6 + beam.zmax / beam.speed;
    KzkStage stage(beam);
    const Recorder quiet;
    ASSERT_EQ(stage.transient(), kavro::status_success);
    double rise = 0.0;
    double largest = 0.0;
    for (int i = 0; i < 3000; ++i) {
        rise = std::max(rise, stage.waveform->derivative(i * 1e-9) / (2.0 * pi * beam.f0));
    }
    for (const double p : stage.series(0, 0)) {
        largest = std::max(largest, p);
    }
    EXPECT_NEAR(largest / (rise * gain * pressure_scale(beam)), 1.0, 0.03);
}

// Both marches of one nonlinear, absorbing beam, once the transient one has come to rest.
TEST_F(KzkPhysics, BothMarchesHaveTheSameHarmonics) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = linear_beam(shell);
        beam.beta = 3.5;
        beam.attenuation = 0.2;
        beam.roc = rayleigh(beam) / 3.0;
        const double scale = shell ? beam.roc : rayleigh(beam);
        beam.amplitude = 0.4 * beam.speed * beam.speed / (beam.beta * 2.0 * pi * beam.f0 * scale);
        beam.zmin = 0.8 * scale;
        beam.zmax = 1.2 * scale;
        beam.nz = 3;
        beam.nx = 3;
        beam.xmax = beam.radius;
        beam.extent = 5.0f;
        beam.points_per_radius = 50.0f;
        beam.growth = 0.0005f;
        beam.step = 0.003f;
        beam.harmonics = 8;
        beam.source_phase = 1;  // a grid that grows with the disc's beam reflects less at its edge
        beam.duration = 20e-6;
        beam.deltat = 1.0 / 120e6;
        beam.tmin = -2e-6;
        beam.tmax = 10e-6 + beam.zmax / beam.speed;
        KzkStage stage(beam, sine(beam, 3.0));
        const Recorder quiet;
        ASSERT_EQ(stage.transient(), kavro::status_success);
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        for (int k = 0; k < beam.nz; ++k) {
            const auto start =
                static_cast<std::size_t>(std::lround(z_of(beam, k) / beam.speed / beam.deltat));
            for (int m = 0; m < beam.nx; ++m) {
                const std::vector<double> series = stage.series(m, k);
                for (int n = 1; n <= 3; ++n) {
                    const double one = harmonic_amplitude(series, start + 1080, 240, 2, n);
                    EXPECT_NEAR(one, stage.magnitude(m, k, n),
                                (n < 3 ? 0.05 : 0.1) * stage.magnitude(0, k, n))
                        << "shell " << shell << ", plane " << k << ", point " << m << ", n " << n;
                }
            }
        }
    }
}

}  // namespace
}  // namespace kavro_test
