// The element model: placement, weighting, superposition, and what an element says of itself.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::CircularTransducer;
using Complex = std::complex<double>;

TEST(Medium, StartsWithNothingInIt) {
    const kavro::Medium medium;
    for (const double value : {medium._f0, medium._fs, medium._soundspeed, medium._dBcmMHz,
                               medium._powerlawcoeff, medium._rho_density, medium._ct, medium._cb,
                               medium._wb, medium._b, medium._kappa, medium._beta}) {
        EXPECT_EQ(value, 0.0);
    }
}

TEST(Element, WeighsWithAmplitudeAndPhaseOnceTheyAreSet) {
    const Recorder console;
    CircularTransducer element;
    EXPECT_EQ(element.get_amplitude(), 1.0);
    EXPECT_EQ(element.complex_weight, Complex(0, 0));
    element.set_phase(0);
    EXPECT_EQ(element.complex_weight, Complex(1, 0));
    element.set_amplitude(2);
    element.set_phase(std::numbers::pi / 2);
    EXPECT_NEAR(std::abs(element.complex_weight - Complex(0, 2)), 0, 1e-15);
    EXPECT_TRUE(console.is_silent());

    double re = 3, im = -4;
    element.set_complex_weight(&re, &im);
    EXPECT_EQ(element.complex_weight, Complex(3, -4));
    element.set_complex_weight(&re, nullptr);
    EXPECT_EQ(element.complex_weight, Complex(3, 0));
    EXPECT_EQ(element.amplitude, 2.0);
    const std::string warning =
        "KAVRO no longer uses the complex_weight property. Please use phase and amplitude instead.";
    EXPECT_EQ(console.warnings, (std::vector<std::string>{warning, warning}));
}

template <class Shape, class... Sizes>
void expect_weighted(Sizes... sizes) {
    const Shape delayed(sizes..., 1e-6), phased(sizes..., 2, 0.5);
    EXPECT_EQ(delayed.get_time_delay(), 1e-6);
    EXPECT_EQ(delayed.complex_weight, Complex(0, 0));
    EXPECT_EQ(phased.get_time_delay(), 0.0);
    EXPECT_EQ(phased.get_phase(), 0.5);
    EXPECT_EQ(phased.complex_weight, Complex(2 * std::cos(0.5), 2 * std::sin(0.5)));
}

TEST(Element, IsMadeWithADelayOrAmplitudeAndPhase) {
    expect_weighted<CircularTransducer>(1.0);
    expect_weighted<kavro::RectangularTransducer>(1.0, 2.0);
    expect_weighted<kavro::RingTransducer>(1.0, 2.0);
    expect_weighted<kavro::SphericalTransducer>(1.0, 2.0);
    expect_weighted<kavro::SphericalRingTransducer>(1.0, 2.0, 3.0);
}

TEST(Element, IsInOneModeAtATime) {
    CircularTransducer element;
    double re = 0, im = 0, transient = 0;
    element.set_complex_pressure_pointers(&re, &im);
    element.set_transient_pressure_pointer(&transient);
    EXPECT_EQ(element.pressure_real, nullptr);
    EXPECT_EQ(element.pressure_imag, nullptr);
    element.set_complex_pressure_pointers(&re, &im);
    EXPECT_EQ(element.transient_pressure, nullptr);
    EXPECT_EQ(element.pressure_real, &re);
    EXPECT_EQ(element.pressure_imag, &im);
}

TEST(Element, WarnsAboutAnEndTimeThatNobodyComputed) {
    const Recorder console;
    CircularTransducer element;
    EXPECT_EQ(element.get_impulse_begin_time(), -1.0);
    EXPECT_EQ(element.get_impulse_end_time(), -1.0);
    const std::string warning =
        "Impulse end time used before impulse_begin_and_end_times was called.\n";
    EXPECT_EQ(console.warnings, std::vector<std::string>{warning});
    element.impulse_end_time = 0.0;
    element.get_impulse_end_time();
    EXPECT_EQ(console.warnings.size(), 1u);
}

// ---- placement

