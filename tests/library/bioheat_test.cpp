// Temperatures against what is known in closed form.
#include "thermal/bioheat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "core/coordinate_grid.h"
#include "core/input_error.h"
#include "core/medium.h"
#include "core/threads.h"

namespace kavro {
namespace {

using std::numbers::pi;
using Field = std::vector<double>;

Medium tissue() {
    Medium medium;
    medium._rho_density = 1050;
    medium._ct = 3600;
    medium._kappa = 0.5;
    medium._cb = 3617;
    return medium;
}

double diffusivity(const Medium& medium) {
    return medium._kappa / (medium._rho_density * medium._ct);
}

CoordinateGrid box(double x0, double x1, double y0, double y1, double z0, double z1, double h) {
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(x0, x1, y0, y1, z0, z1, h, h, h);
    return grid;
}

template <class Function>
Field over(const CoordinateGrid& grid, Function f) {
    Field values;
    for (int i = 0; i < grid.npoints; ++i) {
        const CartesianCoordinate p = grid.spatial_index_value(i);
        values.push_back(f(p.x, p.y, p.z));
    }
    return values;
}

Field temperatures(const CoordinateGrid& grid, const Medium& medium, const Field& heat,
                   const Field& start, const Field& times, const BioheatSetting& setting) {
    Field T(static_cast<std::size_t>(grid.npoints) * times.size());
    bioheat(grid, medium, heat, start, times, setting, T.data());
    return T;
}

double largest_difference(const Field& a, const Field& b) {
    EXPECT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, std::abs(a[i] - b[i]));
    }
    return largest;
}

BioheatSetting between(Wall wall) {
    BioheatSetting setting;
    setting.walls.fill(wall);
    return setting;
}

// A ball of heat of deviation s far from all walls: Q0 s^3 sqrt(pi/2)/(kappa r) [erf(r/(sqrt 2 s))
// - erf(r/(sqrt 2 s'))], s'^2 = s^2 + 2 D t.
double heated_ball(double r, double s, double t, double heat, const Medium& medium) {
    const double wider = std::sqrt(s * s + 2.0 * diffusivity(medium) * t);
    const double scale = heat * s * s * s * std::sqrt(pi / 2.0) / medium._kappa;
    if (r == 0.0) {
        return scale * std::sqrt(2.0 / pi) * (1.0 / s - 1.0 / wider);
    }
    return scale / r *
           (std::erf(r / (std::sqrt(2.0) * s)) - std::erf(r / (std::sqrt(2.0) * wider)));
}

TEST(Bioheat, BallOfHeatInABoxAndAroundAnAxis) {
    const Medium medium = tissue();
    const double s = 1.2e-3;
    const double t = 5.0;
    const double heat = 2e6;
    const auto ball = [&](double x, double y, double z) {
        return heat * std::exp(-(x * x + y * y + z * z) / (2 * s * s));
    };
    const auto expected = [&](double x, double y, double z) {
        return 37.0 + heated_ball(std::hypot(x, y, z), s, t, heat, medium);
    };
    const auto cube = box(-11e-3, 11e-3, -11e-3, 11e-3, -11e-3, 11e-3, 0.5e-3);
    const auto half_plane = box(0, 11e-3, 0, 0, -11e-3, 11e-3, 0.5e-3);
    for (const Wall wall : {Wall::insulated, Wall::fixed}) {
        BioheatSetting setting = between(wall);
        Field T = temperatures(cube, medium, over(cube, ball), {37.0}, {t}, setting);
        EXPECT_LT(largest_difference(T, over(cube, expected)), 1e-8);
        setting.axisymmetric = true;
        T = temperatures(half_plane, medium, over(half_plane, ball), {37.0}, {t}, setting);
        EXPECT_LT(largest_difference(T, over(half_plane, expected)), 1e-8);
    }
    EXPECT_GT(expected(0, 0, 0), 38.0);
}

