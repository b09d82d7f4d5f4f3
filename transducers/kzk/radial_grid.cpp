#include "transducers/kzk/radial_grid.h"

#include <cmath>

#include "core/number_text.h"

namespace kavro::kzk {
namespace {

constexpr float whole_limit = 1e9f;  // counts beyond this are no counts

int columns_of(float extent, float points_per_radius) {
    if (!(std::abs(extent) < whole_limit)) {
        return 0;
    }
    const float count = std::trunc(extent) * points_per_radius;
    return count >= 2.0f && count < whole_limit && extent > 0.0f ? static_cast<int>(count) : 0;
}

}  // namespace

RadialGrid::RadialGrid(const Parameters& parameters)
    : extent(parameters.extent),
      points_per_radius(parameters.points_per_radius),
      last_column(columns_of(extent, points_per_radius)) {}

std::optional<Fault> RadialGrid::fault() const {
    if (last_column >= 2) {
        return std::nullopt;
    }
    if (!(extent >= 1.0f && extent < whole_limit)) {
        return Fault{Input::extent, "at least 1 and less than 1e9", static_cast<double>(extent)};
    }
    const double whole = std::trunc(static_cast<double>(extent));
    return Fault{Input::points_per_radius,
                 "at least " + number_text(2.0 / whole) + " and less than " +
                     number_text(static_cast<double>(whole_limit) / whole) + " for this extent",
                 static_cast<double>(points_per_radius)};
}

}  // namespace kavro::kzk
