// The element model: placement, weighting, superposition, and which shape answers which method.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <set>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::CircularTransducer;
using kavro::Transducer;

// The triangle leaves the two nonlinear methods open; this closes them.
class Triangle : public kavro::TriangleTransducer {
public:
    kavro::TransducerStatus kzk_transient() override { return kavro::status_not_implemented; }
    kavro::TransducerStatus kzk_cw() override { return kavro::status_not_implemented; }
};

TEST(Transducer, StartsWithAmplitudeOneAndNoWeight) {
    CircularTransducer element;
    EXPECT_EQ(element.get_amplitude(), 1.0);
    EXPECT_EQ(element.get_phase(), 0.0);
    EXPECT_EQ(element.get_time_delay(), 0.0);
    EXPECT_EQ(element.get_impulse_begin_time(), -1.0);
    EXPECT_EQ(element.get_piston_apodization_index(), 0);
    EXPECT_EQ(element.complex_weight, std::complex<double>(0, 0));
    EXPECT_EQ(element.excitation, nullptr);
    EXPECT_FALSE(element.exact());
    element.set_phase(0);
    EXPECT_EQ(element.complex_weight, std::complex<double>(1, 0));
    element.set_amplitude(2);
    element.set_phase(std::numbers::pi / 2);
    EXPECT_NEAR(std::abs(element.complex_weight - std::complex<double>(0, 2)), 0, 1e-15);
    EXPECT_EQ(element.get_amplitude(), 2);
}

TEST(Transducer, SetsTheWeightDirectlyUnderProtest) {
    const Recorder console;
    CircularTransducer element;
    double re = 3, im = -4;
    element.set_complex_weight(&re, &im);
    EXPECT_EQ(element.complex_weight, std::complex<double>(3, -4));
    element.set_complex_weight(&re, nullptr);
    EXPECT_EQ(element.complex_weight, std::complex<double>(3, 0));
    EXPECT_EQ(element.amplitude, 1.0);
    const std::string warning =
        "KAVRO no longer uses the complex_weight property. Please use phase and amplitude instead.";
    EXPECT_EQ(console.warnings, (std::vector<std::string>{warning, warning}));
}

