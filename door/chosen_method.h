// The method that a call is solved by, for hosts that cut the call into parts.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Reads and checks the arguments of `solve`; its answer is the method's name.
std::unique_ptr<Command> new_chosen_method();

}  // namespace kavro
