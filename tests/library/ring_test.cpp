// The flat ring.
#include <cmath>
#include <complex>
#include <cstddef>
#include <memory>
#include <utility>

#include "curved_support.h"

namespace kavro_test {
namespace {

using kavro::Transducer;

constexpr double mm = 1e-3, rho = 1000, c = 1500;

ApertureScene ring_scene(double inner_radius, double radius, int ndiv = 16) {
    ApertureScene scene;
    scene.apertures = {aperture_of(inner_radius, radius, 0)};
    scene.points = points_around(scene.apertures[0]);
    scene.points.push_back({inner_radius, 0, 2 * mm});
    scene.points.push_back({0.3 * inner_radius, 0, 0});
    scene.ndiv = ndiv;
    set_axis(scene, 5e-8, -1e-6, 500);
    return scene;
}

std::shared_ptr<kavro::HanningPulse> hanning() {
    return std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0);
}

TEST(Ring, AgreesWithTheOracle) {
    ApertureScene scene = ring_scene(4 * mm, 10 * mm);
    scene.apertures[0].time_delay = 1.3e-7;
    scene.apertures[0].amplitude = -1.5;
    scene.apertures[0].weight = {0.6, -0.8};
    scene.apertures[0].euler = {0.1, -0.2, 0.3};
    for (const double attenuation : {0.0, 1.0}) {
        scene.attenuation = attenuation;
        for (const ApertureWave& wave : wave_methods(false)) {
            expect_wave_like_oracle(ApertureStage(scene), wave, 2e-12);
        }
    }
    const std::vector<Waveform> waveforms = {hanning(), std::make_shared<Ramp>(2e-6),
                                             sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0)};
    for (const Waveform& waveform : waveforms) {
        const ApertureStage stage(scene, waveform);
        for (const ApertureMethod& method : decomposed_methods(false)) {
            if (waveform->has_complex_decomposition() ||
                method.operation != &Transducer::fnm_fdtsd) {
                expect_decomposed_like_oracle(stage, method, method.single ? 1e-6 : 1e-13);
            }
        }
    }
    const ApertureStage stage(scene, hanning());
    Field expected = silence(stage.scene());
    add_fnm_transient(stage.scene(), kavro_oracle::Behind::skipped, expected);
    EXPECT_LE(largest_difference_of(stage.transient(&Transducer::fnm_transient), expected),
              1e-13 * largest_of(expected));
    expected = silence(stage.scene());
    add_impulse_response(stage.scene(), expected);
    EXPECT_LE(largest_difference_of(stage.transient(&Transducer::impulse_response), expected),
              1e-12 * c);
    Records records(stage.scene());
    const auto element = element_of(stage.scene().apertures[0]);
    records.connect(*element);
    EXPECT_EQ(element->impulse_begin_and_end_times(), kavro::status_success);
    EXPECT_EQ(std::pair(element->get_impulse_begin_time(), element->get_impulse_end_time()),
              begin_and_end_times(stage.scene()));
}

TEST(Ring, WithoutAHoleIsTheDiscToTheLastBit) {
    ApertureScene scene = ring_scene(0, 10 * mm);
    std::erase_if(scene.points, [](const Triple& p) { return p.z < 0; });  // the disc looks at z
    scene.attenuation = 1;
    kavro::RingTransducer ring(0, 10 * mm);
    kavro::CircularTransducer disc(10 * mm);
    expect_same_to_the_last_bit(ring, disc, scene,
                                {&Transducer::fnm_cw, &Transducer::impulse_response,
                                 &Transducer::fnm_tsd, &Transducer::fnm_tsd_low_precision,
                                 &Transducer::fnm_fdtsd, &Transducer::impulse_begin_and_end_times});
}

TEST(Ring, OnTheAxisBothRimsArrive) {
    // p = rho c [v(t - R_in/c) - v(t - R_out/c)] with any number of abscissas.
    ApertureScene scene = ring_scene(4 * mm, 10 * mm, 4);
    scene.points = {{0, 0, 7 * mm}};
    const kavro::HanningPulse pulse(1e6, 3e-6, 0);
    const double inner = std::hypot(4 * mm, 7 * mm) / c, outer = std::hypot(10 * mm, 7 * mm) / c;
    const ApertureStage stage(scene, hanning());
    for (const Operation operation : {&Transducer::fnm_tsd, &Transducer::fnm_transient}) {
        const Field field = stage.transient(operation);
        for (std::size_t j = 0; j < field.size(); ++j) {
            const double t = scene.times[j];
            ASSERT_NEAR(field[j], rho * c * (pulse.at(t - inner) - pulse.at(t - outer)), 1e-5);
        }
    }
}

TEST(Ring, ExactContinuousWaveWithLossesIsTheRayleighIntegral) {
    ApertureScene scene = ring_scene(4 * mm, 10 * mm, 200);
    scene.points = {{0, 0, 20 * mm}, {1 * mm, 2 * mm, 15 * mm}, {9 * mm, 0, 30 * mm}};
    scene.attenuation = 3;
    const ApertureStage stage(scene);
    const ComplexField expected = stage.wave(&Transducer::rayleigh_cw, true);
    const double largest = largest_of(expected);
    EXPECT_LE(largest_difference_of(stage.wave(&Transducer::fnm_cw, true), expected),
              1e-3 * largest);
    EXPECT_GE(largest_difference_of(stage.wave(&Transducer::fnm_cw), expected), 5e-3 * largest);
}

}  // namespace
}  // namespace kavro_test
