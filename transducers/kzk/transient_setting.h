// What a transient nonlinear march is made of, and whether it can run.
#pragma once

#include <array>
#include <optional>

#include "transducers/kzk/fault.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

// The element's five parameters.
struct TransientScheme {
    float extent;
    float points_per_radius;
    int last_column;
    float step;
    bool implicit;
    bool diffraction;

    explicit TransientScheme(const std::array<float, 5>& parameters)
        : extent(parameters[0]),
          points_per_radius(parameters[1]),
          last_column(last_column_of(extent, points_per_radius)),
          step(parameters[2]),
          implicit(parameters[3] == 1.0f),
          diffraction(parameters[4] == 1.0f) {}
};

struct TransientSetting {
    TransientScheme scheme;
    Planes planes;
    TransientShape shape;
    RetardedTime axis;

    // The element has its records. An exact one's last range is that of its last plane.
    TransientSetting(const Transducer& element, const TransientShape& of);

    std::optional<Fault> fault(const Transducer& element) const;
};

}  // namespace kavro::kzk
