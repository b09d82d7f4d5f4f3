// The radial grid of both nonlinear marches.
#pragma once

#include <optional>

#include "core/kzk_parameters.h"
#include "transducers/kzk/fault.h"

namespace kavro::kzk {

struct RadialGrid {
    float extent;  // in source radii; the grid ends at its whole part
    float points_per_radius;
    int last_column;  // 0 where the grid has fewer than two steps, or too many to count

    explicit RadialGrid(const Parameters& parameters);

    std::optional<Fault> fault() const;
};

}  // namespace kavro::kzk
