// Bowls, whole and with a hole.
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "core/simd/vector_target.h"
#include "core/threads.h"

#include "curved_support.h"

namespace kavro_test {
namespace {

using kavro::Transducer;
using kavro_oracle::Behind;

constexpr double mm = 1e-3;

std::vector<Aperture> bowls() {
    return {aperture_of(0, 10 * mm, 30 * mm),      aperture_of(0, 3 * mm, 40 * mm),
            aperture_of(0, 9.95 * mm, 10 * mm),    aperture_of(0, 10 * mm, 10 * mm),
            aperture_of(4 * mm, 10 * mm, 30 * mm), aperture_of(4 * mm, 9.99 * mm, 10 * mm)};
}

ApertureScene scene_of(const Aperture& aperture, int ndiv = 16) {
    ApertureScene scene;
    scene.apertures = {aperture};
    scene.points = points_around(aperture);
    scene.ndiv = ndiv;
    return scene;
}

std::shared_ptr<kavro::HanningPulse> hanning() {
    return std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0);
}

bool is_shell(const Aperture& aperture) {
    return aperture.inner_radius == 0.0;
}

// A time axis that begins and ends inside the pulse at some of the points.
ApertureScene transient_scene_of(const Aperture& aperture) {
    ApertureScene scene = scene_of(aperture);
    set_axis(scene, 5e-8, 5e-6, 600);
    scene.apertures[0].time_delay = 1.3e-7;
    scene.apertures[0].amplitude = -1.5;
    scene.apertures[0].euler = {0.1, -0.2, 0.3};
    return scene;
}

TEST(Bowl, ContinuousWavesAgreeWithTheOracle) {
    for (const Aperture& aperture : bowls()) {
        ApertureScene scene = scene_of(aperture);
        scene.apertures[0].weight = {0.6, -0.8};
        for (const double attenuation : {0.0, 1.0}) {
            scene.attenuation = attenuation;
            const ApertureStage stage(scene);
            for (const ApertureWave& wave : wave_methods(is_shell(aperture))) {
                expect_wave_like_oracle(stage, wave, wave.single ? 2e-5 : 2e-12);
            }
        }
    }
}

TEST(Bowl, DecompositionsAgreeWithTheOracle) {
    const std::vector<Waveform> waveforms = {hanning(), std::make_shared<Ramp>(2e-6),
                                             sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0)};
    for (const Aperture& aperture : bowls()) {
        for (const Waveform& waveform : waveforms) {
            ApertureScene scene = transient_scene_of(aperture);
            if (waveform == waveforms[1]) {
                // A list of instants, whose windows are compared one by one.
                set_list(scene, {scene.times.rbegin() + 7, scene.times.rbegin() + 400});
            }
            const ApertureStage stage(scene, waveform);
            for (const ApertureMethod& method : decomposed_methods(is_shell(aperture))) {
                const bool fits = waveform->has_complex_decomposition() ||
                                  method.operation != &Transducer::fnm_fdtsd;
                if (fits) {
                    expect_decomposed_like_oracle(stage, method, method.single ? 1e-6 : 1e-13);
                }
            }
        }
    }
}

TEST(Bowl, DirectTransientAgreesWithTheOracle) {
    for (const Aperture& aperture : bowls()) {
        const ApertureStage stage(transient_scene_of(aperture), hanning());
        Field expected = silence(stage.scene());
        WindowLog log;
        add_fnm_tsd(stage.scene(), kavro_oracle::Terms::real, Behind::computed, expected, &log);
        const std::size_t npoints = stage.scene().points.size();
        const Yardstick terms = yardstick_of(expected, log, npoints);
        for (const bool behind : {false, true}) {
            if (behind && !is_shell(aperture)) {
                continue;
            }
            std::fill(expected.begin(), expected.end(), 0.0);
            add_fnm_transient(stage.scene(), behind ? Behind::computed : Behind::skipped, expected);
            const Field field = stage.transient(behind ? &Transducer::fnm_transient_behind_source
                                                       : &Transducer::fnm_transient);
            for (std::size_t i = 0; i < field.size(); ++i) {
                ASSERT_LE(std::fabs(field[i] - expected[i]), 1e-12 * terms.terms_scale[i % npoints])
                    << "point " << i % npoints;
                ASSERT_EQ(field[i] == 0.0, expected[i] == 0.0);
            }
        }
    }
}