void expect_near(const CartesianCoordinate& p, double x, double y, double z) {
    EXPECT_NEAR(p.x, x, 1e-15);
    EXPECT_NEAR(p.y, y, 1e-15);
    EXPECT_NEAR(p.z, z, 1e-15);
}

TEST(Placement, QuarterTurnsGoTheAgreedWay) {
    CircularTransducer element;
    const double quarter = std::numbers::pi / 2;
    const auto local = [&](double a, double b, double c, CartesianCoordinate p) {
        element.set_euler(a, b, c);
        element.InitializeRotationMatrix();
        return element.rotateTranslate(p);
    };
    expect_near(local(quarter, 0, 0, {1, 2, 0}), 0, 2, 1);
    expect_near(local(0, quarter, 0, {0, 1, 2}), 0, 2, -1);
    expect_near(local(0, 0, quarter, {1, 2, 0}), 2, -1, 0);
}

TEST(Placement, IsARigidMotion) {
    for (const unsigned seed : {11u, 12u, 13u}) {
        Values angles = noise(3, seed);
        double center[] = {0.5, -0.25, 2};
        CircularTransducer element;
        element.set_euler(angles.data());
        element.set_center(center);
        element.InitializeRotationMatrix();
        expect_near(element.rotateTranslate({0.5, -0.25, 2}), 0, 0, 0);
        const CartesianCoordinate x = element.rotateTranslate({1.5, -0.25, 2});
        const CartesianCoordinate y = element.rotateTranslate({0.5, 0.75, 2});
        const CartesianCoordinate z = element.rotateTranslate({0.5, -0.25, 3});
        EXPECT_NEAR(x.calculate_distance(0, 0, 0), 1, 1e-15);
        EXPECT_NEAR(x.x * y.x + x.y * y.y + x.z * y.z, 0, 1e-15);
        // x cross y is z: no mirror image.
        expect_near(z, x.y * y.z - x.z * y.y, x.z * y.x - x.x * y.z, x.x * y.y - x.y * y.x);
    }
}

// ---- superposition

TEST(Superposition, AddsWithThePointIndexFastest) {
    kavro::CoordinateGrid grid;
    grid.npoints = 3;
    kavro::TimeSamples times;
    times.ntimes = 2;
    Values pressure(6, 1.0), re(4, 1.0), im(4, 1.0);
    CircularTransducer element;
    element.set_global_coordinate_grid(&grid);
    element.set_time_vector(&times);
    element.set_transient_pressure_pointer(pressure.data());
    const double series[] = {5, 7};
    const float single[] = {0.1f, 0.2f};
    element.superpose_transient_pressure(1, series);
    element.superpose_transient_pressure(2, single);
    EXPECT_EQ(pressure, (Values{1, 6, 1 + double(0.1f), 1, 8, 1 + double(0.2f)}));
    element.zerofill_transient_pressure();
    EXPECT_EQ(pressure, Values(6, 0.0));

    element.set_complex_pressure_pointers(re.data(), im.data());
    element.superpose_complex_pressure(2, {10, 20});
    EXPECT_EQ(re, (Values{1, 1, 11, 1}));
    EXPECT_EQ(im, (Values{1, 1, 21, 1}));
    element.zerofill_complex_pressure();
    EXPECT_EQ(re, (Values{0, 0, 0, 1}));
    EXPECT_EQ(im, (Values{0, 0, 0, 1}));
}

// ---- what it says of itself

