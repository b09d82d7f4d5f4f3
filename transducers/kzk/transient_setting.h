// What a transient nonlinear march is made of, and whether it can run.
#pragma once

#include <optional>

#include "core/kzk_parameters.h"
#include "transducers/kzk/fault.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

// The element's parameters.
struct TransientScheme {
    float extent;
    float points_per_radius;
    int last_column;
    float step;
    bool implicit;
    bool diffraction;

    explicit TransientScheme(const Parameters& parameters)
        : extent(parameters.extent),
          points_per_radius(parameters.points_per_radius),
          last_column(last_column_of(extent, points_per_radius)),
          step(parameters.step),
          implicit(parameters.is_implicit()),
          diffraction(parameters.diffracts()) {}
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
