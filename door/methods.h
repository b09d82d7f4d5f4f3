// The library's table of methods as a text, for hosts to list.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Its answer has one line for each shape, "shape<tab>identifier<tab>name", then one for each
// method, "method<tab>name<tab>shapes<tab>options<tab>default ndiv<tab>its multiple<tab>summary".
// Shapes and options are identifiers and names joined by commas.
std::unique_ptr<Command> new_methods();

}  // namespace kavro
