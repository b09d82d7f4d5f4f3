// The disc's continuous wave: against the oracle, and against physics that nobody here wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <numbers>

#include "oracle/disc_continuous_wave.h"
#include "oracle/gauss.h"
#include "support.h"
#include "transducers/circular/piston_apodization.h"

namespace kavro_test {
namespace {

using kavro::CircularTransducer;
using kavro_oracle::Complex;
using kavro_oracle::ComplexField;
using std::numbers::pi;
using Pressure = std::vector<Complex>;

struct Operation {
    const char* name;
    Solve solve;
    ComplexField (*oracle)(const Scene& scene);
    double tolerance;       // against the oracle
    bool surface;           // integrates over the face and not along the rim
    double reference_sign;  // of the exponent of attenuation
};

// The four-wide near field rounds as the oracle does. The four-wide Rayleigh integral takes
// distances from differences of coordinates, which is closer to the truth near the face.
const Operation operations[] = {
    {"fnm_cw", &CircularTransducer::fnm_cw, kavro_oracle::fnm_cw, 1e-13, false, -1},
    {"fnm_cw_apodized", &CircularTransducer::fnm_cw_apodized, kavro_oracle::fnm_cw_apodized, 1e-13,
     false, -1},
    {"fnm_cw_sse", &CircularTransducer::fnm_cw_sse, kavro_oracle::fnm_cw_sse, 1e-13, false, -1},
    {"rayleigh_cw", &CircularTransducer::rayleigh_cw, kavro_oracle::rayleigh_cw, 1e-13, true, +1},
    {"rayleigh_cw_apodized", &CircularTransducer::rayleigh_cw_apodized,
     kavro_oracle::rayleigh_cw_apodized, 1e-13, true, +1},
    {"rayleigh_cw_sse", &CircularTransducer::rayleigh_cw_sse, kavro_oracle::rayleigh_cw_sse, 5e-6,
     true, -1}};

const Operation& fnm_cw = operations[0];
const Operation& fnm_cw_apodized = operations[1];
const Operation& fnm_cw_sse = operations[2];
const Operation& rayleigh_cw = operations[3];
const Operation& rayleigh_cw_apodized = operations[4];

Pressure by_library(const Scene& scene, const Operation& operation) {
    Records records(scene);
    for (const Disc& disc : scene.discs) {
        CircularTransducer element = element_of(disc);
        records.connect_continuous_wave(element);
        EXPECT_EQ((element.*operation.solve)(), kavro::status_success) << operation.name;
    }
    Pressure pressure;
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        pressure.emplace_back(records.pressure_real[p], records.pressure_imag[p]);
    }
    return pressure;
}

Pressure no_pressure(const Scene& scene) {
    return Pressure(scene.points.size());
}

Scene tone_scene() {
    Scene scene = plain_scene();
    scene.f0 = 1e6;
    return scene;
}

Scene lossy(Scene scene) {
    scene.f0 = 1.3e6;
    scene.attenuation = 3.0;
    scene.discs[0].phase = 0.7;
    scene.discs[0].amplitude = 1.5;
    scene.discs[0].apodization = 2;
    return scene;
}

Scene exactly(Scene scene) {
    for (Disc& disc : scene.discs) {
        disc.exact = true;
    }
    return scene;
}

// Within `tolerance` of the sum of the magnitudes of each point's terms.
void expect_near(const Pressure& pressure, const ComplexField& expected, double tolerance) {
    ASSERT_EQ(pressure.size(), expected.values.size());
    for (std::size_t p = 0; p < pressure.size(); ++p) {
        EXPECT_LE(std::abs(pressure[p] - expected.values[p]), tolerance * expected.terms[p])
            << "point " << p << ": " << pressure[p] << " instead of " << expected.values[p];
    }
}

double largest_error(const Pressure& pressure, const Pressure& expected) {
    double error = 0;
    for (std::size_t p = 0; p < pressure.size(); ++p) {
        error = std::fmax(error, std::abs(pressure[p] - expected[p]) / std::abs(expected[p]));
    }
    return error;
}

// ---- against the oracle

TEST(DiscContinuousWave, AgreesWithTheOracle) {
    Scene turned = lossy(crowded_scene(70));  // more points than a block of lanes, and not a whole
    turned.discs[1].apodization = 3;          // number of blocks
    turned.discs[1].phase = -2.1;
    turned.discs[2].apodization = 0;
    turned.speed = 1540.7;
    turned.density = 1060.3;
    for (const Scene& base : {tone_scene(), lossy(tone_scene()), turned}) {
        for (Scene scene : {base, exactly(base)}) {
            for (const int n : {1, 4, 15, 24}) {
                scene.ndiv = n;
                for (const Operation& operation : operations) {
                    SCOPED_TRACE(std::string(operation.name) + ", n = " + std::to_string(n));
                    expect_near(by_library(scene, operation), operation.oracle(scene),
                                operation.tolerance);
                }
            }
        }
    }
}

// Points without a place leave their neighbours alone.
TEST(DiscContinuousWave, NumbersThatRunOutStayWithTheirPoint) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Scene good = lossy(tone_scene());
    Scene mixed = good;
    for (std::size_t p = 0; p < good.points.size(); ++p) {
        const double lost[] = {std::nan(""), infinity, -infinity, 1e200};
        Triple bad = good.points[p];
        (p % 3 == 0 ? bad.x : bad.z) = lost[p % 4];
        mixed.points.insert(mixed.points.begin() + static_cast<std::ptrdiff_t>(2 * p), bad);
    }
    for (const Operation& operation : operations) {
        const Pressure expected = by_library(good, operation);
        const Pressure pressure = by_library(mixed, operation);
        for (std::size_t p = 0; p < expected.size(); ++p) {
            EXPECT_EQ(pressure[2 * p + 1], expected[p]) << operation.name << ", point " << p;
        }
    }
}

