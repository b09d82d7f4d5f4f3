// The elements as a user describes them.
#pragma once

#include <vector>

#include "door/host.h"
#include "door/request.h"

namespace kavro {

// Their number. Throws InputError for what is no record, and beyond 32 bits.
int count_of_elements(const Value* array);

// How much of the text in `shape` is the shape's name.
enum class ShapeName { up_to_nul, whole };

// All entries of the record as elements with size, placement, amplitude (1 where the array has no
// such field) and time delay (0 likewise). Throws InputError for the first entry that cannot be
// read.
std::vector<RequestedElement> elements_from(const Value* array, ShapeName name);

// Gives the elements their `phase`, rad, where the array has such a field. Throws InputError.
void set_phases(const std::vector<RequestedElement>& elements, const Value* array);

// Gives the elements their `apodization` where the array has such a field and the element's is not
// empty, otherwise the given value: the name of a profile or its number. Null stands for uniform.
// Throws InputError.
void set_apodizations(const std::vector<RequestedElement>& elements, const Value* array,
                      const Value* otherwise);

}  // namespace kavro
