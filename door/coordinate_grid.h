// The observation points as a user describes them.
#pragma once

#include "core/coordinate_grid.h"
#include "door/host.h"

namespace kavro {

// Fills the grid from entry 0 of the record: the field `coordinates` (n x 3) if there is one,
// otherwise `xmin` ... `zmax` and `delta`. Throws InputError, after printing what is
// missing; a limit that is empty or not numeric is missing.
void read_grid(CoordinateGrid& grid, const Value* value);

}  // namespace kavro