TEST(DiscContinuousWave, ProfilesAndTheirDerivatives) {
    namespace profiles = kavro::piston_apodization;
    constexpr double a = 2.5e-3;
    for (const int index : {-1, 0, 1, 2, 3, 4, 5}) {
        for (const double r : {0.0, 1e-4, 1.3e-3, -2e-3, 2.4999e-3, a, -a, 3e-3}) {
            EXPECT_DOUBLE_EQ(profiles::evaluate(index, r, a), kavro_oracle::profile(index, r, a));
            const double slope = profiles::derivative(index, r, a);
            EXPECT_NEAR(slope, kavro_oracle::profile_slope(index, r, a), 1e-12 / a);
            if (std::fabs(r) < 2.4e-3) {
                const double h = 1e-7;
                const double difference =
                    profiles::evaluate(index, r + h, a) - profiles::evaluate(index, r - h, a);
                EXPECT_NEAR(slope, difference / (2 * h), 1e-6 / a);
            }
        }
        const double nowhere = profiles::evaluate(index, std::nan(""), a);
        EXPECT_EQ(nowhere, index >= 1 && index <= 4 ? 0.0 : 1.0);
    }
    using Function = double (*)(double, double);
    const Function by_name[] = {profiles::cosine, profiles::raisedcosine, profiles::quadratic,
                                profiles::quartic};
    const Function slopes_by_name[] = {profiles::derivativecosine, profiles::derivativeraisedcosine,
                                       profiles::derivativequadratic, profiles::derivativequartic};
    for (int index = 1; index <= 4; ++index) {
        EXPECT_EQ(by_name[index - 1](0.3, 1.0), profiles::evaluate(index, 0.3, 1.0));
        EXPECT_EQ(slopes_by_name[index - 1](0.3, 1.0), profiles::derivative(index, 0.3, 1.0));
    }
}

// What single precision costs: some 1e-6 of the terms, whatever they leave of each other.
TEST(DiscContinuousWave, SinglePrecisionStaysCloseToDouble) {
    Scene scene = exactly(lossy(crowded_scene(60)));
    scene.ndiv = 48;
    for (Disc& disc : scene.discs) {
        disc.apodization = 0;
    }
    expect_near(by_library(scene, fnm_cw_sse), kavro_oracle::fnm_cw(scene), 3e-6);
    expect_near(by_library(scene, operations[5]), kavro_oracle::rayleigh_cw(scene), 3e-6);
}

// ---- physics

// On the axis, 2 rho c |sin(k/2 (R - z))| with R the distance from the rim.
TEST(DiscContinuousWave, AxisOfADiscHasItsClosedForm) {
    Scene scene = tone_scene();
    scene.points.clear();
    for (const double z : {0.0, 4e-4, 3.1e-3, 8e-3, 0.04}) {
        scene.points.push_back({0, 0, z});
    }
    scene.ndiv = 4;
    const double a = scene.discs[0].radius, k = 2 * pi * scene.f0 / scene.speed;
    const double impedance = scene.density * scene.speed;
    const Pressure pressure = by_library(scene, fnm_cw);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const double z = scene.points[p].z, R = std::hypot(z, a);
        EXPECT_NEAR(std::abs(pressure[p]), 2 * impedance * std::fabs(std::sin(k / 2 * (R - z))),
                    1e-11 * impedance);
    }
}

