// The disc against physics that nobody here wrote: closed forms and surface integrals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "oracle/gauss.h"
#include "support.h"

namespace kavro_test {
namespace {

using kavro::CircularTransducer;
using std::numbers::pi;

constexpr double a = 3e-3;
constexpr double c = 1500.0;
constexpr double rho = 1000.0;

// On the axis a disc radiates its waveform from the face and, negated, from the rim.
TEST(Physics, AxisOfADiscHasItsClosedForm) {
    Scene scene = plain_scene();
    scene.points = {{0, 0, 0}, {0, 0, 1e-3}, {0, 0, 7.3e-3}, {0, 0, 2.1e-2}};
    scene.discs[0].time_delay = 1.23e-7;
    set_axis(scene, 1.03e-8, 0, 1700);
    for (const Waveform& waveform : exact_waveforms()) {
        Field expected = kavro_oracle::silence(scene);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const double t = scene.times[i / 4] - 1.23e-7;
            const double z = scene.points[i % 4].z;
            expected[i] =
                rho * c * (waveform->at(t - z / c) - waveform->at(t - std::hypot(z, a) / c));
        }
        const double peak = peak_of(expected);
        const Stage stage(scene, waveform);
        const Field field = stage.by_library(&CircularTransducer::fnm_tsd);
        EXPECT_LT(largest_difference(field, expected), 1e-10 * peak);
        // Single precision knows a time of 16 us to 1e-12 s, a few millionths of a period.
        if (!waveform->has_complex_decomposition()) {
            const Field single = stage.by_library(&CircularTransducer::fnm_tsd_sse);
            EXPECT_LT(largest_difference(single, expected), 5e-5 * peak);
        }
        if (waveform->has_complex_decomposition()) {
            const Field complex = stage.by_library(&CircularTransducer::fnm_fdtsd);
            EXPECT_LT(largest_difference(complex, expected), 1e-10 * peak);
        }
    }
}

// p = rho/(2 pi) times the integral of v'(t - R/c)/R over the face, by Gauss rules in radius and
// angle.
double rayleigh(const kavro::ExcitationFunction& v, const Triple& p, double t, int n) {
    const kavro_oracle::Rule radii = kavro_oracle::gauss(n, 0, a);
    const kavro_oracle::Rule angles = kavro_oracle::gauss(n, 0, pi);
    const double r = std::hypot(p.x, p.y);
    double sum = 0;
    for (std::size_t i = 0; i < radii.x.size(); ++i) {
        for (std::size_t j = 0; j < angles.x.size(); ++j) {
            const double s = radii.x[i];
            const double in_plane = r * r + s * s - 2 * r * s * std::cos(angles.x[j]);
            const double R = std::sqrt(in_plane + p.z * p.z);
            sum += radii.w[i] * angles.w[j] * s * v.derivative(t - R / c) / R;
        }
    }
    return 2 * sum * rho / (2 * pi);
}

TEST(Physics, DiscIsItsRayleighIntegral) {
    Scene scene = plain_scene();
    scene.points = {{1e-3, -1e-3, 4e-3},
                    {0, 2.9e-3, 3e-3},
                    {0, 3e-3, 5e-3},
                    {5e-3, 1e-3, 6e-3},
                    {8e-3, 0, 2e-3}};
    set_axis(scene, 2.3e-7, 1.5e-6, 40);
    const auto pulse = std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
    const std::size_t npoints = scene.points.size();
    const auto by_surface = [&](int n) {
        Field field = kavro_oracle::silence(scene);
        for (std::size_t i = 0; i < field.size(); ++i) {
            field[i] = rayleigh(*pulse, scene.points[i % npoints], scene.times[i / npoints], n);
        }
        return field;
    };
    const auto by_edge = [&](int ndiv) {
        scene.ndiv = ndiv;
        return Stage(scene, pulse).by_library(&CircularTransducer::fnm_tsd);
    };
    const Field edge = by_edge(200);
    const double peak = peak_of(edge);
    // The surface rule converges slowly, with the kink of v' at the pulse's ends; all it is off by
    // shrinks away.
    const double coarse = largest_difference(by_surface(40), edge) / peak;
    const double medium = largest_difference(by_surface(80), edge) / peak;
    const double fine = largest_difference(by_surface(160), edge) / peak;
    EXPECT_GT(coarse, 5 * medium);
    EXPECT_GT(medium, 5 * fine);
    EXPECT_LT(fine, 5e-6);
    EXPECT_LT(largest_difference(by_edge(32), edge), 5e-5 * peak);
    EXPECT_GT(largest_difference(by_edge(8), edge), 1e-2 * peak);
}

// Far away the face is a point source: p = rho a^2/(2 z) v'(t - z/c).
TEST(Physics, FarFieldIsAPointSource) {
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    std::vector<double> peaks;
    for (const double z : {2.0, 4.0}) {
        Scene scene = plain_scene();
        scene.points = {{0, 0, z}};
        set_axis(scene, 1e-8, z / c - 1e-7, 240);
        const Stage stage(scene, std::make_shared<kavro::HanningPulse>(pulse));
        const Field field = stage.by_library(&CircularTransducer::fnm_tsd);
        Field expected = field;
        for (std::size_t j = 0; j < expected.size(); ++j) {
            expected[j] = rho * a * a / (2 * z) * pulse.derivative(scene.times[j] - z / c);
        }
        peaks.push_back(peak_of(field));
        EXPECT_LT(largest_difference(field, expected), 0.01 * peaks.back());
    }
    EXPECT_NEAR(peaks[0] / peaks[1], 2.0, 1e-3);
}

// The global point that lies at `local` in the disc's own frame, found with the disc's rotation
// alone: its images of the axes are the columns of the matrix.
Triple global_point(const Disc& disc, const Triple& local) {
    CircularTransducer element(disc.radius);
    element.set_euler(disc.euler.x, disc.euler.y, disc.euler.z);
    element.InitializeRotationMatrix();
    const auto x = element.rotateTranslate({1, 0, 0});
    const auto y = element.rotateTranslate({0, 1, 0});
    const auto z = element.rotateTranslate({0, 0, 1});
    return {disc.center.x + x.x * local.x + x.y * local.y + x.z * local.z,
            disc.center.y + y.x * local.x + y.y * local.y + y.z * local.z,
            disc.center.z + z.x * local.x + z.y * local.y + z.z * local.z};
}

TEST(Physics, FieldMovesWithItsDisc) {
    Scene still = plain_scene();
    still.points = {{0, 0, 5e-3}, {1e-3, -1e-3, 4e-3}, {5e-3, 1e-3, 6e-3}, {1e-3, 0, -1e-3}};
    Scene moved = still;
    moved.discs[0].center = {0.01, -0.02, 0.03};
    moved.discs[0].euler = {0.4, -1.1, 2.6};
    for (Triple& point : moved.points) {
        point = global_point(moved.discs[0], point);
    }
    for (const Waveform& waveform : exact_waveforms()) {
        const Field expected = Stage(still, waveform).by_library(&CircularTransducer::fnm_tsd);
        const Field field = Stage(moved, waveform).by_library(&CircularTransducer::fnm_tsd);
        EXPECT_LT(largest_difference(field, expected), 1e-8 * peak_of(expected));
    }
}

TEST(Physics, FieldIsRoundAroundTheAxis) {
    Scene scene = plain_scene();
    scene.points.clear();
    for (int i = 0; i < 8; ++i) {
        scene.points.push_back({2.5e-3 * std::cos(0.8 * i), 2.5e-3 * std::sin(0.8 * i), 4e-3});
    }
    const Stage stage(scene, std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0));
    const Field field = stage.by_library(&CircularTransducer::fnm_tsd);
    for (std::size_t i = 0; i < field.size(); ++i) {
        ASSERT_NEAR(field[i], field[i / 8 * 8], 1e-9 * peak_of(field));
    }
}

