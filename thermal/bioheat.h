// Temperature in tissue: heat that is deposited, conducted, and carried away by blood.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "../core/coordinate_grid.h"
#include "../core/medium.h"

namespace kavro {

// What a side of the region does: no heat passes it, or it keeps the temperature of the walls.
enum class Wall { insulated, fixed };

// From `begin` (s) on, until the next change, the heat rate is `factor` times the given one.
struct HeatChange {
    double begin = 0.0;
    double factor = 1.0;
};

struct BioheatSetting {
    std::array<Wall, 6> walls{};  // at the first and last x, y and z of the grid
    double wall_temperature = 37.0;
    double arterial_temperature = 37.0;
    std::vector<HeatChange> changes{{0.0, 1.0}};  // in order; before the first there is no heat

    // x is the distance from an axis of symmetry along z, from 0 on, and y has one value. The side
    // at x = 0 is no wall.
    bool axisymmetric = false;
};

// Pennes' equation, rho C dT/dt = kappa lap T - w_b C_b (T - T_a) + Q, from the time 0 on. `heat`
// (Q, W/m^3) and `start` (T at the time 0, degrees Celsius) hold a value for each point of the
// regular grid, or one for all. At each of the times (s, in order) `temperatures` receives the
// temperature of every point, the point fastest.
//
// The region is the grid's: its first and last points lie on the walls. An axis with one point is
// none: nothing varies along it. The temperature is a series of the modes that the walls allow,
// each of which follows the changes of heat exactly; so it is as exact as the series through the
// samples of heat and start. Where these meet the walls as the temperature does (level at insulated
// ones, without heat and at the wall's temperature at fixed ones) and are smooth, the error falls
// faster than any power of the spacing h; else it is about h^2/12 times the second derivative that
// they ask for.
//
// Throws InputError, Interrupted and std::bad_alloc.
void bioheat(const CoordinateGrid& grid, const Medium& medium, std::span<const double> heat,
             std::span<const double> start, std::span<const double> times,
             const BioheatSetting& setting, double* temperatures);

}  // namespace kavro