// What a warm spot becomes is Green's function at work; blood takes the same share everywhere.
TEST(Bioheat, WarmLineSpreadsAndBloodCoolsIt) {
    Medium medium = tissue();
    medium._wb = 8.0;
    const double s = 1e-3;
    const double t = 7.0;
    const double loss = medium._wb * medium._cb / (medium._rho_density * medium._ct);
    const double wider = s * s + 2.0 * diffusivity(medium) * t;
    const auto grid = box(0, 0, -14e-3, 15e-3, -15e-3, 13e-3, 0.4e-3);
    const auto spot = [&](double, double y, double z) {
        return 37.0 + 9.0 * std::exp(-(y * y + z * z) / (2 * s * s));
    };
    const auto later = [&](double, double y, double z) {
        return 37.0 + 9.0 * std::exp(-loss * t - (y * y + z * z) / (2 * wider)) * s * s / wider;
    };
    const Field T = temperatures(grid, medium, {0.0}, over(grid, spot), {0.0, t}, {});
    Field expected = over(grid, spot);
    const Field last = over(grid, later);
    expected.insert(expected.end(), last.begin(), last.end());
    EXPECT_LT(largest_difference(T, expected), 1e-9);
}

// The series of a source that meets fixed walls lacks about h^2/12 of its heat over the
// conductivity.
TEST(Bioheat, SteadyStatesBetweenFixedWalls) {
    Medium medium = tissue();
    const double L = 20e-3;
    const double h = 0.25e-3;
    const double heat = 1e5;
    const auto grid = box(0, L, 0, 0, 0, 0, h);
    BioheatSetting setting = between(Wall::fixed);
    setting.wall_temperature = 20.0;
    Field T = temperatures(grid, medium, {heat}, {37.0}, {1e6}, setting);
    const Field parabola = over(grid, [&](double x, double, double) {
        return 20.0 + heat * x * (L - x) / (2 * medium._kappa);
    });
    EXPECT_LT(largest_difference(T, parabola), 1.1 * h * h * heat / (12 * medium._kappa));

    medium._wb = 5.0;
    T = temperatures(grid, medium, {0.0}, {37.0}, {1e6}, setting);
    const double depth = std::sqrt(medium._kappa / (medium._wb * medium._cb));
    const Field cooled = over(grid, [&](double x, double, double) {
        return 37.0 - 17.0 * std::cosh((x - L / 2) / depth) / std::cosh(L / 2 / depth);
    });
    EXPECT_LT(largest_difference(T, cooled), 1.1 * 17.0 * h * h / (12 * depth * depth));
}

TEST(Bioheat, ModesDecayBetweenWallsThatDiffer) {
    const Medium medium = tissue();
    const double L = 6e-3;
    const double t = 3.0;
    const auto grid = box(0, L, 0, 0, 0, L, 0.5e-3);
    BioheatSetting setting;
    setting.walls[1] = setting.walls[4] = Wall::fixed;  // last x, first z
    setting.wall_temperature = 0.0;
    const auto mode = [&](double x, double, double z) {
        return std::cos(1.5 * pi * x / L) * std::sin(0.5 * pi * z / L);
    };
    const double kept = std::exp(-diffusivity(medium) * (2.25 + 0.25) * pi * pi / (L * L) * t);
    Field expected = over(grid, mode);
    for (double& value : expected) {
        value *= kept;
    }
    Field T = temperatures(grid, medium, {0.0}, over(grid, mode), {t}, setting);
    EXPECT_LT(largest_difference(T, expected), 1e-14);

    setting = between(Wall::insulated);
    setting.walls[1] = Wall::fixed;
    setting.wall_temperature = 0.0;
    setting.axisymmetric = true;
    const double zero = 5.520078110286311;  // the second of J0
    const auto bessel = [&](double r, double, double) { return j0(zero * r / L); };
    T = temperatures(grid, medium, {0.0}, over(grid, bessel), {t}, setting);
    expected = over(grid, bessel);
    for (double& value : expected) {
        value *= std::exp(-diffusivity(medium) * zero * zero / (L * L) * t);
    }
    EXPECT_LT(largest_difference(T, expected), 1e-13);
}

