// What a transient nonlinear march is made of, and whether it can run.
#pragma once

#include <optional>

#include "core/kzk_parameters.h"
#include "transducers/kzk/fault.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/radial_grid.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

struct TransientSetting {
    Parameters parameters;
    RadialGrid radii;
    Planes planes;
    TransientShape shape;
    RetardedTime axis;

    // The element has its records. An exact one's last range is that of its last plane.
    TransientSetting(const Transducer& element, const TransientShape& of);

    std::optional<Fault> fault(const Transducer& element) const;
};

}  // namespace kavro::kzk