TEST(Transducer, IsInOneModeAtATime) {
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

TEST(Transducer, WarnsAboutAnEndTimeThatNobodyComputed) {
    const Recorder console;
    CircularTransducer element;
    EXPECT_EQ(element.get_impulse_end_time(), -1.0);
    EXPECT_EQ(console.warnings, (std::vector<std::string>{"Impulse end time used before "
                                                          "impulse_begin_and_end_times was "
                                                          "called.\n"}));
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
    expect_near(local(0, 0, 0, {1, 2, 3}), 1, 2, 3);
    expect_near(local(quarter, 0, 0, {1, 0, 0}), 0, 0, 1);
    expect_near(local(quarter, 0, 0, {0, 1, 0}), 0, 1, 0);
    expect_near(local(0, quarter, 0, {0, 1, 0}), 0, 0, -1);
    expect_near(local(0, quarter, 0, {0, 0, 1}), 0, 1, 0);
    expect_near(local(0, 0, quarter, {1, 0, 0}), 0, -1, 0);
    expect_near(local(0, 0, quarter, {0, 1, 0}), 1, 0, 0);
}

TEST(Placement, IsARigidMotion) {
    for (const std::vector<double>& angles : {noise(3, 11), noise(3, 12), noise(3, 13)}) {
        CircularTransducer element;
        element.set_euler(3 * angles[0], 3 * angles[1], 3 * angles[2]);
        element.set_center(0.5, -0.25, 2);
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

TEST(Placement, ThreeFormsSetTheSame) {
    CircularTransducer element;
    double values[] = {1, 2, 3};
    element.set_center(values);
    element.set_euler(values);
    expect_near(element.get_center(), 1, 2, 3);
    expect_near(element.euler, 1, 2, 3);
    element.set_center(CartesianCoordinate(4, 5, 6));
    element.set_euler(CartesianCoordinate(7, 8, 9));
    expect_near(element.get_center(), 4, 5, 6);
    expect_near(element.euler, 7, 8, 9);
}

// ---- superposition

TEST(Superposition, AddsWithThePointIndexFastest) {
    kavro::CoordinateGrid grid;
    grid.npoints = 3;
    kavro::TimeSamples times;
    times.ntimes = 2;
    std::vector<double> pressure = {1, 1, 1, 1, 1, 1};
    CircularTransducer element;
    element.set_global_coordinate_grid(&grid);
    element.set_time_vector(&times);
    element.set_transient_pressure_pointer(pressure.data());
    const double series[] = {5, 7};
    const float single[] = {0.1f, 0.2f};
    element.superpose_transient_pressure(1, series);
    element.superpose_transient_pressure(2, single);
    EXPECT_EQ(pressure, (std::vector<double>{1, 6, 1 + double(0.1f), 1, 8, 1 + double(0.2f)}));
    element.zerofill_transient_pressure();
    EXPECT_EQ(pressure, std::vector<double>(6, 0.0));

    std::vector<double> re(4, 1), im(4, 1);
    element.set_complex_pressure_pointers(re.data(), im.data());
    element.superpose_complex_pressure(2, {10, 20});
    EXPECT_EQ(re[2], 11);
    EXPECT_EQ(im[2], 21);
    element.zerofill_complex_pressure();
    EXPECT_EQ(re, (std::vector<double>{0, 0, 0, 1}));
    EXPECT_EQ(im, (std::vector<double>{0, 0, 0, 1}));
}

// ---- shapes

using Operation = std::pair<const char*, kavro::TransducerStatus (Transducer::*)()>;

const Operation operations[] = {
    {"farfield_cw", &Transducer::farfield_cw},
    {"fnm_cw", &Transducer::fnm_cw},
    {"fnm_cw_apodized", &Transducer::fnm_cw_apodized},
    {"fnm_cw_single", &Transducer::fnm_cw_single},
    {"fnm_cw_sse", &Transducer::fnm_cw_sse},
    {"fnm_cw_sse2", &Transducer::fnm_cw_sse2},
    {"radiator_cw", &Transducer::radiator_cw},
    {"rayleigh_cw", &Transducer::rayleigh_cw},
    {"rayleigh_cw_apodized", &Transducer::rayleigh_cw_apodized},
    {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse},
    {"impulse_begin_and_end_times", &Transducer::impulse_begin_and_end_times},
    {"impulse_response", &Transducer::impulse_response},
    {"fnm_transient", &Transducer::fnm_transient},
    {"fnm_transient_behind_source", &Transducer::fnm_transient_behind_source},
    {"fnm_fdtsd", &Transducer::fnm_fdtsd},
    {"fnm_tsd", &Transducer::fnm_tsd},
    {"fnm_tsd_behind_source", &Transducer::fnm_tsd_behind_source},
    {"fnm_tsd_low_precision", &Transducer::fnm_tsd_low_precision},
    {"fnm_tsd_sse", &Transducer::fnm_tsd_sse},
    {"rayleigh_transient", &Transducer::rayleigh_transient},
    {"kzk_transient", &Transducer::kzk_transient},
    {"kzk_cw", &Transducer::kzk_cw}};

// Every other method answers "not implemented" and touches no output; these succeed, but for the
// nonlinear marches, which need planes and get a list of points.
void expect_offers(Transducer& element, const std::set<std::string>& offered) {
    const Scene scene = plain_scene();
    Records records(scene);
    records.medium._f0 = 1e6;
    const Waveform waveform = sampled(noise(12, 14), 1e-7, 1.2e-6, 0.0);
    const Field sentinel(records.pressure.size(), 5.0);
    Field re = sentinel, im = sentinel;
    element.excitation = waveform.get();
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        records.pressure = sentinel;
        records.connect(element);
        element.pressure_real = re.data();
        element.pressure_imag = im.data();
        const bool available = offered.count(name) > 0;
        const bool marches = std::string(name).starts_with("kzk");
        EXPECT_EQ((element.*operation)(), !available ? 1 : marches ? kavro::status_failure : 0);
        if (!available) {
            EXPECT_TRUE(records.pressure == sentinel && re == sentinel && im == sentinel);
        }
    }
}

TEST(Shapes, AnswerTheMethodsThatTheyOffer) {
    const Recorder console;
    CircularTransducer disc(3e-3);
    expect_offers(disc,
                  {"fnm_cw", "fnm_cw_apodized", "fnm_cw_sse", "rayleigh_cw", "rayleigh_cw_apodized",
                   "rayleigh_cw_sse", "impulse_begin_and_end_times", "impulse_response",
                   "fnm_transient", "fnm_fdtsd", "fnm_tsd", "fnm_tsd_low_precision", "fnm_tsd_sse",
                   "rayleigh_transient", "kzk_transient", "kzk_cw"});
    kavro::RectangularTransducer rectangle(3e-3, 2e-3);
    expect_offers(rectangle, {"farfield_cw", "fnm_cw", "fnm_cw_single", "fnm_cw_sse", "fnm_cw_sse2",
                              "radiator_cw", "rayleigh_cw", "rayleigh_cw_sse",
                              "impulse_begin_and_end_times", "impulse_response", "fnm_transient",
                              "fnm_fdtsd", "fnm_tsd", "fnm_tsd_low_precision"});
    const std::set<std::string> annuli = {
        "fnm_cw",           "rayleigh_cw",          "impulse_begin_and_end_times",
        "impulse_response", "fnm_transient",        "fnm_fdtsd",
        "fnm_tsd",          "fnm_tsd_low_precision"};
    kavro::RingTransducer ring(1e-3, 2e-3);
    expect_offers(ring, annuli);
    kavro::SphericalTransducer shell(3e-3, 2e-2);
    std::set<std::string> of_shell = annuli;
    of_shell.insert({"fnm_cw_sse", "rayleigh_cw_sse", "fnm_transient_behind_source",
                     "fnm_tsd_behind_source", "kzk_transient", "kzk_cw"});
    expect_offers(shell, of_shell);
    EXPECT_EQ(shell.farfield_cw_lossless(), 1);
    kavro::SphericalRingTransducer spherical_ring(1e-3, 2e-3, 2e-2);
    expect_offers(spherical_ring, annuli);
    EXPECT_EQ(console.printed + std::to_string(console.warnings.size()), "0");
}

TEST(Shapes, TriangleWalksAndComputesNothing) {
    const Recorder console;
    Triangle triangle;
    testing::internal::CaptureStdout();
    expect_offers(triangle, {"fnm_cw"});
    EXPECT_EQ(triangle.kzk_nonlinear(), 1);
    EXPECT_TRUE(console.warnings.empty());
    Records records(plain_scene());
    records.connect(triangle);
    EXPECT_EQ(triangle.fnm_cw(), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(
        console.warnings,
        (std::vector<std::string>{"f0 not set; using default of 1 MHz to calculate wavelength."}));
    EXPECT_EQ(records.pressure, Field(records.pressure.size(), 0.0));
}

template <class Shape>
void expect_weighted(const Shape& delayed, const Shape& phased) {
    EXPECT_EQ(delayed.get_time_delay(), 1e-6);
    EXPECT_EQ(delayed.get_amplitude(), 1.0);
    EXPECT_EQ(delayed.complex_weight, std::complex<double>(0, 0));
    EXPECT_EQ(phased.get_time_delay(), 0.0);
    EXPECT_EQ(phased.get_amplitude(), 2.0);
    EXPECT_EQ(phased.get_phase(), 0.5);
    EXPECT_EQ(phased.complex_weight, std::complex<double>(2 * std::cos(0.5), 2 * std::sin(0.5)));
}

TEST(Shapes, ConstructorsTakeADelayOrAmplitudeAndPhase) {
    expect_weighted(CircularTransducer(0.01, 1e-6), CircularTransducer(0.01, 2, 0.5));
    expect_weighted(kavro::RectangularTransducer(0.01, 0.02, 1e-6),
                    kavro::RectangularTransducer(0.01, 0.02, 2, 0.5));
    expect_weighted(kavro::RingTransducer(0.01, 0.02, 1e-6),
                    kavro::RingTransducer(0.01, 0.02, 2, 0.5));
    expect_weighted(kavro::SphericalTransducer(0.01, 0.02, 1e-6),
                    kavro::SphericalTransducer(0.01, 0.02, 2, 0.5));
    expect_weighted(kavro::SphericalRingTransducer(0.01, 0.02, 0.03, 1e-6),
                    kavro::SphericalRingTransducer(0.01, 0.02, 0.03, 2, 0.5));
}

template <class Shape>
std::string shown(Shape element) {
    const Recorder console;
    element.mex_debug(0);
    return console.printed;
}

TEST(Shapes, ShowThemselvesOnTheConsole) {
    kavro::CircularTransducer disc(0.25, 1e-6);
    disc.set_center(1, 2, 3);
    disc.set_euler(0.5, 0, -0.5);
    const std::string base =
        "Element center: (1.000000e+00, 2.000000e+00, 3.000000e+00)\n"
        "Element Euler angles: (5.000000e-01, 0.000000e+00, -5.000000e-01)\n"
        "Amplitude: 1.000000e+00\nPhase: 0.000000e+00\nTime Delay: 1.000000e-06\n"
        "Complex Weight: 0.000000e+00 + 0.000000e+00 i\n";
    EXPECT_EQ(shown(disc), base + "radius: 0.250000\n");
    const auto tail = [](const std::string& text) { return text.substr(text.find(" i\n") + 3); };
    EXPECT_EQ(tail(shown(kavro::RectangularTransducer(1, 2))),
              "width: 1.000000\nheight: 2.000000\n\n");
    EXPECT_EQ(tail(shown(kavro::RingTransducer(1, 2))),
              "inner radius: 1.000000\nouter radius: 2.000000\n\n");
    EXPECT_EQ(tail(shown(kavro::SphericalTransducer(1, 2))), "radius: 1.000000\n");
    EXPECT_EQ(tail(shown(kavro::SphericalRingTransducer(1, 2, 3))),
              "inner radius: 1.000000\nouter radius: 2.000000\ngeometric focus: 3.000000\n\n");

    Records records(plain_scene());
    records.connect(disc);
    const Recorder console;
    disc.mex_debug(2);
    EXPECT_EQ(tail(console.printed),
              "Parameters:\nfs: 0.000000\nf0: 0.000000\nc: 1500.000000\nattenuation: 0.000000\n"
              "density: 1000.000000\n\nCoordinate grid:\nx range: -0.004500 to 0.005000\n"
              "y range: -0.003000 to 0.003000\nz range: -0.000001 to 0.006000\n"
              "radius: 0.250000\n");
}

TEST(Shapes, ShowThemselvesOnTheOutputStream) {
    kavro::SphericalTransducer shell(0.25, 0.5);
    Records records(plain_scene());
    records.connect(shell);
    testing::internal::CaptureStdout();
    shell.debug(2);
    const std::string text = testing::internal::GetCapturedStdout();
    std::size_t at = 0;
    for (const char* label : {"Center Coordinates Address:",
                              "center.x:",
                              "center.y:",
                              "center.z:",
                              "Euler Angles Address:",
                              "euler.x:",
                              "euler.y:",
                              "euler.z:",
                              "Main obs grid address:",
                              "Parameters address:",
                              "Amplitude:",
                              "Phase:",
                              "Parameters Used:",
                              "c_sound:",
                              "atten:",
                              "rho_den:",
                              "Local information",
                              "Global information",
                              "Number of obs points:",
                              "X-range:",
                              " to ",
                              "Y-range:",
                              "Z-range:",
                              "Integral info",
                              "Coordinates to calculate",
                              "radius:",
                              "ROC:"}) {
        at = text.find(label, at);
        ASSERT_NE(at, std::string::npos) << label;
    }
}

}  // namespace
}  // namespace kavro_test
