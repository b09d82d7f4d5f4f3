// The particle velocity of continuous waves, and the power that passes through surfaces.
#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "literal.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using std::numbers::pi;
using Points = std::vector<CartesianCoordinate>;
using Complex = std::complex<double>;

constexpr double speed = 1500.0;
constexpr double impedance = 1e3 * speed;

struct Wave {
    Values output;  // of the pressure: real, then imaginary parts
    Values real, imaginary;
    kavro::QuadratureReport report;

    Complex p(std::size_t i) const { return {output[i], output[i + output.size() / 2]}; }
    Complex v(std::size_t i, std::size_t q) const {
        const std::size_t at = i + q * output.size() / 2;
        return {real[at], imaginary[at]};
    }
    double speed_at(std::size_t i) const {
        return std::sqrt(std::norm(v(i, 0)) + std::norm(v(i, 1)) + std::norm(v(i, 2)));
    }
};

Wave wave_in(const Tank& tank) {
    Measurement measurement(tank, operation_named("fnm_cw"));
    const auto n = static_cast<std::size_t>(tank.grid.npoints);
    Wave wave{{}, Values(3 * n), Values(3 * n), {}};
    EXPECT_EQ(
        kavro::solve_velocity(measurement.elements(), {wave.real.data(), wave.imaginary.data()},
                              kavro::Output::all_zero, &wave.report),
        kavro::status_success);
    wave.output = measurement.output;
    return wave;
}

Tank wave_tank(const std::vector<Source>& sources, const Points& points, int ndiv) {
    Tank tank;
    tank.sources = sources;
    for (Source& source : tank.sources) {
        source.exact = true;
    }
    tank.medium._soundspeed = speed;
    tank.medium._rho_density = 1e3;
    tank.medium._dBcmMHz = 0.0;
    tank.medium._f0 = 1e6;
    tank.set_points(points);
    tank.set_order(ndiv);
    return tank;
}

std::vector<Source> sources_of_every_shape() {
    std::vector<Source> sources = every_source();
    sources.push_back({.shape = "poly", .sizes = {-2e-3, 3e-3, 1e-3, -1e-3, -2e-3, 3e-3}});
    return sources;
}

// Differences of the pressure to the eighth order, of points around every source but those next to
// an edge or behind, and two closer than any difference to a bowl's focus.
TEST(Velocity, IsThePressuresGradient) {
    constexpr double h = 2e-5;
    constexpr double weights[] = {4.0 / 5.0, -1.0 / 5.0, 4.0 / 105.0, -1.0 / 280.0};
    for (Source source : sources_of_every_shape()) {
        const double d =
            source.shape == "shel" || source.shape == "sph ring" ? source.sizes.back() : 4e-3;
        Points points = {{0, 0, d},
                         {1e-9 * d, 0, d},
                         {0, 2e-5 * d, d * (1 + 3e-5)},
                         {0, 0, 0.9 * d},
                         {0.02 * d, 0, d},
                         {0, 0.3 * d, 1.1 * d},
                         {0, 0, 1.5 * d},
                         {1e-3, -2e-3, 0.8 * d},
                         {5e-3, 1e-3, 1.4e-2},
                         {4e-3, -4e-3, 1.05 * d},
                         {-1e-3, 6e-3, 1.5 * d},
                         {0.1 * d, 0.2 * d, 0.9 * d}};
        source.phase = 0.4;
        for (const double attenuation : {0.0, 2.0}) {
            Tank tank = wave_tank({source}, points, 200);
            tank.medium._dBcmMHz = attenuation;
            const Wave wave = wave_in(tank);
            EXPECT_TRUE(same_bits(wave.output, measured(tank, "fnm_cw")));
            std::vector<Complex> slopes(3 * points.size());
            for (int step = -4; step <= 4; ++step) {
                for (std::size_t q = 0; q < 3 && step != 0; ++q) {
                    Points moved = points;
                    for (CartesianCoordinate& point : moved) {
                        (q == 0 ? point.x : q == 1 ? point.y : point.z) += step * h;
                    }
                    tank.set_points(moved);
                    const Complexes p = waves_in(tank, "fnm_cw");
                    const double weight = weights[std::abs(step) - 1] / (step > 0 ? h : -h);
                    for (std::size_t i = 0; i < points.size(); ++i) {
                        slopes[3 * i + q] += weight * p[i];
                    }
                }
            }
            for (std::size_t i = 0; i < points.size(); ++i) {
                const double scale = std::max(wave.speed_at(i), std::abs(wave.p(i)) / impedance);
                for (std::size_t q = 0; q < 3; ++q) {
                    const Complex expected = slopes[3 * i + q] / Complex(0, -2 * pi * 1e6 * 1e3);
                    EXPECT_LT(std::abs(wave.v(i, q) - expected), 1e-8 * scale)
                        << source.shape << " " << d << ", point " << i << ", axis " << q;
                }
            }
        }
    }
}

