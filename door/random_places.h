// The command `random_places`: where the elements of a random array stand.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Number of elements, radii of the aperture and of an element (m), and options by name and value.
// Its result is the n x 3 centres (m).
std::unique_ptr<Command> new_random_places();

}  // namespace kavro
