// The rectangle's continuous wave: against the oracle, and against physics that nobody here wrote.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/simd/vector_target.h"
#include "core/threads.h"
#include "rectangle_support.h"

namespace kavro_test {
namespace {

using kavro::RectangularTransducer;
using std::numbers::pi;
using Pressure = std::vector<Complex>;

struct Operation {
    const char* name;
    RectangleSolve solve;
    void (*oracle)(const RectangleScene&, ComplexField&);
    bool single;
};

const Operation operations[] = {
    {"fnm_cw", &RectangularTransducer::fnm_cw, kavro_oracle::add_fnm_cw, false},
    {"fnm_cw_single", &RectangularTransducer::fnm_cw_single, kavro_oracle::add_fnm_cw_single,
     false},
    {"fnm_cw_sse", &RectangularTransducer::fnm_cw_sse, kavro_oracle::add_fnm_cw_sse, true},
    {"fnm_cw_sse2", &RectangularTransducer::fnm_cw_sse2, kavro_oracle::add_fnm_cw_sse2, true},
    {"farfield_cw", &RectangularTransducer::farfield_cw, kavro_oracle::add_farfield_cw, false},
    {"farfield_cw_lossless", &RectangularTransducer::farfield_cw_lossless,
     kavro_oracle::add_farfield_cw_lossless, false},
    {"rayleigh_cw", &RectangularTransducer::rayleigh_cw, kavro_oracle::add_rayleigh_cw, false},
    {"rayleigh_cw_sse", &RectangularTransducer::rayleigh_cw_sse, kavro_oracle::add_rayleigh_cw_sse,
     true},
    {"radiator_cw", &RectangularTransducer::radiator_cw,
     [](const RectangleScene& scene, ComplexField& field) {
         kavro_oracle::add_radiator_cw(scene, field);
     },
     false}};

RectangleScene lossy(RectangleScene scene) {
    scene.f0 = 1.3e6;
    scene.attenuation = 3.0;
    scene.rectangles[0].phase = 0.7;
    scene.rectangles[0].amplitude = 1.5;
    return scene;
}

// Takes out the points at which the radiator's rule is endless.
void stay_off_the_faces(RectangleScene& scene) {
    std::erase_if(scene.points, [&](const Triple& p) {
        return std::ranges::any_of(scene.rectangles, [&](const Rectangle& rectangle) {
            RectangularTransducer element = element_of(rectangle, false);
            element.InitializeRotationMatrix();
            const double z = element.rotateTranslate({p.x, p.y, p.z}).z;
            return std::fabs(z) < 1e-4;
        });
    });
}

// Points over the nine regions around the face, on their borders, at three heights.
RectangleScene around_the_face(double attenuation) {
    RectangleScene scene = rectangle_scene();
    scene.exact = true;
    scene.attenuation = attenuation;
    std::erase_if(scene.points, [](const Triple& p) { return p.z <= 0; });
    for (Triple& p : scene.points) {
        p.z = p.z < 1e-3 ? 2e-3 : p.z;
    }
    return scene;
}

double largest_error(const Pressure& pressure, const Pressure& expected) {
    double error = 0;
    double scale = 0;
    for (std::size_t p = 0; p < pressure.size(); ++p) {
        error = std::fmax(error, std::abs(pressure[p] - expected[p]));
        scale = std::fmax(scale, std::abs(expected[p]));
    }
    return error / scale;
}

// ---- against the oracle

TEST(RectangleContinuousWave, AgreesWithTheOracle) {
    RectangleScene turned = lossy(rectangle_scene());
    turned.rectangles = turned_rectangles();
    turned.speed = 1540.7;
    turned.density = 1060.3;
    stay_off_the_faces(turned);
    for (RectangleScene scene : {rectangle_scene(), lossy(rectangle_scene()), turned}) {
        for (const bool exact : {false, true}) {
            scene.exact = exact;
            for (const int n : {7, 12}) {
                scene.ndiv = n;
                for (const Operation& operation : operations) {
                    SCOPED_TRACE(std::string(operation.name) + ", n = " + std::to_string(n));
                    ComplexField expected = kavro_oracle::complex_silence(scene);
                    operation.oracle(scene, expected);
                    EXPECT_TRUE(agrees(cw_by_library(scene, operation.solve), expected.values,
                                       expected.terms, operation.single ? 1e-6 : 1e-13));
                }
            }
        }
    }
}

TEST(RectangleContinuousWave, DoesNotDependOnThreadsAndVectors) {
    RectangleScene scene = lossy(rectangle_scene());
    scene.rectangles = turned_rectangles();
    stay_off_the_faces(scene);
    for (const Operation& operation : operations) {
        kavro::set_thread_count(1);
        kavro::set_vector_target(kavro::VectorTarget::scalar);
        const Pressure plain = cw_by_library(scene, operation.solve);
        kavro::set_thread_count(3);
        kavro::set_vector_target(std::nullopt);
        EXPECT_EQ(cw_by_library(scene, operation.solve), plain) << operation.name;
    }
    kavro::set_thread_count(0);
}

TEST(RectangleContinuousWave, WithoutAFrequencyOnlyTheWavelengthIsOneOfAMegahertz) {
    RectangleScene scene = lossy(rectangle_scene());
    scene.f0 = 0.0;
    const Pressure silence(scene.points.size());
    for (const Operation& operation : operations) {
        const Recorder console;
        const Pressure pressure = cw_by_library(scene, operation.solve);
        EXPECT_EQ(console.warnings,
                  (std::vector<std::string>{
                      "f0 not set; using default of 1 MHz to calculate wavelength."}));
        const bool is_nearfield = operation.name[1] == 'n';
        if (!is_nearfield) {
            EXPECT_EQ(pressure, silence) << operation.name;
            continue;
        }
        RectangleScene megahertz = scene;
        megahertz.f0 = 1e6;
        megahertz.attenuation = 0.0;
        EXPECT_EQ(pressure, cw_by_library(megahertz, operation.solve)) << operation.name;
    }
}

// ---- the radiator's rule

struct RadiatorStage {
    explicit RadiatorStage(const RectangleScene& scene)
        : records(scene), element(element_of(scene.rectangles[0], scene.exact)) {
        records.connect_continuous_wave(element);
    }

