// Places where formulas are 0/0 or hang on the last bit of a coordinate.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::Transducer;
using Operation = kavro::TransducerStatus (Transducer::*)();
using std::numbers::pi;

// A scene's outputs for one element.
struct Fields {
    Field transient;
    std::vector<std::complex<double>> wave;
};

Fields solve(const Scene& scene, Transducer& element, Operation operation,
             const Waveform& waveform) {
    Records records(scene);
    records.medium._f0 = 1e6;
    records.rule.gauss_quadrature();
    element.set_amplitude(1.0);
    element.excitation = waveform.get();
    records.connect_continuous_wave(element);
    element.transient_pressure = records.pressure.data();
    EXPECT_EQ((element.*operation)(), kavro::status_success);
    Fields fields{records.pressure, {}};
    for (std::size_t i = 0; i < scene.points.size(); ++i) {
        fields.wave.emplace_back(records.pressure_real[i], records.pressure_imag[i]);
    }
    return fields;
}

double difference(const Fields& a, const Fields& b) {
    double most = 0.0;
    const auto note = [&most](double off) {
        most = std::isnan(most) || off <= most ? most : off;  // keeps a NaN
    };
    for (std::size_t i = 0; i < a.transient.size(); ++i) {
        note(std::fabs(a.transient[i] - b.transient[i]));
    }
    for (std::size_t i = 0; i < a.wave.size(); ++i) {
        note(std::abs(a.wave[i] - b.wave[i]));
    }
    return most;
}

Scene scene_with(std::vector<Triple> points) {
    Scene scene = plain_scene();
    scene.points = std::move(points);
    set_axis(scene, 5e-8, 0, 600);
    return scene;
}

const Waveform& pulse() {
    static const Waveform hanning = std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0);
    return hanning;
}

// With many abscissas the nearest sample of the rim is closer to a point on it than single
// precision can tell.
TEST(SpecialPlaces, SinglePrecisionOnTheRimWithManyAbscissas) {
    for (const double a : {1.3e-3, 5e-3, 12.7e-3}) {
        Scene scene = scene_with({{a, 0, 0},
                                  {a, 0, 1e-3},
                                  {a * std::cos(1.0), a * std::sin(1.0), 20e-3},
                                  {0, a * (1 + 1e-7), 20e-3},
                                  {a / 2, 0, 1e-3},
                                  {0, -a / 2, 20e-3}});
        kavro::CircularTransducer disc(a);
        kavro::RingTransducer ring(a / 2, a);
        for (const int n : {64, 136, 200, 512}) {
            scene.ndiv = n;
            const double scale = scene.density * scene.speed;
            const auto off = [&](Transducer& element, Operation single, Operation exact) {
                return difference(solve(scene, element, single, pulse()),
                                  solve(scene, element, exact, pulse()));
            };
            EXPECT_LT(off(disc, &Transducer::fnm_tsd_sse, &Transducer::fnm_tsd), 2e-4 * scale);
            EXPECT_LT(off(disc, &Transducer::fnm_tsd_low_precision, &Transducer::fnm_tsd),
                      2e-4 * scale);
            EXPECT_LT(off(disc, &Transducer::fnm_cw_sse, &Transducer::fnm_cw), 2e-4 * scale);
            EXPECT_LT(off(ring, &Transducer::fnm_tsd_low_precision, &Transducer::fnm_tsd),
                      2e-4 * scale);
        }
    }
}