// Behind insulated walls nothing is lost, whatever the heat is.
TEST(Bioheat, EnergyStaysAndSwitchesAddUp) {
    const Medium medium = tissue();
    const auto grid = box(-2e-3, 3e-3, 0, 4e-3, 1e-3, 5e-3, 0.5e-3);
    const auto rough = [](double x, double y, double z) {
        return std::abs(std::sin(1e6 * x + 3e5 * y * z)) * 1e6 * (x > 0 ? 1 : 0.2);
    };
    const Field heat = over(grid, rough);
    const auto contents = [&](const double* values) {
        double sum = 0.0;
        for (int k = 0, i = 0; k < grid.nz; ++k) {
            for (int j = 0; j < grid.ny; ++j) {
                for (int m = 0; m < grid.nx; ++m, ++i) {
                    sum += values[i] * (k % (grid.nz - 1) == 0 ? 0.5 : 1.0) *
                           (j % (grid.ny - 1) == 0 ? 0.5 : 1.0) *
                           (m % (grid.nx - 1) == 0 ? 0.5 : 1.0);
                }
            }
        }
        return sum;
    };
    BioheatSetting setting;
    setting.arterial_temperature = 0.0;
    setting.changes = {{1.0, 2.0}, {4.0, 0.5}, {6.0, 0.0}};
    const Field T = temperatures(grid, medium, heat, {0.0}, {0.5, 3.0, 10.0}, setting);
    const double risen = contents(heat.data()) / (medium._rho_density * medium._ct);
    const std::size_t n = heat.size();
    EXPECT_EQ(contents(T.data()), 0.0);
    EXPECT_NEAR(contents(T.data() + n), 4.0 * risen, 1e-12 * risen);
    EXPECT_NEAR(contents(T.data() + 2 * n), 7.0 * risen, 1e-12 * risen);

    setting.changes = {{0.0, 1.0}};
    const Field on = temperatures(grid, medium, heat, {0.0}, {4.0, 6.0, 9.0}, setting);
    for (std::size_t i = 0; i < n; ++i) {
        EXPECT_NEAR(T[2 * n + i], 2.0 * on[2 * n + i] - 1.5 * on[n + i] - 0.5 * on[i], 1e-12);
    }
}

TEST(Bioheat, DoesNotDependOnThreads) {
    Medium medium = tissue();
    medium._wb = 1.0;
    const auto grid = box(0, 7e-3, 0, 0, 0, 20e-3, 0.3e-3);
    const Field heat = over(grid, [](double x, double, double z) { return 1e9 * (x + z * z); });
    BioheatSetting setting = between(Wall::fixed);
    for (const bool axisymmetric : {false, true}) {
        setting.axisymmetric = axisymmetric;
        set_thread_count(1);
        const Field alone = temperatures(grid, medium, heat, {30.0}, {1.0, 2.0}, setting);
        set_thread_count(3);
        EXPECT_EQ(temperatures(grid, medium, heat, {30.0}, {1.0, 2.0}, setting), alone);
        set_thread_count(0);
    }
}

TEST(Bioheat, NamesWhatIsWrong) {
    const auto message = [](Medium medium, const Field& heat, const Field& times,
                            const BioheatSetting& setting) -> std::string {
        const auto grid = box(1e-3, 2e-3, 0, 0, 0, 0, 0.5e-3);
        Field T(64);
        try {
            bioheat(grid, medium, heat, Field{37.0}, times, setting, T.data());
        } catch (const InputError& error) {
            return error.what();
        }
        return "";
    };
    const Medium medium = tissue();
    Medium cold = medium;
    cold._ct = 0;
    EXPECT_EQ(message(cold, {0.0}, {1.0}, {}),
              "bioheat: the medium's field 'specificheat' must be positive, not 0.");
    EXPECT_EQ(
        message(medium, {0.0, 1.0}, {1.0}, {}),
        "bioheat: the heat rate must be one number, or 3 of them, one for each point, not 2.");
    EXPECT_EQ(message(medium, {0.0}, {2.0, 1.0}, {}),
              "bioheat: times must be zero or positive, each not before the last, not 1.");
    BioheatSetting setting;
    setting.axisymmetric = true;
    EXPECT_EQ(
        message(medium, {0.0}, {1.0}, setting),
        "bioheat: the grid of an axisymmetric field must be one of x from 0 on and of one y.");
}

}  // namespace
}  // namespace kavro