// j omega rho/(2 pi) times the integral of f e^(-(alpha + jk) R)/R over the face, by Gauss rules in
// angle and, either side of the point's foot, in radius.
Complex surface_integral(const Scene& scene, const Triple& p,
                         const std::function<double(double)>& profile) {
    const Disc& disc = scene.discs[0];
    const double omega = 2 * pi * scene.f0;
    const double dB_per_m = scene.attenuation * 100 * scene.f0 / 1e6;
    const Complex gamma{dB_per_m * std::log(10.0) / 20, omega / scene.speed};
    const double s = std::hypot(p.x, p.y), split = std::fmin(s, disc.radius);
    const kavro_oracle::Rule angles = kavro_oracle::gauss(160, 0, 2 * pi);
    Complex sum;
    for (const auto& [from, to] : {std::pair{0.0, split}, std::pair{split, disc.radius}}) {
        const kavro_oracle::Rule radii = kavro_oracle::gauss(80, from, to);
        for (std::size_t i = 0; i < radii.x.size(); ++i) {
            for (std::size_t j = 0; j < angles.x.size(); ++j) {
                const double r = radii.x[i], phi = angles.x[j];
                const double R = std::hypot(s - r * std::cos(phi), r * std::sin(phi), p.z);
                const double area = radii.w[i] * angles.w[j] * r;
                sum += area * profile(r / disc.radius) * std::exp(-gamma * R) / R;
            }
        }
    }
    return Complex(0, omega * scene.density / (2 * pi)) * sum *
           std::polar(disc.amplitude, disc.phase);
}

const std::vector<std::function<double(double)>> profiles_by_index = {
    [](double) { return 1.0; }, [](double q) { return std::cos(pi * q / 2); },
    [](double q) { return (1 + std::cos(pi * q)) / 2; }, [](double q) { return 1 - q * q; },
    [](double q) { return 1 - q * q * q * q; }};

Pressure surface_integrals(const Scene& scene) {
    const auto& profile = profiles_by_index[static_cast<std::size_t>(scene.discs[0].apodization)];
    Pressure pressure;
    for (const Triple& point : scene.points) {
        pressure.push_back(surface_integral(scene, point, profile));
    }
    return pressure;
}

// Over the face, near the rim, outside, and far away.
const std::vector<Triple> apart = {{0, 0, 5e-3},       {1e-3, -1e-3, 4e-3},  {0, 3e-3, 2e-3},
                                   {5e-3, 1e-3, 6e-3}, {2.5e-3, 1e-3, 2e-3}, {1e-2, 0, 0.1}};

// With losses the near field comes out right only if its prefactor does, the Rayleigh integrals
// only if they decay.
TEST(DiscContinuousWave, ExactFieldsConvergeToTheSurfaceIntegral) {
    Scene scene = exactly(lossy(tone_scene()));
    scene.points = apart;
    for (int index = 0; index <= 4; ++index) {
        SCOPED_TRACE(index);
        scene.discs[0].apodization = index;
        const Pressure expected = surface_integrals(scene);
        const auto error = [&](const Operation& operation, int n) {
            scene.ndiv = n;
            return largest_error(by_library(scene, operation), expected);
        };
        // Gauss rules converge faster than any power, midpoints by the square.
        EXPECT_LT(error(fnm_cw_apodized, 48), 1e-10);
        EXPECT_LT(error(fnm_cw_apodized, 16), 1e-3);
        EXPECT_LT(error(rayleigh_cw_apodized, 128), 2e-3);
        EXPECT_GT(error(rayleigh_cw_apodized, 64), 3.8 * error(rayleigh_cw_apodized, 128));
        if (index == 0) {
            EXPECT_LT(error(fnm_cw, 48), 1e-10);
            EXPECT_LT(error(rayleigh_cw, 128), 2e-3);
            EXPECT_GT(error(rayleigh_cw, 64), 3.8 * error(rayleigh_cw, 128));
            EXPECT_LT(error(rayleigh_cw, 64), error(rayleigh_cw, 32));
        }
    }
}

