// The disc against physics that nobody here wrote: closed forms and limits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using std::numbers::pi;
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

TEST(Physics, FieldMovesWithItsDisc) {
    const Points points = {{0, 0, 5e-3}, {1e-3, -1e-3, 4e-3}, {5e-3, 1e-3, 6e-3}, {1e-3, 0, -1e-3}};
    for (const Waveform& waveform : exact_waveforms()) {
        const Tank still = disc_tank(points, waveform);
        Tank moved = still;
        moved.sources[0].center = {0.01, -0.02, 0.03};
        moved.sources[0].euler = {0.4, -1.1, 2.6};
        const auto element = element_of(moved.sources[0]);
        element->InitializeRotationMatrix();
        const auto& m = element->rotation_matrix;  // global to local, so read by columns here
        Points there;
        for (const auto& [x, y, z] : points) {
            there.emplace_back(0.01 + m[0] * x + m[3] * y + m[6] * z,
                               -0.02 + m[1] * x + m[4] * y + m[7] * z,
                               0.03 + m[2] * x + m[5] * y + m[8] * z);
        }
        moved.set_points(there);
        EXPECT_TRUE(close_to(by("fnm_tsd", moved), by("fnm_tsd", still), 1e-8));
    }
}

// ---- arrival times

// Earliest and latest arrival at a point over a fine net of the face.
std::pair<double, double> arrivals(const CartesianCoordinate& p) {
    double nearest = 1e9, farthest = 0;
    for (int i = 0; i <= 300; ++i) {
        for (int j = 0; j < 720; ++j) {
            const double s = a * i / 300, angle = pi * j / 360;
            const double R = std::hypot(p.x - s * std::cos(angle), p.y - s * std::sin(angle), p.z);
            nearest = std::min(nearest, R);
            farthest = std::max(farthest, R);
        }
    }
    return {nearest / c, farthest / c};
}

TEST(ImpulseTimes, AreTheEarliestAndLatestArrival) {
    const double delay = 2.5e-7;
    double begin = 1e9, end = 0;
    Points points;
    for (const CartesianCoordinate& p : Points{{1e-3, -1e-3, 4e-3},
                                               {5e-3, 1e-3, 6e-3},
                                               {0, 0, 1e-3},
                                               {3e-3, 0, 2e-3},
                                               {-4e-3, 0, 0}}) {
        points.push_back(p);
        const Values times = by("impulse_begin_and_end_times", disc_tank(points, hanning(), delay));
        const auto [first, last] = arrivals(p);
        begin = std::min(begin, first + delay);
        end = std::max(end, last + delay);
        EXPECT_NEAR(times[0], begin, 5e-11);
        EXPECT_NEAR(times[1], end, 5e-11);
        EXPECT_LE(times[0], begin + 1e-18);
    }
}

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
