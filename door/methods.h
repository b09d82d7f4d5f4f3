// The library's table of methods as a text, for hosts to list.
#pragma once

#include <string>

namespace kavro {

// One line for each shape, "shape<tab>identifier<tab>name", then one for each method, "method<tab>
// name<tab>shapes<tab>options<tab>default ndiv<tab>its multiple<tab>summary". Shapes and options
// are identifiers and names joined by commas.
std::string table_of_methods();

}  // namespace kavro