TEST(Bowl, ArrivalsAndImpulseResponsesAgreeWithTheOracle) {
    for (const Aperture& aperture : bowls()) {
        const ApertureStage stage(transient_scene_of(aperture), hanning());
        Field expected = silence(stage.scene());
        add_impulse_response(stage.scene(), expected);
        const Field response = stage.transient(&Transducer::impulse_response);
        EXPECT_LE(largest_difference_of(response, expected), 1e-12 * largest_of(expected));
        Records records(stage.scene());
        const auto element = element_of(stage.scene().apertures[0]);
        records.connect(*element);
        EXPECT_EQ(element->impulse_begin_and_end_times(), kavro::status_success);
        const auto [begin, end] = begin_and_end_times(stage.scene());
        EXPECT_EQ(element->get_impulse_begin_time(), begin);
        EXPECT_EQ(element->get_impulse_end_time(), end);
    }
}

// ---- closed forms

constexpr double rho = 1000, c = 1500, f0 = 1e6;

// The apex is the origin, the axis z.
struct Sphere {
    double a, d;
    double depth() const { return d - std::sqrt((d - a) * (d + a)); }
    double to_rim(double z) const { return std::hypot(a, z - depth()); }
};

TEST(Bowl, AxisFollowsItsClosedFormOnBothSidesOfTheFocus) {
    const Sphere sphere{10 * mm, 30 * mm};
    const kavro::HanningPulse pulse(f0, 3e-6, 0);
    for (const double z : {-6 * mm, 9 * mm, 29.9 * mm, 45 * mm}) {
        ApertureScene scene;
        scene.apertures = {aperture_of(0, sphere.a, sphere.d)};
        scene.points = {{0, 0, z}};
        scene.ndiv = 4;
        set_axis(scene, 5e-8, 0, 900);
        const double gain = rho * c * sphere.d / (sphere.d - z);
        const ApertureStage stage(scene, hanning());
        for (const Operation operation :
             {&Transducer::fnm_tsd_behind_source, &Transducer::fnm_transient_behind_source}) {
            const Field field = stage.transient(operation);
            for (std::size_t j = 0; j < field.size(); ++j) {
                const double t = scene.times[j];
                const double expected =
                    gain * (pulse.at(t - std::fabs(z) / c) - pulse.at(t - sphere.to_rim(z) / c));
                ASSERT_NEAR(field[j], expected, 2e-11 * std::fabs(gain)) << "z = " << z;
            }
        }
        if (z > 0) {
            scene.attenuation = 2;
            const double alpha = 200 / 8.685889638065037;
            const double k = 6.28318530717958 * f0 / c;
            const auto wave = [&](double R) {
                return std::exp(-std::complex<double>(alpha, k) * R);
            };
            const std::complex<double> expected = gain * (wave(z) - wave(sphere.to_rim(z)));
            const auto p = ApertureStage(scene).wave(&Transducer::fnm_cw)[0];
            EXPECT_LE(std::abs(p - expected), 1e-11 * std::abs(gain)) << "z = " << z;
        }
    }
}