// Without losses the reference has the exact field, but for the apodized near field, which is off
// by -pi a in the end, and silent for a uniform disc.
TEST(DiscContinuousWave, ReferenceWithoutLosses) {
    Scene scene = lossy(tone_scene());
    scene.points = apart;
    scene.attenuation = 0;
    scene.ndiv = 64;
    for (const Operation& operation : operations) {
        if (operation.solve != fnm_cw_apodized.solve) {
            EXPECT_EQ(by_library(scene, operation), by_library(exactly(scene), operation))
                << operation.name;
        }
    }
    const auto factor_error = [&](int n) {
        scene.ndiv = n;
        Pressure scaled = by_library(exactly(scene), fnm_cw_apodized);
        for (Complex& value : scaled) {
            value *= -pi * scene.discs[0].radius;
        }
        return largest_error(by_library(scene, fnm_cw_apodized), scaled);
    };
    EXPECT_LT(factor_error(500), 0.02);
    scene.discs[0].apodization = 0;
    EXPECT_EQ(by_library(scene, fnm_cw_apodized), no_pressure(scene));
    scene.ndiv = 30;
    EXPECT_LT(
        largest_error(by_library(scene, rayleigh_cw_apodized), by_library(scene, rayleigh_cw)),
        1e-13);
}

TEST(DiscContinuousWave, AttenuationHasItsSign) {
    Scene scene = tone_scene();
    scene.discs[0].radius = 2e-4;  // all of it equally far
    scene.discs[0].apodization = 3;
    scene.points = {{0, 0, 0.03}, {0.01, 0, 0.05}};
    scene.ndiv = 16;
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        for (const bool exact : {false, true}) {
            const auto solve = [&](double attenuation) {
                Scene one = exact ? exactly(scene) : scene;
                one.attenuation = attenuation;
                return by_library(one, operation);
            };
            const Pressure damped = solve(2), undamped = solve(0);
            for (std::size_t p = 0; p < damped.size(); ++p) {
                const Triple& at = scene.points[p];
                const double dB = 2 * 100 * std::hypot(at.x, at.z);
                const double sign = exact ? -1 : operation.reference_sign;
                EXPECT_NEAR(20 * std::log10(std::abs(damped[p] / undamped[p])), sign * dB,
                            0.01 * dB);
            }
        }
    }
}

// ---- manners

using Messages = std::vector<std::string>;

// Solves with a recorder at the console; returns the warnings.
Messages warnings_of(const Scene& scene, const Operation& operation, Pressure* pressure = nullptr) {
    Recorder recorder;
    const Pressure solved = by_library(scene, operation);
    if (pressure != nullptr) {
        *pressure = solved;
    }
    EXPECT_EQ(recorder.printed, "");
    return recorder.warnings;
}

TEST(DiscContinuousWave, MissingFrequencyOrSpeedIsReplacedWithAWarning) {
    const Messages no_frequency = {"f0 not set; using default of 1 MHz to calculate wavelength."};
    const Messages no_speed = {
        "Sound speed not set; using default of 1500 m/s to calculate wavenumber."};
    for (const double amplitude : {1.5, 1e-11}) {
        Scene scene = lossy(tone_scene());
        scene.discs[0].amplitude = amplitude;
        Pressure pressure;
        for (const double f0 : {1e-10, 0.0}) {
            scene.f0 = f0;
            EXPECT_EQ(warnings_of(scene, fnm_cw, &pressure), no_frequency);
        }
        // As with 1 MHz, but with the attenuation of the stored frequency, which is none.
        Scene at_default = scene;
        at_default.f0 = 1e6;
        at_default.attenuation = 0;
        EXPECT_EQ(pressure, by_library(at_default, fnm_cw));
        EXPECT_EQ(pressure != no_pressure(scene), amplitude == 1.5);
        scene.f0 = 0;
        EXPECT_EQ(warnings_of(scene, rayleigh_cw, &pressure), Messages{});
        EXPECT_EQ(pressure, no_pressure(scene));

        scene.f0 = 1.3e6;
        scene.speed = 0;
        EXPECT_EQ(warnings_of(scene, rayleigh_cw, &pressure), no_speed);
        scene.speed = 1500;
        EXPECT_EQ(pressure, by_library(scene, rayleigh_cw));
        for (const Operation& operation : operations) {
            EXPECT_EQ(warnings_of(scene, operation), Messages{}) << operation.name;
            Scene empty = scene;
            empty.f0 = operation.solve == fnm_cw.solve ? scene.f0 : 0;
            empty.speed = operation.solve == rayleigh_cw.solve ? scene.speed : 0;
            EXPECT_EQ(warnings_of(empty, operation), Messages{}) << operation.name;
        }
    }
}

TEST(DiscContinuousWave, SkipsSilentElementsAndPointsBehind) {
    Scene scene = lossy(tone_scene());
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        for (const double amplitude : {1e-10, -1e-10, 1.0000001e-10}) {
            scene.discs[0].amplitude = amplitude;
            const bool computed = amplitude > 1e-10 || operation.solve == fnm_cw_sse.solve;
            EXPECT_EQ(by_library(scene, operation) != no_pressure(scene), computed) << amplitude;
        }
        scene.discs[0].amplitude = 1.5;
        const Pressure pressure = by_library(scene, operation);
        for (std::size_t p = 0; p < pressure.size(); ++p) {
            EXPECT_EQ(pressure[p] == Complex(), scene.points[p].z < 0) << "point " << p;
        }
    }
}

