// The nonlinear marches against closed forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

#include "kzk_support.h"

namespace kavro_test {
namespace {

using KzkPhysics = Kzk;
using std::numbers::pi;

// Rayleigh distance of the beams here, m.
double rayleigh(const KzkBeam& beam) {
    return pi * beam.f0 * beam.radius * beam.radius / beam.speed;
}

double pressure_scale(const KzkBeam& beam) {
    return beam.density * beam.speed * beam.amplitude;
}

// Gives the beam water's nonlinearity and the amplitude whose plane wave has come to X shock
// distances at z.
void set_shock(KzkBeam& beam, double X, double z) {
    beam.beta = 3.5;
    beam.amplitude = X * beam.speed * beam.speed / (beam.beta * 2.0 * pi * beam.f0 * z);
}

// No nonlinearity, no losses; planes on the axis from 0.25 Rayleigh distances on.
KzkBeam linear_beam() {
    KzkBeam beam;
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
    beam.step = 0.01f;
    return beam;
}

std::shared_ptr<kavro::ExcitationFunction> sine(const KzkBeam& beam, double rise) {
    return std::make_shared<RisingSine>(beam.f0, beam.duration, rise);
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
        const double z = z_of(beam, iz);
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
        ASSERT_EQ(stage.transient(), kavro::status_success);
        const auto f = [&](double tau) {
            const double t = tau / (2.0 * pi * beam.f0);
            return t > 0.0 && t < beam.duration ? stage.waveform->at(t) : 0.0;
        };
        for (int k = 0; k < beam.nz; ++k) {
            const double sigma = z_of(beam, k) / rayleigh(beam);
            const double b = 1.0 + 0.5 / 40.0;
            const double off = Retarded(stage, k).distance([&](double tau) {
                return pressure_scale(beam) * (f(tau) - f(tau - b * b / sigma));
            });
            EXPECT_LT(off, sigma < 0.3 ? 0.1 : 0.03) << "sigma " << sigma << ", scheme " << scheme;
        }
    }
}

// Before the shock p = f(tau + X p), where X = 1 is the shock distance of the unit sine.
TEST_F(KzkPhysics, PlaneWaveSteepensAsTheImplicitSolutionSays) {
    KzkBeam beam = plane_wave();
    set_shock(beam, 0.8, beam.zmax);
    beam.step = 0.0203f;
    KzkStage stage(beam, sine(beam, 0.0));
    ASSERT_EQ(stage.transient(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        const double X = 0.8 * z_of(beam, k) / beam.zmax;
        const double off = Retarded(stage, k).distance([&](double tau) {
            double p = 0.0;
            for (int i = 0; i < 400; ++i) {
                const double moved = tau + X * p;
                p = 0.7 * p + 0.3 * (moved > 0.0 ? std::sin(moved) : 0.0);
            }
            return p * pressure_scale(beam);
        });
        EXPECT_LT(off, 0.01) << "X " << X;
    }
}

// Beyond the shock a sine decays as a sawtooth does, its harmonics as 2/(n (1 + X)), as long as a
// step is short enough that the front's samples do not overtake each other.
TEST_F(KzkPhysics, PlaneWaveDecaysAsASawtoothBeyondTheShock) {
    KzkBeam beam = plane_wave();
    beam.deltat = 1.0 / 50e6;
    beam.duration = 16e-6;
    // Whole numbers of samples: straight lines between samples take 2 % of n = 3.
    beam.zmin = 0.105;
    beam.zmax = 0.315;
    beam.tmax = beam.tmin + 13e-6 + beam.zmax / beam.speed;
    set_shock(beam, 3.0, 0.1);
    const double allowed = pi / 50.0;  // in units of X, for a jump of 2
    beam.step = static_cast<float>(0.7 * allowed / (30.0 * rayleigh(beam)));
    KzkStage stage(beam, sine(beam, 2.0));
    ASSERT_EQ(stage.transient(), kavro::status_success);
    EXPECT_EQ(stage.printed.find("dSigma"), std::string::npos);
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
    KzkBeam beam = plane_wave();
    beam.attenuation = 1.1;
    for (const float scheme : {1.0f, 0.0f}) {
        beam.scheme = scheme;
        KzkStage stage(beam, sine(beam, 2.0));
        ASSERT_EQ(stage.transient(), kavro::status_success);
        for (int k = 0; k < beam.nz; ++k) {
            const double expected = std::exp(-beam.attenuation * 100 / 8.686 * z_of(beam, k));
            const double pulsed = harmonic_amplitude(Retarded(stage, k).p, 2000, 1600, 4, 1);
            EXPECT_NEAR(pulsed / pressure_scale(beam) / expected, 1.0, 0.01);
        }
    }
}

// Amplitude of a plane sine's harmonic at X shock distances: Fubini's series before the shock, and
// Blackstock's solution through and behind it, (2/n pi) (p_shock + (1/X) integral of
// cos n(y - X sin y) dy from y_shock to pi).
double plane_harmonic(double X, int n) {
    double low = X > 1.0 ? 1e-9 : 0.0;
    double high = X > 1.0 ? pi : 0.0;
    for (int i = 0; i < 60 && X > 1.0; ++i) {
        const double y = 0.5 * (low + high);
        (X * std::sin(y) > y ? low : high) = y;
    }
    constexpr int parts = 4000;
    double integral = 0.0;
    for (int i = 0; i < parts; ++i) {
        const double y = low + (pi - low) * (i + 0.5) / parts;
        integral += std::cos(n * (y - X * std::sin(y))) * (pi - low) / parts;
    }
    return 2.0 / (n * pi) * (std::sin(low) + integral / X);
}

// A disc so wide that nothing comes from its rim: the lossless plane wave, through the shock, with
// 30 harmonics; with losses alone, exp(-A).
TEST_F(KzkPhysics, HarmonicPlaneWave) {
    KzkBeam beam = plane_wave();
    beam.radius = 1.0;
    beam.points_per_radius = 8.0f;
    beam.nz = 6;
    beam.zmin = 0.05;
    beam.zmax = 0.30;
    beam.harmonics = 30;
    beam.growth = 0.1f;
    set_shock(beam, 3.0, beam.zmax);
    KzkStage stage(beam);
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        const double X = 3.0 * z_of(beam, k) / beam.zmax;
        for (int n = 1; n <= 5; ++n) {
            const double found = stage.magnitude(0, k, n) / pressure_scale(beam);
            EXPECT_NEAR(found / plane_harmonic(X, n), 1.0, n <= 2 ? 0.005 : 0.012)
                << "X " << X << ", n " << n;
        }
    }
    stage.medium._beta = 0.0;
    stage.medium._dBcmMHz = 0.2;
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        const double expected = std::exp(-0.2 * 100 / 8.686 * z_of(beam, k));
        EXPECT_NEAR(stage.magnitude(0, k, 1) / pressure_scale(beam) / expected, 1.0, 1e-6);
        EXPECT_EQ(stage.magnitude(0, k, 2), 0.0);
    }
}

}  // namespace
}  // namespace kavro_test