TEST(Bowl, FocusHasItsClosedFormAndIsApproachedSmoothly) {
    const Sphere sphere{10 * mm, 30 * mm};
    const double d = sphere.d, s0 = d * 0x1p-18;
    ApertureScene scene;
    scene.apertures = {aperture_of(0, sphere.a, d)};
    scene.ndiv = 64;
    scene.attenuation = 1;
    for (const double s : {0.0, 1e-17 * d, 1e-12 * d, 1e-8 * d}) {
        scene.points.push_back({0.6 * s, 0.8 * s, d});
    }
    set_axis(scene, 5e-8, 19e-6, 110);
    const double alpha = 100 / 8.685889638065037, k = 6.28318530717958 * f0 / c;
    const std::complex<double> j(0, 1);
    const std::complex<double> focal =
        rho * c * sphere.depth() * (alpha + j * k) * std::exp(-(alpha + j * k) * d);
    for (const auto& [operation, tolerance] :
         {std::pair(&Transducer::fnm_cw, 1e-12), std::pair(&Transducer::fnm_cw_sse, 2e-6)}) {
        for (const auto& p : ApertureStage(scene).wave(operation)) {
            EXPECT_LE(std::abs(p - focal), tolerance * std::abs(focal));
        }
    }
    scene.points.clear();
    for (const double s : {0.0, 1e-17 * d, 1e-9 * d, 0.999999 * s0, 1.000001 * s0}) {
        scene.points.push_back({s, 0, d});
    }
    const kavro::HanningPulse pulse(f0, 3e-6, 0);
    const ApertureStage stage(scene, hanning());
    const double peak = rho * sphere.depth() * pulse.derivative(1.5e-6);
    for (const Operation operation : {&Transducer::fnm_tsd, &Transducer::fnm_transient}) {
        const Field field = stage.transient(operation);
        for (std::size_t i = 0; i < field.size(); ++i) {
            const double t = scene.times[i / scene.points.size()];
            ASSERT_NEAR(field[i], rho * sphere.depth() * pulse.derivative(t - d / c),
                        1e-7 * std::fabs(peak));
        }
    }
}

TEST(Bowl, HemisphereFollowsItsClosedFormInTheFocalPlane) {
    const double d = 10 * mm, r = 2 * mm;
    ApertureScene scene;
    scene.apertures = {aperture_of(0, d, d)};
    scene.points = {{r, 0, d}};
    scene.ndiv = 64;
    set_axis(scene, 2e-8, 0, 600);
    const kavro::HanningPulse pulse(f0, 3e-6, 0);
    const Field field = ApertureStage(scene, hanning()).transient(&Transducer::fnm_tsd);
    for (std::size_t j = 0; j < field.size(); ++j) {
        const double t = scene.times[j];
        const double gain = rho * c * d / (2 * r);
        ASSERT_NEAR(field[j], gain * (pulse.at(t - (d - r) / c) - pulse.at(t - (d + r) / c)),
                    1e-10 * gain);
    }
}

TEST(Bowl, ImpulseResponseOfTheFocusIsOneSample) {
    ApertureScene scene;
    scene.apertures = {aperture_of(0, 10 * mm, 30 * mm)};
    scene.apertures[0].amplitude = 2;
    scene.points = {{0, 0, 30 * mm}};
    set_axis(scene, 1e-9, 19e-6, 3000);
    const Field h = ApertureStage(scene, hanning()).transient(&Transducer::impulse_response);
    const double area = std::accumulate(h.begin(), h.end(), 0.0) * 1e-9;
    const Sphere sphere{10 * mm, 30 * mm};
    EXPECT_NEAR(area, 2 * sphere.depth(), 1e-15);
    EXPECT_EQ(std::count(h.begin(), h.end(), 0.0), 2999);
}

// ---- limits

