#include "transducers/kzk/marching.h"

#include <cstdint>

#include "core/console.h"

namespace kavro::kzk {

Spend spend_of(InterruptCheck& check) {
    return [&check](std::int64_t steps) { check.spend(steps); };
}

std::size_t first_plane_ahead(const std::vector<double>& ranges, InterruptCheck& check) {
    std::size_t plane = 0;
    while (plane < ranges.size() && ranges[plane] < 0.0) {
        check.spend(1);
        ++plane;
    }
    return plane;
}

void tell_of_progress(double share) {
    console::progress(share < 1.0 ? share : 1.0);
    if (console::interrupted()) {
        throw Interrupted();
    }
}

void end_in_shock(const TransientShape& shape, double z, Outcome& outcome) {
    outcome.shocked = true;
    outcome.warned = shape.shock_is_warning;
    outcome.where.z = z;
    if (shape.shock_is_warning) {
        console::warn(shape.shock_message);
    } else {
        console::print("%s", shape.shock_message);
    }
}

void warn_of_growth_without_bound() {
    console::warn(
        "The harmonics grew without bound: the march needs a smaller growth, more harmonics or "
        "more points per radius.\n");
}

}  // namespace kavro::kzk