// The weight is 0 until amplitude or phase is set, although the amplitude begins as 1.
TEST(DiscContinuousWave, AddsWhatTheWeightSays) {
    Scene scene = tone_scene();
    scene.discs[0].apodization = 1;
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        Records records(scene);
        CircularTransducer element(scene.discs[0].radius);
        element.set_piston_apodization_index(1);
        records.connect_continuous_wave(element);
        records.pressure_real.assign(scene.points.size(), 0.125);
        EXPECT_EQ((element.*operation.solve)(), kavro::status_success);
        EXPECT_EQ(records.pressure_real, Field(scene.points.size(), 0.125));
        EXPECT_EQ(records.pressure_imag, Field(scene.points.size(), 0.0));
        element.set_amplitude(1);
        EXPECT_EQ((element.*operation.solve)(), kavro::status_success);
        const Pressure pressure = by_library(scene, operation);
        for (std::size_t p = 0; p < pressure.size(); ++p) {
            EXPECT_EQ(records.pressure_real[p], 0.125 + pressure[p].real());
            EXPECT_EQ(records.pressure_imag[p], pressure[p].imag());
        }
    }
}

// Along the rim the rule is refilled for half a turn and left there; over the face it only counts.
TEST(DiscContinuousWave, RefillsTheRuleAlongTheRimOnly) {
    const Scene scene = lossy(tone_scene());
    for (const Operation& operation : operations) {
        for (const bool exact : {false, true}) {
            Records records(scene);
            records.rule.midpoint_rule(-7, 9);
            kavro::NumericalIntegration expected = records.rule;
            CircularTransducer element = element_of(scene.discs[0]);
            element.set_exact(exact);
            records.connect_continuous_wave(element);
            (element.*operation.solve)();
            if (!operation.surface && !exact) {
                expected.gauss_quadrature(0, 3.14159265358979);
            }
            EXPECT_EQ(records.rule.abscissas, expected.abscissas) << operation.name;
            EXPECT_EQ(records.rule.weights, expected.weights) << operation.name;
        }
    }
}

TEST(DiscContinuousWave, MissingRecordsAreAFailureWithoutAWord) {
    const std::function<void(CircularTransducer&)> omissions[] = {
        [](CircularTransducer& e) { e.coordinate_grid = nullptr; },
        [](CircularTransducer& e) { e.medium = nullptr; },
        [](CircularTransducer& e) { e.integral = nullptr; },
        [](CircularTransducer& e) { e.pressure_real = nullptr; },
        [](CircularTransducer& e) { e.pressure_imag = nullptr; }};
    Scene scene = tone_scene();
    scene.f0 = 0;
    scene.speed = 0;
    Recorder recorder;
    for (const Operation& operation : operations) {
        for (const auto& omit : omissions) {
            Records records(scene);
            CircularTransducer element = element_of(scene.discs[0]);
            records.connect_continuous_wave(element);
            omit(element);
            EXPECT_EQ((element.*operation.solve)(), kavro::status_failure) << operation.name;
            EXPECT_EQ(records.pressure_real, Field(scene.points.size(), 0.0));
        }
    }
    EXPECT_EQ(recorder.warnings, Messages{});
    // No abscissas are no failure, and neither waveform nor time axis is needed.
    scene = tone_scene();
    for (const Operation& operation : operations) {
        Records records(scene);
        records.rule = {};
        CircularTransducer element = element_of(scene.discs[0]);
        records.connect_continuous_wave(element);
        element.set_time_vector(nullptr);
        EXPECT_EQ((element.*operation.solve)(), kavro::status_success) << operation.name;
    }
}

TEST_F(Variants, ContinuousWavesAgreeToTheLastBit) {
    const Scene scene = lossy(crowded_scene(300));
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        kavro::set_thread_count(1);
        kavro::set_vector_target(kavro::VectorTarget::scalar);
        const Pressure expected = by_library(scene, operation);
        for (const auto target :
             {kavro::VectorTarget::sse4, kavro::VectorTarget::avx2, kavro::VectorTarget::avx512}) {
            kavro::set_vector_target(target);
            kavro::set_thread_count(3);
            EXPECT_EQ(by_library(scene, operation), expected);
            kavro::set_thread_count(1);
            EXPECT_EQ(by_library(scene, operation), expected);
        }
    }
}

}  // namespace
}  // namespace kavro_test