TEST(Bowl, OfHugeCurvatureIsADisc) {
    ApertureScene flat, curved;
    flat.apertures = {aperture_of(0, 5 * mm, 0)};
    curved.apertures = {aperture_of(0, 5 * mm, 1e6)};
    for (ApertureScene* scene : {&flat, &curved}) {
        scene->points = {{0, 0, 7 * mm},           {1 * mm, 2 * mm, 4 * mm}, {5 * mm, 0, 3 * mm},
                         {8 * mm, 1 * mm, 9 * mm}, {1 * mm, 0, 0},           {1 * mm, 0, -1 * mm}};
        set_axis(*scene, 5e-8, 3.7e-9, 300);  // no sample on a response's edge
    }
    const auto pulse = hanning();
    for (const Operation operation :
         {&Transducer::fnm_tsd, &Transducer::fnm_transient, &Transducer::fnm_tsd_low_precision}) {
        const double tolerance = operation == &Transducer::fnm_tsd_low_precision ? 2e-5 : 1e-7;
        EXPECT_LE(largest_difference_of(ApertureStage(flat, pulse).transient(operation),
                                        ApertureStage(curved, pulse).transient(operation)),
                  tolerance * rho * c);
    }
    EXPECT_LE(largest_difference_of(ApertureStage(flat).wave(&Transducer::fnm_cw),
                                    ApertureStage(curved).wave(&Transducer::fnm_cw)),
              1e-7 * rho * c);
    EXPECT_LE(largest_difference_of(
                  ApertureStage(flat, pulse).transient(&Transducer::impulse_response),
                  ApertureStage(curved, pulse).transient(&Transducer::impulse_response)),
              1e-6 * c);
}

TEST(Bowl, RingIsTheDifferenceOfTwoCaps) {
    const double a_in = 4 * mm, a_out = 10 * mm, d = 30 * mm;
    ApertureScene ring, caps;
    ring.apertures = {aperture_of(a_in, a_out, d)};
    caps.apertures = {aperture_of(0, a_out, d), aperture_of(0, a_in, d)};
    caps.apertures[1].amplitude = -1;
    caps.apertures[1].weight = -1.0;
    // Where both caps face the point.
    ring.points = {{0, 0, 20 * mm}, {1 * mm, 2 * mm, 25 * mm}, {0, 0, d},
                   {1e-8, 0, d},    {7 * mm, 0, 12 * mm},      {2 * mm, 3 * mm, 50 * mm}};
    caps.points = ring.points;
    set_axis(ring, 5e-8, 0, 900);
    set_axis(caps, 5e-8, 0, 900);
    const auto pulse = hanning();
    EXPECT_LE(largest_difference_of(ApertureStage(ring).wave(&Transducer::fnm_cw),
                                    ApertureStage(caps).wave(&Transducer::fnm_cw)),
              1e-12 * largest_of(ApertureStage(caps).wave(&Transducer::fnm_cw)));
    for (const Operation operation : {&Transducer::fnm_tsd, &Transducer::impulse_response}) {
        const Field expected = ApertureStage(caps, pulse).transient(operation);
        EXPECT_LE(largest_difference_of(ApertureStage(ring, pulse).transient(operation), expected),
                  1e-9 * largest_of(expected));
    }
}

TEST(Bowl, SphericalRingWithoutAHoleIsTheShellToTheLastBit) {
    kavro::SphericalRingTransducer ring(0, 10 * mm, 30 * mm);
    kavro::SphericalTransducer shell(10 * mm, 30 * mm);
    expect_same_to_the_last_bit(
        ring, shell, transient_scene_of(aperture_of(0, 10 * mm, 30 * mm)),
        {&Transducer::fnm_cw, &Transducer::rayleigh_cw, &Transducer::impulse_response,
         &Transducer::fnm_transient, &Transducer::fnm_fdtsd, &Transducer::fnm_tsd,
         &Transducer::fnm_tsd_low_precision, &Transducer::impulse_begin_and_end_times});
}

// ---- siblings

