// The elements as the host describes them.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "mex.h"
#include "transducers/transducer.h"

namespace kavro {

// The first n entries of the structure array as elements with size, placement, amplitude (1 where
// the array has no such field) and time delay (0 likewise). Throws InputError for the first entry
// that cannot be read.
std::vector<std::unique_ptr<Transducer>> transducers_from(const mxArray* array, int n);

// Gives the elements their `phase`, rad, where the array has such a field. Throws InputError.
void set_phases_from(const mxArray* array, std::span<Transducer* const> elements);

// Gives the elements their `apodization` where the array has such a field and the element's is not
// empty, otherwise the given value: the name of a profile or its number. Null stands for uniform.
// Throws InputError.
void set_apodizations_from(const mxArray* array, const mxArray* otherwise,
                           std::span<Transducer* const> elements);

}  // namespace kavro