    RectangleRecords records;
    RectangularTransducer element;
};

TEST(RectangleContinuousWave, TheRadiatorLeavesTheRuleOfItsLastPoint) {
    RectangleScene scene = rectangle_scene();
    scene.points = {{0, 0, 1e-3}, {1e-3, 0, 2e-3}, {0, 0, 0}, {0, 0, -1e-3}};
    RadiatorStage stage(scene);
    ASSERT_EQ(stage.element.radiator_cw(), kavro::status_success);
    ComplexField ignored = kavro_oracle::complex_silence(scene);
    kavro::NumericalIntegration expected;
    expected.allocate_memory(kavro_oracle::add_radiator_cw(scene, ignored));
    expected.gauss_quadrature();
    EXPECT_GT(expected.npoints, 12);
    EXPECT_EQ(stage.records.rule.npoints, expected.npoints);
    EXPECT_EQ(stage.records.rule.abscissas, expected.abscissas);
    EXPECT_EQ(stage.records.rule.weights, expected.weights);

    scene.points.erase(scene.points.begin(), scene.points.begin() + 2);
    RadiatorStage unreached(scene);
    ASSERT_EQ(unreached.element.radiator_cw(), kavro::status_success);
    EXPECT_EQ(unreached.records.rule.npoints, scene.ndiv);
}

// Close to the face the rule has more abscissas than there is memory, or time.
TEST(RectangleContinuousWave, TheRadiatorNeitherOverflowsNorHangs) {
    RectangleScene scene = rectangle_scene();
    for (const double z : {1e-300, 1e-30, 1e-17}) {
        scene.points = {{0, 0, z}};
        RadiatorStage stage(scene);
        EXPECT_EQ(stage.element.radiator_cw(), kavro::status_out_of_memory) << z;
        EXPECT_EQ(stage.records.rule.npoints, scene.ndiv);
    }
    // Given up within the rule, within the sum, and while the calling thread has nothing left to
    // do.
    kavro::set_thread_count(2);
    for (const double z : {1e-8, 1.6e-5}) {
        for (const std::size_t idle : {0u, 31u}) {
            int asked = 0;
            const kavro::console::Connection impatient(
                {{}, {}, {}, [&asked] { return ++asked > 3; }});
            scene.points.assign(idle, {0, 0, -1.0});
            scene.points.insert(scene.points.begin() + static_cast<int>(idle / 2), {0, 0, z});
            RadiatorStage stage(scene);
            EXPECT_EQ(stage.element.radiator_cw(), kavro::status_interrupted) << z;
        }
    }
    kavro::set_thread_count(0);
}

// ---- physics

TEST(RectangleContinuousWave, NearfieldMethodBecomesTheRayleighIntegral) {
    for (const double attenuation : {0.0, 8.0}) {
        RectangleScene scene = around_the_face(attenuation);
        scene.ndiv = 96;
        const Pressure rayleigh = cw_by_library(scene, &RectangularTransducer::rayleigh_cw);
        double former = 1;
        for (const int n : {8, 16, 32}) {
            scene.ndiv = n;
            const double error =
                largest_error(cw_by_library(scene, &RectangularTransducer::fnm_cw), rayleigh);
            EXPECT_LT(error, 0.2 * former) << n << " abscissas";
            former = error;
        }
        scene.ndiv = 96;
        const Pressure nearfield = cw_by_library(scene, &RectangularTransducer::fnm_cw);
        EXPECT_LT(largest_error(nearfield, rayleigh), 1e-12) << attenuation;
        for (const RectangleSolve single :
             {&RectangularTransducer::fnm_cw_single, &RectangularTransducer::fnm_cw_sse,
              &RectangularTransducer::fnm_cw_sse2, &RectangularTransducer::rayleigh_cw_sse}) {
            EXPECT_LT(largest_error(cw_by_library(scene, single), rayleigh), 1e-5);
        }
    }
}

TEST(RectangleContinuousWave, ExactRadiatorBecomesTheRayleighIntegral) {
    RectangleScene scene = around_the_face(2.0);
    scene.ndiv = 96;
    const Pressure rayleigh = cw_by_library(scene, &RectangularTransducer::rayleigh_cw);
    double former = 1;
    for (const int n : {4, 16, 64}) {
        scene.ndiv = n;
        const double error =
            largest_error(cw_by_library(scene, &RectangularTransducer::radiator_cw), rayleigh);
        EXPECT_LT(error, 0.2 * former) << n;
        former = error;
    }
    EXPECT_LT(former, 2e-3);
}

TEST(RectangleContinuousWave, FarFieldIsTheLimitOfTheRayleighIntegral) {
    RectangleScene scene = rectangle_scene();
    scene.attenuation = 0.2;
    scene.ndiv = 64;
    double former = 1;
    for (const double R : {0.1, 1.0, 10.0}) {
        scene.points.clear();
        for (const double theta : {0.0, 0.2, 0.5, 1.2}) {
            for (const double phi : {0.0, 0.6, pi / 2, 4.0}) {
                scene.points.push_back({R * std::sin(theta) * std::cos(phi),
                                        R * std::sin(theta) * std::sin(phi), R * std::cos(theta)});
            }
        }
        const double error =
            largest_error(cw_by_library(scene, &RectangularTransducer::farfield_cw),
                          cw_by_library(scene, &RectangularTransducer::rayleigh_cw));
        EXPECT_LT(error, 0.15 * former) << R;
        former = error;
    }
    EXPECT_LT(former, 2e-3);
    scene.attenuation = 0.0;
    EXPECT_EQ(cw_by_library(scene, &RectangularTransducer::farfield_cw),
              cw_by_library(scene, &RectangularTransducer::farfield_cw_lossless));
}

TEST(RectangleContinuousWave, SquareRadiatesFarAwayLikeADiscOfEqualArea) {
    RectangleScene scene = rectangle_scene();
    scene.ndiv = 64;
    scene.points = {{0, 0, 3}, {0.1, 0, 3}, {0.1, -0.1, 3}};
    const double side = 1e-3;
    scene.rectangles = {{side, side, {}, {}, 1.0, 0.3, 0.0, nullptr}};
    const Pressure square = cw_by_library(scene, &RectangularTransducer::fnm_cw);

    RectangleRecords records(scene);
    kavro::CircularTransducer disc(side / std::sqrt(pi), 1.0, 0.3);
    records.connect_continuous_wave(disc);
    ASSERT_EQ(disc.fnm_cw(), kavro::status_success);
    for (std::size_t p = 0; p < square.size(); ++p) {
        const Complex of_disc(records.pressure_real[p], records.pressure_imag[p]);
        EXPECT_LT(std::abs(square[p] - of_disc), 1e-3 * std::abs(of_disc));
    }
}

TEST(RectangleContinuousWave, PartsAddUpAndTurningIsRenaming) {
    RectangleScene scene = around_the_face(2.0);
    scene.ndiv = 64;
    const Pressure whole = cw_by_library(scene, &RectangularTransducer::fnm_cw);
    scene.rectangles = {{4e-3, 2e-3, {0, -2e-3, 0}, {}, 1, 0, 0, nullptr},
                        {4e-3, 4e-3, {0, 1e-3, 0}, {}, 1, 0, 0, nullptr}};
    EXPECT_LT(largest_error(cw_by_library(scene, &RectangularTransducer::fnm_cw), whole), 1e-12);

    // A quarter turn about the axis exchanges width and height.
    scene.rectangles = {{6e-3, 4e-3, {}, {0, 0, pi / 2}, 1, 0, 0, nullptr}};
    EXPECT_LT(largest_error(cw_by_library(scene, &RectangularTransducer::fnm_cw), whole), 1e-11);

    // Points that move with a tilted and shifted face see the same field.
    scene.rectangles = {{4e-3, 6e-3, {2e-3, -1e-3, 5e-3}, {0, 0.4, 0}, 1, 0, 0, nullptr}};
    for (Triple& p : scene.points) {
        p = {p.x + 2e-3, std::cos(0.4) * p.y - std::sin(0.4) * p.z - 1e-3,
             std::sin(0.4) * p.y + std::cos(0.4) * p.z + 5e-3};
    }
    EXPECT_LT(largest_error(cw_by_library(scene, &RectangularTransducer::fnm_cw), whole), 1e-11);
}

}  // namespace
}  // namespace kavro_test
