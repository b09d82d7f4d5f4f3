// The observation points as the host describes them.
#pragma once

#include "core/coordinate_grid.h"
#include "mex.h"

namespace kavro {

// Fills the grid from entry 0 of the structure: the field `coordinates` (n x 3) if there is one,
// otherwise `xmin` ... `zmax` and `delta`. Returns true. Throws InputError, after printing what is
// missing; a limit that is empty or not numeric is missing.
bool allocate_memory_and_set_values(CoordinateGrid& grid, const mxArray* structure);

}  // namespace kavro
