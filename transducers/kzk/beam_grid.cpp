#include "transducers/kzk/beam_grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/interrupted.h"

namespace kavro::kzk {

BeamGrid::BeamGrid(const CoordinateGrid& grid, double source_radius, double scale_length,
                   const Frame& frame, const Parameters& parameters)
    : points_per_radius(static_cast<double>(parameters.points_per_radius)),
      extent(std::trunc(static_cast<double>(parameters.extent))),
      farthest(0.0),
      layer(frame.reach()) {
    InterruptCheck check;
    z.reserve(static_cast<std::size_t>(grid.nz));
    ranges.reserve(z.capacity());
    r.reserve(static_cast<std::size_t>(grid.nx));
    for (int k = 0; k < grid.nz; ++k) {
        check.spend(4);
        z.push_back(grid.zmin + k * grid.deltaz);
        ranges.push_back(z.back() / scale_length);
    }
    double widest = 0.0;
    for (int m = 0; m < grid.nx; ++m) {
        check.spend(4);
        r.push_back(std::hypot(grid.xmin + m * grid.deltax, grid.ymin) / source_radius);
        widest = r.back() <= extent ? std::max(widest, r.back()) : widest;
    }
    for (const double range : ranges) {
        check.spend(4);
        if (range >= 0.0) {
            farthest = std::max(farthest, widest / frame.width(range));
        }
    }
    layer = std::max(layer, farthest + 4.0 / points_per_radius);
    constexpr double countless = 1e9;
    const double count = (layer + Frame::layer_thickness) * points_per_radius + 4.0;
    columns = static_cast<std::size_t>(count > 0.0 && count < countless ? count : countless);
}

double BeamGrid::face(std::size_t column, double hole) const {
    const double inner = std::max(static_cast<double>(column) - 0.5, 0.0) / points_per_radius;
    const double outer = (static_cast<double>(column) + 0.5) / points_per_radius;
    const auto share_within = [&](double rim) {
        return std::clamp((rim * rim - inner * inner) / (outer * outer - inner * inner), 0.0, 1.0);
    };
    return std::max(share_within(1.0) - share_within(hole), 0.0);
}

BeamGrid::Place BeamGrid::place(double radius) const {
    const double at = std::min(radius * points_per_radius, static_cast<double>(columns - 3));
    const auto first = static_cast<std::int64_t>(at) - 1;
    const double t = at - std::floor(at);
    Place place;
    for (std::size_t i = 0; i < 4; ++i) {
        place.columns[i] = static_cast<std::size_t>(std::abs(first + static_cast<std::int64_t>(i)));
    }
    place.weights = cubic_weights(t);
    return place;
}

std::array<double, 4> cubic_weights(double t) {
    return {-t * (t - 1.0) * (t - 2.0) / 6.0, (t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0,
            -(t + 1.0) * t * (t - 2.0) / 2.0, (t + 1.0) * t * (t - 1.0) / 6.0};
}

}  // namespace kavro::kzk
