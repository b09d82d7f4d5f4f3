// The command `bioheat`: temperature in tissue over time.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Heat rate (W/m^3, one number or one for each point), grid, medium, times (s, or a time axis) and
// options by name and value. Its result is nx x ny x nz x times, degrees Celsius.
std::unique_ptr<Command> new_bioheat();

}  // namespace kavro
