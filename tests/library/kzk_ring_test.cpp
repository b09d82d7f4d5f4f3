// Nonlinear marches of bowls with a hole: their axis without distortion is known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>

#include "kzk_support.h"
#include "transducers/kzk/choice.h"

namespace kavro_test {
namespace {

using KzkRing = Kzk;
using std::numbers::pi;

constexpr double hole = 8e-3;

// A bowl of 20 mm with its focus at 80 mm.
KzkBeam bowl(bool exact, double gain = 12.0) {
    KzkBeam beam;
    beam.shell = true;
    beam.exact = exact;
    beam.radius = 20e-3;
    beam.roc = 80e-3;
    beam.f0 = gain * beam.speed * beam.roc / (pi * beam.radius * beam.radius);
    beam.amplitude = 0.1;
    beam.beta = beam.attenuation = 0.0;
    beam.nx = 1;
    beam.xmax = 0.0;
    beam.nz = 6;
    beam.zmin = 56e-3;
    beam.zmax = 96e-3;
    beam.extent = 4.0f;
    beam.points_per_radius = 80.0f;
    beam.step = beam.growth = 0.01f;
    beam.harmonics = 1;
    beam.duration = 4.0 / beam.f0;
    beam.deltat = 1.0 / (40.0 * beam.f0);
    beam.tmin = beam.roc / beam.speed - 4.0 / beam.f0;
    beam.tmax = beam.roc / beam.speed + 6.0 / beam.f0;
    return beam;
}

void give_hole(KzkStage& stage) {
    auto ring =
        std::make_unique<kavro::SphericalRingTransducer>(hole, stage.beam.radius, stage.beam.roc);
    ring->set_amplitude(stage.beam.amplitude);
    ring->set_exact(stage.beam.exact);
    stage.use(std::move(ring));
}

// The waves of the two rims, which are a G (1/s - 1) (1 - h^2) apart at the range s in radii of
// curvature.
double on_axis(const KzkBeam& beam, double z) {
    const double gain = pi * beam.f0 * beam.radius * beam.radius / (beam.speed * beam.roc);
    const double s = z / beam.roc;
    const double area = 1.0 - std::pow(hole / beam.radius, 2);
    const double scale = beam.density * beam.speed * beam.amplitude;
    return scale * (std::abs(s - 1.0) < 1e-9
                        ? gain * area
                        : std::abs(2.0 / (1.0 - s) * std::sin(0.5 * gain * area * (1.0 - s) / s)));
}

TEST_F(KzkRing, AxisIsThatOfTheTwoRims) {
    for (const bool exact : {true, false}) {
        KzkStage stage(bowl(exact));
        give_hole(stage);
        ASSERT_EQ(stage.harmonics(), kavro::status_success);
        const double focus = on_axis(stage.beam, stage.beam.roc);
        // The reference's first steps are too long for what is far before the focus.
        for (int k = exact ? 0 : 2; k < stage.beam.nz; ++k) {
            const double expected = on_axis(stage.beam, stage.beam.zmin + 8e-3 * k);
            EXPECT_NEAR(stage.magnitude(0, k, 1), expected, (exact ? 0.001 : 0.05) * focus)
                << (exact ? "exact" : "reference") << ", plane " << k;
        }
    }
}

// The face's area over the distance, times the steepest slope of the velocity.
TEST_F(KzkRing, FocusOfAPulse) {
    for (const bool exact : {true, false}) {
        KzkBeam beam = bowl(exact, exact ? 12.0 : 4.0);
        beam.zmin = beam.roc;
        beam.zmax = 1.1 * beam.roc;  // the reference loses the last plane
        beam.nz = 2;
        // Its retarded time begins with the axis, and ends with it at the last plane.
        beam.tmin = exact ? beam.tmin : -2.0 / beam.f0;
        beam.tmax += 0.1 * beam.roc / beam.speed;
        beam.points_per_radius = 60.0f;
        KzkStage stage(beam);
        give_hole(stage);
        ASSERT_EQ(stage.transient(), kavro::status_success);
        double slope = 0.0;
        const double h = 1e-4 / beam.f0;
        for (double t = h; t < beam.duration - h; t += 0.01 / beam.f0) {
            slope = std::max(
                slope, std::abs(stage.waveform->at(t + h) - stage.waveform->at(t - h)) / (2 * h));
        }
        const double expected = beam.density * beam.amplitude * slope *
                                (beam.radius * beam.radius - hole * hole) / (2.0 * beam.roc);
        EXPECT_NEAR(peak_of(stage.series(0, 0)), expected, (exact ? 0.01 : 0.1) * expected)
            << (exact ? "exact" : "reference");
    }
}

// The marches' own choice, and the linear field off the axis.
TEST_F(KzkRing, ChosenParametersHoldTheFieldOfTheFastNearfieldMethod) {
    KzkBeam beam = bowl(true);
    beam.nx = 3;
    beam.xmax = 4e-3;
    KzkStage stage(beam);
    give_hole(stage);
    stage.medium._f0 = beam.f0;
    stage.rule.kzk_parameters = kavro::kzk::chosen_parameters(*stage.element, true, 0.01, 1);
    const auto parameters = stage.rule.kzk_parameters;
    stage.beam.points_per_radius = parameters.points_per_radius;
    stage.beam.growth = parameters.growth;
    ASSERT_EQ(stage.harmonics(), kavro::status_success);
    KzkStage other(beam);
    give_hole(other);
    other.rule.allocate_memory(100);
    other.rule.gauss_quadrature();
    std::ranges::fill(other.real, 0.0);
    std::ranges::fill(other.imag, 0.0);
    ASSERT_EQ(other.element->fnm_cw(), kavro::status_success);
    for (int k = 0; k < beam.nz; ++k) {
        for (int m = 0; m < beam.nx; ++m) {
            EXPECT_LT(std::abs(stage.phasor(m, k, 1) - other.phasor(m, k, 1)),
                      0.025 * on_axis(beam, beam.roc))
                << "plane " << k << ", x " << m;
        }
    }
}

}  // namespace
}  // namespace kavro_test
