// The disc against physics that nobody here wrote: closed forms and limits.
#include <gtest/gtest.h>

#include <cmath>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using Points = std::vector<CartesianCoordinate>;

constexpr double a = 3e-3;
constexpr double c = 1500.0;
constexpr double rho = 1000.0;

// A disc of radius a in water.
Tank disc_tank(const Points& points, const Waveform& waveform, double time_delay = 0.0) {
    Tank tank = tank_for(operation_named("fnm_tsd"), {{.sizes = {a}, .time_delay = time_delay}});
    tank.set_points(points);
    tank.waveform = waveform;
    return tank;
}

Values by(const char* name, const Tank& tank) {
    return measured(tank, operation_named(name));
}

Waveform hanning() {
    return std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
}

// A transient output of form(point, instant).
template <class Form>
Values filled(const Tank& tank, Form form) {
    Values values;
    for (const double t : tank.times.times) {
        for (const CartesianCoordinate& p : tank.points()) {
            values.push_back(form(p, t));
        }
    }
    return values;
}

// On the axis a disc radiates its waveform from the face and, negated, from the rim.
TEST(Physics, AxisOfADiscHasItsClosedForm) {
    for (const Waveform& waveform : exact_waveforms()) {
        Tank tank =
            disc_tank({{0, 0, 0}, {0, 0, 1e-3}, {0, 0, 7.3e-3}, {0, 0, 2.1e-2}}, waveform, 1.23e-7);
        tank.set_axis(1.03e-8, 0, 1700);
        const Values expected = filled(tank, [&](const CartesianCoordinate& p, double time) {
            const double t = time - 1.23e-7;
            return rho * c * (waveform->at(t - p.z / c) - waveform->at(t - std::hypot(p.z, a) / c));
        });
        EXPECT_TRUE(close_to(by("fnm_tsd", tank), expected, 1e-10));
        if (waveform->has_complex_decomposition()) {
            EXPECT_TRUE(close_to(by("fnm_fdtsd", tank), expected, 1e-10));
        } else {
            // Single precision knows a time of 16 us to 1e-12 s, a few millionths of a period.
            EXPECT_TRUE(close_to(by("fnm_tsd_sse", tank), expected, 5e-5));
        }
    }
}

// Far away the face is a point source: p = rho a^2/(2 z) v'(t - z/c).
TEST(Physics, FarFieldIsAPointSource) {
    Values peaks;
    for (const double z : {2.0, 4.0}) {
        Tank tank = disc_tank({{0, 0, z}}, hanning());
        tank.set_axis(1e-8, z / c - 1e-7, 240);
        const Values field = by("fnm_tsd", tank);
        EXPECT_TRUE(close_to(field,
                             filled(tank,
                                    [&](const CartesianCoordinate&, double t) {
                                        return rho * a * a / (2 * z) *
                                               tank.waveform->derivative(t - z / c);
                                    }),
                             0.01));
        peaks.push_back(peak_of(field));
    }
    EXPECT_NEAR(peaks[0] / peaks[1], 2.0, 1e-3);
}

// ---- arrival times

// Unless exact. The rim counts as the face.
TEST(ImpulseTimes, BehindTheFaceBeginTooEarly) {
    for (const bool exact : {false, true}) {
        for (const double x : {0.0, a}) {
            Tank tank = disc_tank({{x, 0, -1.5e-3}}, hanning());
            tank.sources[0].exact = exact;
            const Values times = by("impulse_begin_and_end_times", tank);
            EXPECT_DOUBLE_EQ(times[0], exact ? 1e-6 : -1e-6);
            EXPECT_DOUBLE_EQ(times[1], std::hypot(1.5e-3, x + a) / c);
        }
    }
}

}  // namespace
}  // namespace kavro_test