TEST(SpecialPlaces, FacesWithoutASizeAreSilentOnTheirAxis) {
    const Scene scene = scene_with({{0, 0, 0}, {0, 0, 20e-3}, {1e-3, 0, 20e-3}});
    const Fields silence{Field(scene.points.size() * scene.times.size()),
                         std::vector<std::complex<double>>(scene.points.size())};
    const std::vector<Operation> common = {&Transducer::fnm_tsd, &Transducer::fnm_cw,
                                           &Transducer::fnm_cw_sse, &Transducer::fnm_transient,
                                           &Transducer::fnm_tsd_low_precision};
    for (const bool exact : {false, true}) {
        kavro::CircularTransducer disc(0.0);
        kavro::RectangularTransducer rectangle(0.0, 0.0);
        disc.set_exact(exact);
        rectangle.set_exact(exact);
        for (const Operation operation : common) {
            EXPECT_EQ(difference(solve(scene, disc, operation, pulse()), silence), 0.0);
            EXPECT_LT(difference(solve(scene, rectangle, operation, pulse()), silence), 1e-9);
        }
        EXPECT_EQ(difference(solve(scene, disc, &Transducer::fnm_tsd_sse, pulse()), silence), 0.0);

        kavro::RectangularTransducer line(0.0, 1e-3);
        kavro::RingTransducer ring(0.0, 0.0);
        kavro::SphericalTransducer shell(0.0, 1e-2);
        kavro::SphericalRingTransducer shell_ring(0.0, 0.0, 1e-2);
        for (Transducer* element :
             std::vector<Transducer*>{&disc, &rectangle, &line, &ring, &shell, &shell_ring}) {
            element->set_exact(exact);
            EXPECT_EQ(
                difference(solve(scene, *element, &Transducer::rayleigh_cw, pulse()), silence),
                0.0);
        }
        for (const Operation operation :
             {&Transducer::rayleigh_cw_apodized, &Transducer::rayleigh_cw_sse,
              &Transducer::rayleigh_transient}) {
            EXPECT_EQ(difference(solve(scene, disc, operation, pulse()), silence), 0.0);
        }
        EXPECT_EQ(difference(solve(scene, shell, &Transducer::rayleigh_cw_sse, pulse()), silence),
                  0.0);
    }
}

// A waveform that lasts no time has no jumps, and one without an end none at its end.
TEST(SpecialPlaces, WaveformsWithoutDurationOrEndInRayleighTransients) {
    const Scene scene = scene_with({{1e-3, 0, 5e-3}});
    kavro::CircularTransducer disc(5e-3);
    disc.set_exact(true);
    const auto instant = std::make_shared<kavro::ExcitationFunction>(
        std::vector<double>{1, 1, 1, 1}, 1e-7, 0.0, 0.0);
    instant->set_exact(true);
    EXPECT_EQ(peak_of(solve(scene, disc, &Transducer::rayleigh_transient, instant).transient), 0.0);
    const auto endless =
        std::make_shared<kavro::ToneBurst>(1e6, std::numeric_limits<double>::infinity(), 0.0);
    for (const double p : solve(scene, disc, &Transducer::rayleigh_transient, endless).transient) {
        EXPECT_TRUE(std::isfinite(p));
    }
}

// Turned by a right angle, the points of the face's plane lie 1e-19 m to either side of it.
TEST(SpecialPlaces, ThePlaneOfATurnedFaceIsNotBehindIt) {
    std::vector<Triple> flat, upright;
    for (const double u : {-7e-3, -2.1e-3, 0.3e-3, 1.7e-3, 6e-3}) {
        for (const double v : {-6.3e-3, -1.1e-3, 0.9e-3, 5e-3}) {
            flat.push_back({u, v, 0});
            upright.push_back({0.03, u, v});
        }
    }
    const Scene lying = scene_with(flat);
    const Scene standing = scene_with(upright);
    kavro::CircularTransducer disc(3e-3);
    kavro::RectangularTransducer rectangle(4e-3, 4e-3);
    kavro::RingTransducer ring(1e-3, 3e-3);
    for (Transducer* element : std::vector<Transducer*>{&disc, &rectangle, &ring}) {
        element->set_exact(true);
        for (const Operation operation :
             {&Transducer::fnm_cw, &Transducer::rayleigh_cw, &Transducer::fnm_tsd,
              &Transducer::fnm_transient, &Transducer::fnm_tsd_low_precision}) {
            element->set_center(0, 0, 0);
            element->set_euler(0, 0, 0);
            const Fields expected = solve(lying, *element, operation, pulse());
            element->set_center(0.03, 0, 0);
            for (const double third : {0.0, pi}) {  // faces +x, faces -x
                element->set_euler(pi / 2, 0, third);
                const Fields turned = solve(standing, *element, operation, pulse());
                EXPECT_LT(difference(turned, expected), 1e-4 * lying.density * lying.speed);
            }
        }
    }
}