// A turned element's flat face moves as it is told to, its plane beside it not at all, and nothing
// is behind it. Bowls keep out of their shadow. On an edge, numbers remain.
TEST(Velocity, FollowsTheFace) {
    for (Source source : sources_of_every_shape()) {
        source.tolerance = 1e-6;
        source.amplitude = 0.3;
        const bool bowl = is_bowl(source);
        const double within = source.shape == "ring" || source.shape == "sph ring" ? 2e-3 : 1e-4;
        const Wave level = wave_in(wave_tank({source},
                                             {{within, 0, 0},
                                              {0.4 * within, 5e-5, 0},
                                              {8e-3, 0, 0},
                                              {within, 0, -1e-3},
                                              {source.sizes[0], 0, 0},
                                              {source.sizes[0] / 2, 0, 0}},
                                             8));
        EXPECT_EQ(level.speed_at(3), 0.0) << source.shape;
        EXPECT_TRUE(std::isfinite(level.speed_at(4)) && std::isfinite(level.speed_at(5)));
        if (bowl) {
            EXPECT_EQ(level.speed_at(2), 0.0);
            continue;
        }
        EXPECT_NEAR(std::abs(level.v(0, 2) - 0.3), 0.0, 1e-6) << source.shape;
        if (source.shape != "ring") {
            EXPECT_NEAR(std::abs(level.v(1, 2) - 0.3), 0.0, 1e-6) << source.shape;
        }
        EXPECT_LT(std::abs(level.v(2, 2)), 1e-6) << source.shape;

        source.euler = {0, pi / 2, 0};  // to -y
        source.center = {0, 1e-3, 2e-3};
        const Wave turned = wave_in(wave_tank({source}, {{within, 1e-3 - 1e-12, 2e-3}}, 8));
        EXPECT_NEAR(std::abs(turned.v(0, 1) + 0.3), 0.0, 1e-6) << source.shape;
    }
}

TEST(Velocity, IsASphericalWavesFarAway) {
    for (const Source& source : sources_of_every_shape()) {
        constexpr double R = 1e4;
        const CartesianCoordinate u(0.48, 0.36, 0.8);
        const Wave wave =
            wave_in(wave_tank({source}, {{0, 0, R}, {R * u.x, R * u.y, R * u.z}}, 64));
        for (std::size_t i = 0; i < 2; ++i) {
            const Complex v = wave.p(i) / impedance;
            ASSERT_GT(std::abs(v), 0.0);
            const Values along = i == 0 ? Values{0, 0, 1} : Values{u.x, u.y, u.z};
            for (std::size_t q = 0; q < 3; ++q) {
                EXPECT_LT(std::abs(wave.v(i, q) - along[q] * v), 3e-5 * std::abs(v))
                    << source.shape << q;
            }
        }
    }
}

class VelocityVariants : public Variants {};

TEST_F(VelocityVariants, DecideNoBit) {
    std::vector<Source> sources = sources_of_every_shape();
    Points points;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources[i].tolerance = i % 2 == 0 ? 1e-4 : 0.0;
        sources[i].center = {1e-3 * static_cast<double>(i), 0, 0};
        sources[i].euler = {0.1 * static_cast<double>(i), 0.2, 0};
    }
    const Values places = noise(300, 7);
    for (std::size_t i = 0; i + 2 < places.size(); i += 3) {
        points.emplace_back(8e-3 * places[i], 8e-3 * places[i + 1], 1e-2 + 9e-3 * places[i + 2]);
    }
    const Tank tank = wave_tank(sources, points, 24);
    kavro::set_thread_count(1);
    const Wave expected = wave_in(tank);
    const auto expect_the_same = [&](const Tank& scene) {
        const Wave wave = wave_in(scene);
        EXPECT_TRUE(same_bits(wave.output, expected.output));
        EXPECT_TRUE(same_bits(wave.real, expected.real));
        EXPECT_TRUE(same_bits(wave.imaginary, expected.imaginary));
    };
    kavro::set_thread_count(3);
    expect_the_same(tank);
    for_every_vector_target([&] { expect_the_same(tank); });
    Points last(points.end() - 7, points.end());
    const Wave some = wave_in(wave_tank(sources, last, 24));
    EXPECT_EQ(some.v(3, 1), expected.v(points.size() - 4, 1));
}

TEST(Velocity, RefusesWhatItCannotHave) {
    Tank tank = wave_tank({{.shape = "circ"}, {.shape = "rect"}}, {{0, 0, 1e-2}}, 8);
    Measurement measurement(tank, operation_named("fnm_cw"));
    Values v(6);
    kavro::CoordinateGrid other = tank.grid;
    std::vector<kavro::Transducer*> elements = measurement.elements();
    elements[1]->set_global_coordinate_grid(&other);
    EXPECT_EQ(kavro::solve_velocity(elements, {v.data(), v.data() + 3}), kavro::status_failure);
    elements[1] = nullptr;
    EXPECT_EQ(kavro::solve_velocity(elements, {v.data(), v.data() + 3}), kavro::status_failure);
    EXPECT_EQ(v, Values(6));
}

