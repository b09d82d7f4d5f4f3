// What `solve` asks of its records beyond what their readers ask: those it shares with a function
// whose reading is fixed. (That function asks for sizes, too.)
#pragma once

#include <vector>

#include "door/host.h"
#include "door/request.h"

namespace kavro {

// Each throws InputError with the field, what it must be and what it holds. Fields that are missing
// or hold no numbers are the reader's to refuse, and so is a value that is no record.
void check_sizes(const Value* array, const std::vector<RequestedElement>& elements);
void check_elements(const Value* array, const std::vector<RequestedElement>& elements);
void check_grid(const Value* value);
void check_medium(const Value* value);
void check_times(const Value* value);
void check_excitation(const Value* value);

}  // namespace kavro