TEST(SpecialPlaces, ASurfaceSampleMayCoincideWithAPoint) {
    Scene scene = scene_with({{0, 0, 0}});
    kavro::RectangularTransducer rectangle(4e-3, 3e-3);
    scene.ndiv = 200;
    const std::complex<double> expected =
        solve(scene, rectangle, &Transducer::fnm_cw, pulse()).wave[0];
    for (const bool exact : {false, true}) {
        rectangle.set_exact(exact);
        // Off the origin rounding keeps the point a little off the sample.
        for (const double x : {0.0, 0.3e-3, 0.9e-3, 1.5e-3}) {
            rectangle.set_center(x, 0, 0);
            std::vector<Triple> points = {{x == 0.0 ? 0.0 : 1e-4 * std::round(x * 1e4), 0, 0}};
            if (exact) {
                points.insert(points.end(), {{x + 1e-9, 0, 0}, {x + 1e-6, 0, 0}});
            }
            Scene near = scene_with(points);
            near.ndiv = 65;
            for (const Operation operation :
                 {&Transducer::rayleigh_cw, &Transducer::rayleigh_cw_sse}) {
                for (const std::complex<double> p :
                     solve(near, rectangle, operation, pulse()).wave) {
                    EXPECT_LT(std::abs(p - expected), 0.03 * std::abs(expected));
                }
            }
        }
    }
}

// The terms of a pulse that decays steeply over the face, or that has far to go, are much larger
// than the pulse: it must not be decomposed.
TEST(SpecialPlaces, SteeplyDecayingPulsesAreNotDecomposed) {
    kavro::CircularTransducer disc(5e-3);
    kavro::RectangularTransducer rectangle(6e-3, 8e-3);
    kavro::RingTransducer ring(1e-3, 5e-3);
    kavro::SphericalTransducer shell(5e-3, 8e-3);
    for (const auto& [B, z] : {std::pair{3e7, 1.5e-3}, {5e6, 250e-3}, {1e7, 8.001e-3}}) {
        const Waveform cubed = std::make_shared<kavro::TCubedPulse>(1e6, 4e-6, B);
        cubed->set_exact(true);
        Scene scene = scene_with({{0, 0, z}, {1e-3, 0, z}, {7e-3, 2e-3, z}});
        set_axis(scene, 2e-8, z / scene.speed - 1e-6, 900);
        scene.ndiv = 64;
        for (Transducer* element : std::vector<Transducer*>{&disc, &rectangle, &ring, &shell}) {
            const Fields direct = solve(scene, *element, &Transducer::fnm_transient, cubed);
            EXPECT_GT(peak_of(direct.transient), 0.0);
            for (const Operation operation :
                 {&Transducer::fnm_tsd, &Transducer::fnm_tsd_low_precision}) {
                const Fields field = solve(scene, *element, operation, cubed);
                EXPECT_LT(difference(field, direct), 1e-9 * peak_of(direct.transient));
            }
        }
        const Fields behind = solve(scene, shell, &Transducer::fnm_transient_behind_source, cubed);
        EXPECT_LT(
            difference(solve(scene, shell, &Transducer::fnm_tsd_behind_source, cubed), behind),
            1e-9 * peak_of(behind.transient));
    }
}

// Elements of one array may differ in whether they are decomposed.
TEST(SpecialPlaces, ArraysOfMildAndSteepPulsesAreTheirElementsInOrder) {
    const Scene scene = scene_with({{0, 0, 3e-3}, {1e-3, 0, 9e-3}, {7e-3, 2e-3, 5e-3}});
    std::vector<Waveform> waveforms = {pulse()};
    for (const double B : {1e5, 2e7}) {
        waveforms.push_back(std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, B));
        waveforms.back()->set_exact(true);
    }
    Records together(scene);
    Records apart(scene);
    std::vector<kavro::CircularTransducer> discs(9, kavro::CircularTransducer(2e-3));
    std::vector<Transducer*> array;
    for (std::size_t i = 0; i < discs.size(); ++i) {
        discs[i].set_center(1e-3 * static_cast<double>(i), 0, 0);
        discs[i].set_amplitude(i == 4 ? 0.0 : 1.0 + 0.3 * static_cast<double>(i));
        discs[i].excitation = waveforms[(i / 2) % waveforms.size()].get();
        apart.connect(discs[i]);
        EXPECT_EQ(discs[i].fnm_tsd_sse(), kavro::status_success);
        together.connect(discs[i]);
        array.push_back(&discs[i]);
    }
    EXPECT_EQ(kavro::fnm_tsd_sse(array), kavro::status_success);
    EXPECT_GT(peak_of(apart.pressure), 0.0);
    EXPECT_EQ(together.pressure, apart.pressure);
}

}  // namespace
}  // namespace kavro_test