// ---- power

double power_of(const Tank& tank) {
    Measurement measurement(tank, operation_named("fnm_cw"));
    double power = -1.0;
    EXPECT_EQ(kavro::acoustic_power(measurement.elements(), power), kavro::status_success);
    return power;
}

// Through the part of a sphere about a point over z = its height, by Gauss's rule and evenly spaced
// meridians.
double power_through(Tank tank, const CartesianCoordinate& middle, double radius, int circles,
                     int meridians, double lowest = 0.0) {
    kavro::NumericalIntegration rule;
    rule.allocate_memory(circles);
    rule.gauss_quadrature(lowest, 1.0);
    Points points, normals;
    Values areas;
    for (int i = 0; i < circles; ++i) {
        const double z = rule.get_abscissa(i);
        const double r = std::sqrt(1.0 - z * z);
        for (int j = 0; j < meridians; ++j) {
            const double phi = 2 * pi * j / meridians;
            const CartesianCoordinate u(r * std::cos(phi), r * std::sin(phi), z);
            normals.push_back(u);
            points.emplace_back(middle.x + radius * u.x, middle.y + radius * u.y,
                                middle.z + radius * u.z);
            areas.push_back(rule.get_weight(i) * 2 * pi / meridians * radius * radius);
        }
    }
    for (Source& source : tank.sources) {
        source.tolerance = 1e-5;
    }
    tank.set_points(points);
    const Wave wave = wave_in(tank);
    double power = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const CartesianCoordinate& u = normals[i];
        const Complex v = u.x * wave.v(i, 0) + u.y * wave.v(i, 1) + u.z * wave.v(i, 2);
        power += 0.5 * areas[i] * std::real(wave.p(i) * std::conj(v));
    }
    return power;
}

TEST(Power, OfADiscIsThatOfItsRadiationResistance) {
    for (const double a : {1e-5, 0.4e-3, 3e-3, 50e-3}) {
        const Tank tank = wave_tank({{.shape = "circ", .sizes = {a}, .amplitude = 0.7}}, {}, 8);
        const double x = 4 * pi * a * 1e6 / speed;
        const double resistance = impedance * pi * a * a * (1 - 2 * std::cyl_bessel_j(1.0, x) / x);
        EXPECT_NEAR(power_of(tank) / (0.5 * 0.49 * resistance), 1.0, 1e-9) << a;
    }
}

// Far enough from bowls, which radiate below the plane of their rim as well, in the plane beside
// it.
TEST(Power, PassesThroughAHemisphere) {
    std::vector<Source> sources = sources_of_every_shape();
    sources.push_back({.shape = "shel", .sizes = {20e-3, 80e-3}, .amplitude = 0.4});
    for (const Source& source : sources) {
        const Tank tank = wave_tank({source}, {}, 8);
        const bool bowl = is_bowl(source);
        const double d = source.sizes.back();
        const double a = source.sizes[source.sizes.size() - 2];
        const double height = bowl ? d - std::sqrt(d * d - a * a) : 0.0;
        const bool turns = bowl || source.shape == "circ" || source.shape == "ring";
        const double through = power_through(tank, {0, 0, height}, bowl ? 3.0 : 12e-3,
                                             a > 10e-3 ? 160 : 60, turns ? 1 : 80);
        EXPECT_NEAR(through / power_of(tank), 1.0, bowl ? 1e-4 : 1e-7) << source.shape << " " << a;
    }
}

// Whose interaction is a good share of it: less than a wavelength apart, in different phases.
TEST(Power, OfAnArrayHoldsTheInteraction) {
    std::vector<Source> sources = {
        {.shape = "circ", .sizes = {0.4e-3}, .center = {-1e-3, 0.2e-3, 0}, .amplitude = 0.5},
        {.shape = "rect", .sizes = {0.6e-3, 1e-3}, .phase = 1.1},
        {.shape = "poly", .sizes = {0.6e-3, 1.6e-3, 1.1e-3, 0, 0, 1e-3}, .phase = -2.0},
        {.shape = "ring", .sizes = {0.3e-3, 0.7e-3}, .center = {0, 2e-3, 0}, .phase = 0.6}};
    double apart = 0.0;
    for (const Source& source : sources) {
        apart += power_of(wave_tank({source}, {}, 8));
    }
    const double power = power_of(wave_tank(sources, {}, 8));
    EXPECT_GT(std::fabs(power / apart - 1.0), 0.05);
    EXPECT_NEAR(power_through(wave_tank(sources, {}, 8), {0, 0, 0}, 5e-3, 40, 64) / power, 1.0,
                1e-7);
    for (Source& source : sources) {  // the array as a whole, turned and moved
        source.euler = {0, 0.7, 0};
        const double y = source.center.y;
        source.center = {source.center.x, 1.0 + y * std::cos(0.7), y * std::sin(0.7)};
    }
    EXPECT_NEAR(power_of(wave_tank(sources, {}, 8)) / power, 1.0, 1e-9);
}

}  // namespace
}  // namespace kavro_test
