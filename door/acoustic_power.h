// The command that tells the power that an array radiates.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

std::unique_ptr<Command> new_acoustic_power();

}  // namespace kavro
