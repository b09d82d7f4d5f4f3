// A time axis that no wave falls into.
#pragma once

#include "door/request.h"

namespace kavro {

// Of a field over time that is solved, or its measures: warns where it is exactly zero because no
// instant of the axis lies within the stay of a wave at the points.
void warn_of_missed_waves(const SolveRequest& request, const SolveResult& result);

}  // namespace kavro
