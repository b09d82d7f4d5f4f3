// What an exact element's marches have that the reference lacks: phases, planes and times.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <vector>

#include "kzk_support.h"

namespace kavro_test {
namespace {

using KzkExact = Kzk;
using std::numbers::pi;
using Complex = std::complex<double>;

struct Case {
    const char* what;
    bool shell;
    int source_phase;

    // Several planes and radii, as far off the axis as the parabolic approximation goes.
    KzkBeam beam() const {
        KzkBeam beam = small_beam(shell);
        beam.exact = true;
        beam.radius = shell ? 10e-3 : 5e-3;
        beam.roc = 60e-3;
        beam.beta = 0.0;
        beam.attenuation = 0.0;
        beam.nx = 4;
        beam.xmax = shell ? 3e-3 : 6e-3;
        beam.nz = 4;
        beam.zmin = 40e-3;
        beam.zmax = 70e-3;
        beam.extent = shell ? 4.0f : source_phase > 0 ? 6.0f : 9.0f;
        beam.points_per_radius = 60.0f;
        beam.growth = 0.001f;
        beam.harmonics = 1;
        beam.source_phase = source_phase;
        return beam;
    }
};
constexpr Case cases[] = {{"shell", true, 0}, {"disc", false, 0}, {"disc, source phase", false, 1}};

TEST_F(KzkExact, HarmonicFieldIsThatOfTheOtherMethods) {
    for (const Case& of : cases) {
        KzkStage stage(of.beam());
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        KzkStage other(stage.beam);
        other.rule.allocate_memory(200);
        other.rule.gauss_quadrature();
        std::ranges::fill(other.real, 0.0);
        std::ranges::fill(other.imag, 0.0);
        ASSERT_EQ(other.element->fnm_cw(), kavro::status_success);
        for (int k = 0; k < stage.beam.nz; ++k) {
            for (int m = 0; m < stage.beam.nx; ++m) {
                const Complex found = stage.phasor(m, k, 1);
                const Complex wanted = other.phasor(m, k, 1);
                const double share =
                    std::abs(wanted) > 0.3 * other.magnitude(0, k, 1) ? 0.087 : 0.3;
                EXPECT_LT(std::abs(found - wanted), share * std::abs(wanted))
                    << of.what << ", plane " << k << ", x " << m << ", ratio " << found / wanted;
            }
        }
    }
}

// The waveform of the transient march, once it has come to rest, has the harmonic march's
// harmonics, phases included: it is driven by a sine, a quarter of a period behind the cosine.
TEST_F(KzkExact, HarmonicsAreThoseOfTheTransientMarch) {
    for (const Case& of : cases) {
        KzkBeam beam = of.beam();
        beam.beta = 3.5;
        beam.attenuation = 0.2;
        beam.amplitude = of.shell ? 0.1 : 0.4;
        beam.nz = 2;
        beam.nx = 3;
        beam.harmonics = 8;
        beam.xmax *= 0.5;
        beam.points_per_radius = 25.0f;
        beam.step = 0.02f;
        beam.duration = 9e-6;
        beam.deltat = 1.0 / 100e6;
        beam.tmin = -2e-6;
        beam.tmax = 8e-6 + beam.zmax / beam.speed;
        KzkStage stage(beam, std::make_shared<RisingSine>(beam.f0, beam.duration, 3.0));
        stage.both();
        for (int k = 0; k < beam.nz; ++k) {
            const double arrival = stage.grid.zcoords[k] / beam.speed;
            const double kz = 2.0 * pi * beam.f0 * arrival;
            const auto first = static_cast<std::size_t>((arrival + 5e-6 - beam.tmin) / beam.deltat);
            for (int m = 0; m < beam.nx; ++m) {
                const std::vector<double> series = stage.series(m, k);
                for (int n = 1; n <= 3; ++n) {
                    Complex sum = 0.0;
                    for (std::size_t i = first; i < first + 200; ++i) {
                        const double tau = 2.0 * pi * beam.f0 * (stage.times.times[i] - arrival);
                        sum += series[i] * std::polar(1.0 / 100.0, n * tau);
                    }
                    const Complex wanted =
                        std::conj(stage.phasor(m, k, n)) * std::polar(1.0, n * (pi / 2.0 - kz));
                    EXPECT_LT(std::abs(sum - wanted),
                              (n < 3 ? 0.1 : 0.15) * stage.magnitude(0, k, n))
                        << of.what << ", plane " << k << ", x " << m << ", n " << n << ", phase "
                        << std::arg(sum / wanted) << ", ratio " << std::abs(sum / wanted);
                }
            }
        }
    }
}

// The axis's begin decides what is looked at and nothing else, even where it is later than the
// pulse or, for a shell, than the rim; nor do its samples have to meet the arrival.
TEST_F(KzkExact, TransientFieldDoesNotDependOnTheBeginOfTheTimeAxis) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        beam.exact = true;
        beam.radius = shell ? 10e-3 : 5e-3;
        beam.nz = 2;
        beam.zmin = 15e-3;
        beam.zmax = 45e-3;
        beam.points_per_radius = 15.0f;
        beam.amplitude = 0.05;
        beam.deltat = 0.025e-6;
        beam.tmin = -5e-6;
        beam.tmax = 45e-6;
        KzkStage early(beam);
        ASSERT_EQ(early.transient(), kavro::status_success);
        // Half a sample apart, the same wave between the samples.
        for (const double samples : {0.5, 280.0, 1000.0}) {
            beam.tmin = -5e-6 + samples * beam.deltat;
            KzkStage late(beam);
            ASSERT_EQ(late.transient(), kavro::status_success);
            const double share = samples - std::floor(samples);
            const auto skipped = static_cast<std::size_t>(samples);
            for (int k = 0; k < beam.nz; ++k) {
                for (int m = 0; m < (share > 0.0 ? 1 : beam.nx); ++m) {
                    const std::vector<double> all = early.series(m, k);
                    const std::vector<double> rest = late.series(m, k);
                    const double peak = peak_of(all);
                    ASSERT_GT(peak, 2e3);
                    for (std::size_t i = 0; i + 1 < rest.size(); ++i) {
                        const double expected =
                            (1.0 - share) * all[i + skipped] +
                            share * all[std::min(i + skipped + 1, all.size() - 1)];
                        ASSERT_NEAR(rest[i], expected, (share > 0.0 ? 0.01 : 1e-4) * peak)
                            << "shell " << shell << ", plane " << k << ", point " << m
                            << ", skipped " << samples << ", sample " << i;
                    }
                }
            }
        }
    }
}

// Where an extent is no multiple of its spacing, the last plane and the last point are before the
// limit, where the grid has them.
TEST_F(KzkExact, PlanesAndPointsAreTheGrids) {
    for (const bool shell : {false, true}) {
        KzkBeam beam = small_beam(shell);
        beam.exact = true;
        beam.nx = 3;
        beam.nz = 2;
        beam.zmin = 20e-3;
        beam.zmax = 40e-3;
        KzkStage even(beam);
        KzkStage odd(beam);
        odd.grid.RegularCoordinateGrid(0, 11e-3, 0, 0, 20e-3, 59e-3, 4e-3, 0, 20e-3);
        ASSERT_EQ(odd.points(), even.points());
        even.both();
        odd.both();
        EXPECT_EQ(odd.everything(), even.everything());
    }
}

}  // namespace
}  // namespace kavro_test