TEST(Physics, AmplitudeAndDelayScaleAndShift) {
    Scene scene = plain_scene();
    const auto pulse = std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
    set_axis(scene, 1.0 / 32e6, 0, 400);
    const Field field = Stage(scene, pulse).by_library(&CircularTransducer::fnm_tsd);
    scene.discs[0].amplitude = -2.5;
    scene.discs[0].time_delay = 16.0 / 32e6;
    const Field delayed = Stage(scene, pulse).by_library(&CircularTransducer::fnm_tsd);
    const std::size_t shift = 16 * scene.points.size();
    for (std::size_t i = 0; i + shift < field.size(); ++i) {
        ASSERT_NEAR(delayed[i + shift], -2.5 * field[i], 1e-9 * peak_of(field));
    }
}

// ---- arrival times

// Earliest and latest arrival at a point over a fine net of the face.
std::pair<double, double> arrivals(const Triple& p) {
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
    const std::vector<Triple> points = {
        {1e-3, -1e-3, 4e-3}, {5e-3, 1e-3, 6e-3}, {0, 0, 1e-3}, {3e-3, 0, 2e-3}, {-4e-3, 0, 0}};
    Scene scene = plain_scene();
    Disc disc = scene.discs[0];
    disc.time_delay = 2.5e-7;
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    double begin = 1e9, end = 0;
    for (std::size_t n = 1; n <= points.size(); ++n) {
        scene.points.assign(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(n));
        Records records(scene);
        CircularTransducer element = element_of(disc, pulse);
        records.connect(element);
        EXPECT_EQ(element.impulse_begin_and_end_times(), 0);
        const auto [first, last] = arrivals(points[n - 1]);
        begin = std::min(begin, first + disc.time_delay);
        end = std::max(end, last + disc.time_delay);
        EXPECT_NEAR(element.get_impulse_begin_time(), begin, 5e-11);
        EXPECT_NEAR(element.get_impulse_end_time(), end, 5e-11);
        EXPECT_LE(element.get_impulse_begin_time(), begin + 1e-18);
    }
}

TEST(ImpulseTimes, BehindTheFaceBeginTooEarlyUnlessExact) {
    Scene scene = plain_scene();
    scene.points = {{0, 0, -1.5e-3}};
    Records records(scene);
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    CircularTransducer element = element_of(scene.discs[0], pulse);
    records.connect(element);
    element.impulse_begin_and_end_times();
    EXPECT_DOUBLE_EQ(element.get_impulse_begin_time(), -1e-6);
    EXPECT_DOUBLE_EQ(element.get_impulse_end_time(), std::hypot(1.5e-3, a) / c);
    element.set_exact(true);
    element.impulse_begin_and_end_times();
    EXPECT_DOUBLE_EQ(element.get_impulse_begin_time(), 1e-6);
    EXPECT_DOUBLE_EQ(element.get_impulse_end_time(), std::hypot(1.5e-3, a) / c);

    // The rim counts as the face.
    records.grid.SinglePoint(a, 0, -1.5e-3);
    element.impulse_begin_and_end_times();
    EXPECT_DOUBLE_EQ(element.get_impulse_begin_time(), 1e-6);
    element.set_exact(false);
    element.impulse_begin_and_end_times();
    EXPECT_DOUBLE_EQ(element.get_impulse_begin_time(), -1e-6);
}

}  // namespace
}  // namespace kavro_test
