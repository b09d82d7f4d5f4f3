#include "transducers/kzk/planes.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "core/interrupted.h"

namespace kavro::kzk {

Planes::Planes(const CoordinateGrid& grid, double radius, bool exact) {
    InterruptCheck check;
    z.reserve(static_cast<std::size_t>(grid.nz));
    r.reserve(static_cast<std::size_t>(grid.nx));
    if (exact) {
        for (int k = 0; k < grid.nz; ++k) {
            check.spend(1);
            z.push_back(static_cast<float>(grid.zmin + k * grid.deltaz));
        }
        for (int m = 0; m < grid.nx; ++m) {
            check.spend(4);
            r.push_back(
                static_cast<float>(std::hypot(grid.xmin + m * grid.deltax, grid.ymin) / radius));
        }
        return;
    }
    const auto zmin = static_cast<float>(grid.zmin);
    const auto zmax = static_cast<float>(grid.zmax);
    const float last_plane = static_cast<float>(grid.nz) - 1.0f;
    z.assign(static_cast<std::size_t>(grid.nz), zmin);
    for (std::size_t k = 1; k < z.size(); ++k) {
        check.spend(1);
        z[k] = static_cast<float>(k) * (zmax - zmin) / last_plane + zmin;
    }
    const auto xmin = static_cast<float>(grid.xmin);
    const auto xmax = static_cast<float>(grid.xmax);
    const float step = grid.nx > 1 ? (xmax - xmin) / static_cast<float>(grid.nx - 1) : 0.0f;
    r.resize(static_cast<std::size_t>(grid.nx));
    for (std::size_t m = 0; m < r.size(); ++m) {
        check.spend(1);
        const float x = static_cast<float>(m) * step + xmin;
        r[m] = std::abs(static_cast<float>(static_cast<double>(x) / radius));
    }
    r[0] = 0.0f;
}

bool Planes::fit(const CoordinateGrid& grid) {
    return grid.regular && grid.nx > 0 && grid.nz > 0 &&
           std::int64_t{grid.nx} * grid.nz <= grid.npoints;
}

}  // namespace kavro::kzk
