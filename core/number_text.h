// Numbers in messages.
#pragma once

#include <string>

namespace kavro {

// The number as printf writes it by `format`, up to 31 characters.
std::string number_text(double number, const char* format = "%g");

}  // namespace kavro