TEST(Bowl, DecomposedIsDirectAtEverySample) {
    for (const Aperture& aperture : bowls()) {
        ApertureScene scene = transient_scene_of(aperture);
        scene.ndiv = 24;
        const auto agree = [&scene](const Waveform& waveform, Operation decomposed,
                                    double tolerance = 1e-9) {
            const ApertureStage stage(scene, waveform);
            const Field direct = stage.transient(&Transducer::fnm_transient);
            const Field field = stage.transient(decomposed);
            EXPECT_LE(largest_difference_of(field, direct), tolerance * largest_of(direct));
        };
        agree(hanning(), &Transducer::fnm_tsd);
        agree(std::make_shared<kavro::ToneBurst>(f0, 3e-6, 0), &Transducer::fnm_tsd);
        // The exact form of sampled and t-cubed pulses equals their values; the reference's not.
        std::vector<double> signal(48);
        for (std::size_t i = 0; i < signal.size(); ++i) {
            signal[i] = std::pow(std::sin(3.14159265 * static_cast<double>(i) / 47), 2.0);
        }
        const Waveform exact = sampled(signal, 1e-7, 4.7e-6, 0.0);
        exact->set_exact(true);
        agree(exact, &Transducer::fnm_tsd);
        agree(exact, &Transducer::fnm_fdtsd);
        const auto t_cubed = std::make_shared<kavro::TCubedPulse>(f0, 3e-6, 1e6);
        t_cubed->set_exact(true);
        agree(t_cubed, &Transducer::fnm_tsd);
        // Its factors need sums in double, also where the geometry is in single precision.
        agree(t_cubed, &Transducer::fnm_tsd_low_precision, 1e-4);
    }
}

TEST(Bowl, ImpulseResponseConvolvedIsThePressure) {
    for (const Aperture& aperture :
         {aperture_of(0, 10 * mm, 30 * mm), aperture_of(4 * mm, 10 * mm, 30 * mm)}) {
        ApertureScene scene;
        scene.apertures = {aperture};
        scene.points = {{1 * mm, 2 * mm, 20 * mm},
                        {0.5 * mm, 0, 24 * mm},
                        {9 * mm, 1 * mm, 22 * mm},
                        {1 * mm, 0, 42 * mm},
                        {2 * mm, 1 * mm, 1 * mm}};
        scene.ndiv = 128;
        const double fine = 2.5e-10;
        set_axis(scene, fine, 0, 160000);
        const auto pulse = hanning();
        const Field h = ApertureStage(scene, pulse).transient(&Transducer::impulse_response);
        set_axis(scene, 5e-7, 0, 80);
        const Field p = ApertureStage(scene, pulse).transient(&Transducer::fnm_tsd);
        const std::size_t npoints = scene.points.size();
        for (std::size_t i = 0; i < p.size(); ++i) {
            const double t = scene.times[i / npoints];
            double sum = 0;
            for (double tau = std::fmax(t - 3e-6, 0); tau < t; tau += fine) {
                const auto j = static_cast<std::size_t>(tau / fine + 0.5);
                sum += pulse->derivative(t - static_cast<double>(j) * fine) *
                       h[j * npoints + i % npoints];
            }
            ASSERT_NEAR(p[i], rho * sum * fine, 2e-3 * rho * c) << "point " << i % npoints;
        }
    }
}

TEST(Bowl, ExactContinuousWaveWithLossesIsTheRayleighIntegral) {
    for (const Aperture& aperture : bowls()) {
        ApertureScene scene = scene_of(aperture, 128);
        std::erase_if(scene.points, [&](const Triple& p) {
            const double depth = Sphere{aperture.radius, aperture.focus}.depth();
            return p.z <= depth + 1 * mm;  // next to the surface the surface rule is coarse
        });
        scene.attenuation = 3;
        const ApertureStage stage(scene);
        const ComplexField expected = stage.wave(&Transducer::rayleigh_cw, true);
        EXPECT_LE(largest_difference_of(stage.wave(&Transducer::fnm_cw, true), expected),
                  1e-9 * largest_of(expected));
        EXPECT_GE(largest_difference_of(stage.wave(&Transducer::fnm_cw), expected),
                  1e-3 * largest_of(expected));
        if (is_shell(aperture)) {
            EXPECT_LE(largest_difference_of(stage.wave(&Transducer::fnm_cw_sse, true), expected),
                      1e-5 * largest_of(expected));
            EXPECT_LE(
                largest_difference_of(stage.wave(&Transducer::rayleigh_cw_sse, true), expected),
                1e-5 * largest_of(expected));
        }
    }
}

// ---- windows and reach

