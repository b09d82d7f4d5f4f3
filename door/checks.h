// What `kavro.solve` asks of the numbers in its structures beyond what their readers ask: those it
// shares with a module whose reading is fixed.
#pragma once

#include "mex.h"

namespace kavro {

// Each throws InputError with the field, what it must be and what it holds. Fields that are missing
// or hold no numbers are the reader's to refuse, and so is a value that is no structure.
void check_elements(const mxArray* array);  // of known shapes
void check_grid(const mxArray* structure);
void check_medium(const mxArray* structure);
void check_times(const mxArray* structure);
void check_excitation(const mxArray* structure);

}  // namespace kavro