TEST(Element, ShowsPlaceWeightAndSizesOnTheConsole) {
    const std::string base =
        "Element center: (1.000000e+00, 2.000000e+00, 3.000000e+00)\n"
        "Element Euler angles: (5.000000e-01, 0.000000e+00, -5.000000e-01)\n"
        "Amplitude: 1.000000e+00\nPhase: 0.000000e+00\nTime Delay: 1.000000e-06\n"
        "Complex Weight: 1.000000e+00 + 0.000000e+00 i\n";
    const std::string records =
        "Parameters:\nfs: 0.000000\nf0: 1000000.000000\nc: 1500.000000\nattenuation: 0.100000\n"
        "density: 1000.000000\n\nCoordinate grid:\nx range: -0.004000 to 0.005000\n"
        "y range: 0.000000 to 0.250000\nz range: -0.000001 to 0.006000\n";
    const std::pair<const char*, const char*> of_shapes[] = {
        {"circ", "radius: 1.000000\n"},
        {"rect", "width: 1.000000\nheight: 2.000000\n\n"},
        {"ring", "inner radius: 1.000000\nouter radius: 2.000000\n\n"},
        {"shel", "radius: 1.000000\n"},
        {"sph ring",
         "inner radius: 1.000000\nouter radius: 2.000000\ngeometric focus: 3.000000\n\n"}};
    for (const auto& [shape, sizes] : of_shapes) {
        Tank tank;
        tank.sources = {{.shape = shape,
                         .sizes = {1, 2, 3},
                         .center = {1, 2, 3},
                         .euler = {0.5, 0, -0.5},
                         .time_delay = 1e-6}};
        tank.set_points({{-4e-3, 0, 6e-3}, {5e-3, 0.25, -1e-6}});
        const Measurement measurement(tank, operation_named("fnm_cw"));
        const Recorder brief;
        measurement.owned[0]->mex_debug(0);
        EXPECT_EQ(brief.printed, base + sizes);
        const Recorder full;
        measurement.owned[0]->mex_debug(2);
        EXPECT_EQ(full.printed, base + records + sizes);
    }
}

std::string with_addresses_as(const std::string& sign, std::string text) {
    for (std::size_t at; (at = text.find("0x")) != std::string::npos;) {
        text.replace(at, text.find_first_not_of("0123456789abcdef", at + 2) - at, sign);
    }
    return text;
}

TEST(Element, ShowsItselfOnTheOutputStream) {
    Tank tank;
    tank.sources = {{.shape = "shel", .sizes = {0.25, 0.5}}};
    tank.set_points({{1, 2, 3}});
    const Measurement measurement(tank, operation_named("fnm_cw"));
    testing::internal::CaptureStdout();
    measurement.owned[0]->debug(2);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(with_addresses_as("@", text),
              "Center Coordinates Address: @\n  center.x: 0\n  center.y: 0\n  center.z: 0\n"
              "Euler Angles Address: @\n  euler.x: 0\n  euler.y: 0\n  euler.z: 0\n"
              "Main obs grid address: @\nParameters address: @\nAmplitude: 1\nPhase: 0\n"
              "Parameters Used:\n  c_sound: 1500\n  atten: 0.1\n  rho_den: 1000\n"
              "Local information\nGlobal information\n  Number of obs points: 1\n"
              "  X-range: 1 to 1\n  Y-range: 2 to 2\n  Z-range: 3 to 3\nIntegral info\n"
              "  Coordinates to calculate: 12\nradius: 0.25\nROC: 0.5\n");
}

class Triangle : public kavro::TriangleTransducer {
public:
    kavro::TransducerStatus kzk_transient() override { return kavro::status_not_implemented; }
    kavro::TransducerStatus kzk_cw() override { return kavro::status_not_implemented; }
};

// A triangle has one method, which looks at its records, shows them, and computes nothing.
TEST(Element, TriangleWalksAndComputesNothing) {
    Triangle triangle;
    Tank tank;
    for (const kavro::Operation& operation : kavro::operations()) {
        const bool has_it = std::string(operation.name) == "fnm_cw";
        EXPECT_EQ((triangle.*operation.solve)(),
                  has_it ? kavro::status_failure : kavro::status_not_implemented);
    }
    tank.medium._f0 = 0.0;
    triangle.set_global_coordinate_grid(&tank.grid);
    triangle.set_medium(&tank.medium);
    triangle.set_integral_pointer(&tank.rule);
    const Recorder console;
    testing::internal::CaptureStdout();
    EXPECT_EQ(triangle.fnm_cw(), kavro::status_success);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(console.warnings, std::vector<std::string>{"f0 not set; using default of 1 MHz to "
                                                         "calculate wavelength."});
    EXPECT_EQ(triangle.kzk_nonlinear(), kavro::status_not_implemented);
}

}  // namespace
}  // namespace kavro_test