TEST(Bowl, NothingArrivesOutsideTheArrivalWindow) {
    const auto pulse = std::make_shared<kavro::HanningPulse>(f0, 1e-6, 0);
    std::vector<Aperture> apertures = bowls();
    apertures.push_back(aperture_of(4 * mm, 10 * mm, 0));
    for (const Aperture& aperture : apertures) {
        ApertureScene scene = scene_of(aperture, 8);
        scene.points.push_back({0.01 * mm, 0, 21 * mm});
        set_axis(scene, 2e-8, 0, 2000);
        const std::size_t npoints = scene.points.size();
        for (const Operation operation : {&Transducer::fnm_tsd, &Transducer::fnm_transient}) {
            const Field field = ApertureStage(scene, pulse).transient(operation);
            for (std::size_t i = 0; i < npoints; ++i) {
                ApertureScene alone = scene;
                alone.points = {scene.points[i]};
                const auto [begin, end] = begin_and_end_times(alone);
                const double near_focus = 1e-6 * aperture.focus / c;  // of neighbours
                for (std::size_t j = 0; j < scene.times.size(); ++j) {
                    const double t = scene.times[j];
                    if (t < begin - near_focus || t > end + near_focus + 1e-6) {
                        ASSERT_EQ(field[j * npoints + i], 0.0) << "point " << i << ", t = " << t;
                    }
                }
            }
        }
    }
}

TEST(Bowl, BehindSourceAddsWhatIsSkippedAndNothingElse) {
    const Sphere sphere{10 * mm, 30 * mm};
    ApertureScene scene = scene_of(aperture_of(0, sphere.a, sphere.d));
    scene.points = {{2 * mm, 0, 20 * mm},                // faced
                    {3 * mm, 0, 1 * mm},                 // the hollow
                    {0, 0, 0},                           // on the surface
                    {11 * mm, 0, 0.5 * sphere.depth()},  // beside the bowl, over its apex
                    {1 * mm, 0, -2 * mm}};
    set_axis(scene, 5e-8, 0, 500);
    const auto pulse = hanning();
    const ApertureStage stage(scene, pulse);
    for (const auto& [facing, everywhere] :
         {std::pair(&Transducer::fnm_tsd, &Transducer::fnm_tsd_behind_source),
          std::pair(&Transducer::fnm_transient, &Transducer::fnm_transient_behind_source)}) {
        const Field some = stage.transient(facing);
        const Field all = stage.transient(everywhere);
        double largest[5] = {};
        for (std::size_t i = 0; i < some.size(); ++i) {
            const std::size_t point = i % 5;
            EXPECT_EQ(some[i], point < 3 ? all[i] : 0.0);
            largest[point] = std::fmax(largest[point], std::fabs(all[i]));
        }
        EXPECT_GT(*std::min_element(largest, largest + 5), 0.05 * rho * c);
    }
}

// ---- manners

