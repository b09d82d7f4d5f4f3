// The nonlinear marches of an element, for who wants to know more of them than a status.
#pragma once

#include <optional>

#include "transducers/kzk/fault.h"
#include "transducers/kzk/memory_need.h"
#include "transducers/kzk/outcome.h"
#include "transducers/transducer.h"

namespace kavro::kzk {

// What keeps kzk_transient (or, if `harmonic`, kzk_cw) of the element from marching, the first that
// is found; empty where it can march, where a record but the output is missing and where the
// element has no such march. A march called all the same stores zeros.
std::optional<Fault> fault_of(Transducer& element, bool harmonic);

// What a march takes of which fault_of knows no fault.
MemoryNeed memory_of(Transducer& element, bool harmonic);

// What kzk_transient (or kzk_cw) does. status_failure where a record is missing,
// status_not_implemented for shapes that do not offer it.
Outcome march(Transducer& element, bool harmonic);

}  // namespace kavro::kzk
