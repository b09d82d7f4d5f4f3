// The rectangle's direct transient pressure, impulse response and arrivals: against the oracle, and
// against each other, which compute the same by other ways.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "rectangle_support.h"

namespace kavro_test {
namespace {

using kavro::RectangularTransducer;

using kavro_oracle::Terms;

// A user's waveform that jumps at both ends and is zero outside, as the contract wants it.
class ShortRamp : public Ramp {
public:
    using Ramp::Ramp;
    double at(double const& t) const override { return t > 0 && t < w ? Ramp::at(t) : 0.0; }
};

template <class Pulse>
Waveform pulse(Pulse made, bool exact = false) {
    made.set_exact(exact);
    return std::make_shared<Pulse>(made);
}

struct Kind {
    const char* name;
    Waveform waveform;
    // Whether the terms of the decomposition are much larger than their sum, as those of an
    // expanded cube are: rounding is then of their size.
    bool cancels = false;
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all = {
        {"tone burst", pulse(kavro::ToneBurst(1e6, 2.3e-6, 0))},
        {"Hanning", pulse(kavro::HanningPulse(1e6, 2e-6, 0))},
        {"t cubed", pulse(kavro::TCubedPulse(1e6, 2e-6, 4e5)), true},
        {"clipped signal", sampled(noise(17, 2), 1e-7, 1.7e-6, 0.2)},
        {"exact signal", pulse(kavro::ExcitationFunction(noise(24, 1), 1e-7, 2.4e-6, 0.0), true)},
        {"ramp", pulse(ShortRamp(1.7e-6))}};
    return all;
}

struct Method {
    const char* name;
    RectangleSolve solve;
    void (*oracle)(const RectangleScene&, Field&, WindowLog*);
    double tolerance;
    bool needs_complex = false;
};

const Method methods[] = {{"fnm_transient", &RectangularTransducer::fnm_transient,
                           kavro_oracle::add_fnm_transient, 1e-13},
                          {"fnm_tsd", &RectangularTransducer::fnm_tsd,
                           [](const RectangleScene& scene, Field& field, WindowLog* log) {
                               kavro_oracle::add_double(scene, Terms::real, field, log);
                           },
                           1e-13},
                          {"fnm_fdtsd", &RectangularTransducer::fnm_fdtsd,
                           [](const RectangleScene& scene, Field& field, WindowLog* log) {
                               kavro_oracle::add_double(scene, Terms::complex, field, log);
                           },
                           1e-13, true},
                          {"fnm_tsd_low_precision", &RectangularTransducer::fnm_tsd_low_precision,
                           kavro_oracle::add_single_unrounded, 1e-6},
                          // The literal sum of all edge waves rounds after each of them.
                          {"fnm_tsd_low_precision", &RectangularTransducer::fnm_tsd_low_precision,
                           kavro_oracle::add_single, 3e-6}};

// Rounding is measured by each point's peak or, where an axis may miss the peak, by the magnitude
// of the terms.
enum class Measure { peak, terms };

void compare(const std::string& what, const RectangleScene& scene, Measure measure) {
    for (const Kind& kind : kinds()) {
        const kavro_oracle::ProductWaveform waveform(*kind.waveform);
        const RectangleScene with_waveform = driven(scene, waveform);
        for (const Method& method : methods) {
            if (method.needs_complex && !kind.waveform->has_complex_decomposition()) {
                continue;
            }
            SCOPED_TRACE(what + ", " + kind.name + ", " + method.name);
            Field expected = kavro_oracle::silence(scene);
            WindowLog log;
            method.oracle(with_waveform, expected, &log);
            Yardstick yardstick = yardstick_of(expected, log, scene.points.size());
            for (double& scale :
                 yardstick.terms_scale) {  // an onset is no better than its instants
                scale = std::fmax(scale, 1e-9 * scene.density * scene.speed);
            }
            const Field field = transient_by_library(scene, method.solve, *kind.waveform);
            const bool by_terms = kind.cancels || measure == Measure::terms;
            ASSERT_TRUE(agrees(field, yardstick, method.tolerance, by_terms));
        }
    }
    Field expected = kavro_oracle::silence(scene);
    kavro_oracle::add_impulse_response(scene, expected);
    const Field response =
        transient_by_library(scene, &RectangularTransducer::impulse_response, *kinds()[0].waveform);
    EXPECT_LE(largest_difference(response, expected), 1e-13 * 4 * scene.speed) << what;
}

TEST(RectangleTransient, AgreesWithTheOracle) {
    RectangleScene scene = rectangle_scene();
    compare("plain", scene, Measure::peak);
    scene.rectangles = turned_rectangles();
    scene.speed = 1540.7;
    scene.density = 1060.3;
    scene.ndiv = 7;
    compare("turned", scene, Measure::peak);
    scene.ndiv = 3;
    set_times(scene, 1.0 / 37e6, 3.1e-6, 97);
    compare("late start, early end", scene, Measure::terms);
    set_times(scene, 1.0 / 37e6, -4e-6, 60);
    compare("over before anything arrives", scene, Measure::terms);
    scene = rectangle_scene();
    scene.ndiv = 5;
    scene.rectangles[0].time_delay = -2.2e-6;
    set_times(scene, 1.7e-7, -1e-6, 11);
    compare("negative delay, few samples", scene, Measure::terms);
    set_times(scene, 1.0 / 37e6, 0, 150);
    std::rotate(scene.times.begin(), scene.times.begin() + 41, scene.times.end());
    scene.deltat = 0.0;
    compare("list", scene, Measure::terms);
}

TEST(RectangleTransient, ArrivalsAreThoseOfTheOracle) {
    RectangleScene scene = rectangle_scene();
    for (const Rectangle& rectangle : turned_rectangles()) {
        RectangleRecords records(scene);
        RectangularTransducer element = element_of(rectangle, false);
        records.connect(element);
        ASSERT_EQ(element.impulse_begin_and_end_times(), kavro::status_success);
        const kavro_oracle::ArrivalBounds bounds = kavro_oracle::arrival_bounds(scene, rectangle);
        EXPECT_EQ(element.get_impulse_begin_time(), bounds.begin);
        EXPECT_EQ(element.get_impulse_end_time(), bounds.end);
        records.grid.npoints = 0;
        ASSERT_EQ(element.impulse_begin_and_end_times(), kavro::status_success);
        EXPECT_EQ(element.get_impulse_begin_time(), std::numeric_limits<double>::max());
        EXPECT_EQ(element.get_impulse_end_time(), 0.0);
    }
}

// h(t) = 1/(2 pi) times the area of the face from which a unit impulse arrives between t and t +
// dt, over R dt.
TEST(RectangleTransient, ImpulseResponseCountsTheArrivals) {
    RectangleScene scene = rectangle_scene();
    const double step = 5e-8;
    set_times(scene, step, 0, 180);
    std::erase_if(scene.points, [](const Triple& p) { return p.z == 0; });
    const auto at = [&](std::size_t p, std::size_t j) { return p + j * scene.points.size(); };
    Field counted = kavro_oracle::silence(scene);
    constexpr int cells = 900;
    const double dA = 4e-3 / cells * 6e-3 / cells;
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Triple& point = scene.points[p];
        for (int i = 0; i < cells; ++i) {
            for (int j = 0; j < cells; ++j) {
                const double dx = point.x - ((i + 0.5) / cells - 0.5) * 4e-3;
                const double dy = point.y - ((j + 0.5) / cells - 0.5) * 6e-3;
                const double R = std::sqrt(dx * dx + dy * dy + point.z * point.z);
                const auto bin = static_cast<std::size_t>(R / scene.speed / step);
                counted[at(p, bin)] += dA / R / (2 * std::numbers::pi * step);
            }
        }
    }
    // The mean of the response over each bin, from many samples in it.
    constexpr int fine = 64;
    Field mean = kavro_oracle::silence(scene);
    RectangleScene finely = scene;
    set_times(finely, step / fine, 0.5 * step / fine, 180 * fine);
    const Field response = transient_by_library(finely, &RectangularTransducer::impulse_response,
                                                *kinds()[0].waveform);
    for (std::size_t i = 0; i < response.size(); ++i) {
        const std::size_t p = i % scene.points.size();
        mean[at(p, i / scene.points.size() / fine)] += response[i] / fine;
    }
    EXPECT_LT(largest_difference(mean, counted), 0.02 * scene.speed);
    EXPECT_NEAR(peak_of(response), scene.speed, 1e-9 * scene.speed);
}

// p = rho dv/dt * h, here with the waveform's difference quotient.
TEST(RectangleTransient, ConvolvedResponseIsThePressure) {
    RectangleScene scene = rectangle_scene();
    std::erase_if(scene.points, [](const Triple& p) { return p.z < 1e-4; });
    scene.ndiv = 64;
    constexpr int fine = 32;
    const double step = 5e-8;
    set_times(scene, step, 0, 180);
    RectangleScene finely = scene;
    set_times(finely, step / fine, 0.5 * step / fine, 180 * fine);
    kavro::HanningPulse hanning(1e6, 2e-6, 0);
    const Field pressure =
        transient_by_library(scene, &RectangularTransducer::fnm_transient, hanning);
    const Field response =
        transient_by_library(finely, &RectangularTransducer::impulse_response, hanning);
    const std::size_t npoints = scene.points.size();
    Field convolved(pressure.size());
    for (std::size_t p = 0; p < npoints; ++p) {
        for (std::size_t j = 0; j < scene.times.size(); ++j) {
            for (std::size_t m = 0; m < std::min(finely.times.size(), (j + 1) * fine); ++m) {
                const double since = scene.times[j] - finely.times[m];
                if (since > -step / fine && since < 2.1e-6) {
                    const double rise = hanning.at(since + 0.5 * step / fine) -
                                        hanning.at(since - 0.5 * step / fine);
                    convolved[p + j * npoints] += scene.density * rise * response[p + m * npoints];
                }
            }
        }
    }
    EXPECT_LT(largest_difference(convolved, pressure), 4e-3 * peak_of(pressure));
}

TEST(RectangleTransient, DecompositionsAreTheDirectPressure) {
    RectangleScene scene = rectangle_scene();
    scene.rectangles = turned_rectangles();
    scene.ndiv = 32;
    const Waveform signal = kinds()[4].waveform;
    const Field direct =
        transient_by_library(scene, &RectangularTransducer::fnm_transient, *signal);
    for (const Method& method : methods) {
        const Field field = transient_by_library(scene, method.solve, *signal);
        EXPECT_LT(largest_difference(field, direct),
                  (method.tolerance > 1e-10 ? 2e-4 : 1e-10) * peak_of(direct))
            << method.name;
    }
}

}  // namespace
}  // namespace kavro_test