TEST(Bowl, WarnsOfWhatTheMediumLacksAndSkipsTheSilent) {
    Recorder console;
    ApertureScene scene = scene_of(aperture_of(0, 10 * mm, 30 * mm));
    scene.points = {{1 * mm, 0, 20 * mm}};
    const auto at_1_mhz = ApertureStage(scene).wave(&Transducer::fnm_cw);
    scene.f0 = 0;
    scene.attenuation = 5;
    EXPECT_EQ(ApertureStage(scene).wave(&Transducer::fnm_cw), at_1_mhz);
    ASSERT_EQ(console.warnings.size(), 1u);
    EXPECT_EQ(console.warnings[0], "f0 not set; using default of 1 MHz to calculate wavelength.");
    scene.f0 = 1e6;
    scene.speed = 0;
    ApertureStage(scene).wave(&Transducer::rayleigh_cw);
    ASSERT_EQ(console.warnings.size(), 2u);
    EXPECT_EQ(console.warnings[1],
              "Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
    scene.speed = c;
    scene.apertures[0].amplitude = 1e-10;  // with a weight of 1: a silent element shows
    for (const ApertureWave& wave : wave_methods(true)) {
        const bool counts = wave.operation == &Transducer::fnm_cw_sse;
        EXPECT_EQ(ApertureStage(scene).wave(wave.operation)[0] != 0.0, counts) << wave.name;
    }
    set_axis(scene, 5e-8, 0, 500);
    const auto pulse = hanning();
    for (const ApertureMethod& method : decomposed_methods(true)) {
        if (!method.single && method.operation != &Transducer::fnm_fdtsd) {
            EXPECT_EQ(largest_of(ApertureStage(scene, pulse).transient(method.operation)), 0.0);
        }
    }
    EXPECT_GT(largest_of(ApertureStage(scene, pulse).transient(&Transducer::impulse_response)), 0);
}

TEST(Bowl, OddSizesAreNoCrash) {
    const ApertureScene scene = transient_scene_of(aperture_of(0, 10 * mm, 30 * mm));
    const Waveform waveform = sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0);
    const double nan = std::nan("");
    for (const auto& [radius, roc] :
         {std::pair(2.0, 1.0), std::pair(0.0, 1.0), std::pair(1.0, 0.0), std::pair(1.0, -1.0),
          std::pair(nan, 1.0), std::pair(1.0, nan)}) {
        kavro::SphericalTransducer shell(radius, roc);
        kavro::SphericalRingTransducer ring(radius / 2, radius, roc);
        for (Transducer* element :
             {static_cast<Transducer*>(&shell), static_cast<Transducer*>(&ring)}) {
            Records records(scene);
            element->set_amplitude(1);
            records.connect(*element);
            element->pressure_real = records.pressure_real.data();
            element->pressure_imag = records.pressure_imag.data();
            element->excitation = waveform.get();
            for (const Operation operation :
                 {&Transducer::fnm_cw, &Transducer::rayleigh_cw, &Transducer::impulse_response,
                  &Transducer::impulse_begin_and_end_times, &Transducer::fnm_transient,
                  &Transducer::fnm_tsd, &Transducer::fnm_fdtsd,
                  &Transducer::fnm_tsd_low_precision}) {
                EXPECT_EQ((element->*operation)(), kavro::status_success);
            }
        }
    }
}

class BowlVariants : public testing::Test {
protected:
    ~BowlVariants() override {
        kavro::set_vector_target(std::nullopt);
        kavro::set_thread_count(0);
    }
};

TEST_F(BowlVariants, NeitherVectorsNorThreadsShow) {
    const Aperture aperture = aperture_of(4 * mm, 9.99 * mm, 10 * mm);
    const ApertureStage transients(transient_scene_of(aperture), hanning());
    const ApertureStage shell_transients(transient_scene_of(aperture_of(0, 10 * mm, 30 * mm)),
                                         hanning());
    const ApertureStage waves(scene_of(aperture_of(0, 10 * mm, 30 * mm)));
    std::vector<Field> first;
    std::vector<ComplexField> first_waves;
    for (const char* target : {"scalar", "sse4", "avx2", "avx512"}) {
        kavro::set_vector_target(kavro::vector_target_named(target));
        kavro::set_thread_count(target[0] == 's' ? 1 : 3);
        std::vector<Field> fields;
        for (const Operation operation : {&Transducer::fnm_tsd, &Transducer::fnm_transient,
                                          &Transducer::fnm_tsd_low_precision}) {
            fields.push_back(transients.transient(operation));
            fields.push_back(shell_transients.transient(operation));
        }
        std::vector<ComplexField> wave_fields;
        for (const ApertureWave& wave : wave_methods(true)) {
            wave_fields.push_back(waves.wave(wave.operation));
        }
        first = first.empty() ? fields : first;
        first_waves = first_waves.empty() ? wave_fields : first_waves;
        EXPECT_TRUE(fields == first) << target;
        EXPECT_TRUE(wave_fields == first_waves) << target;
    }
}

}  // namespace
}  // namespace kavro_test
