// The host's arrays for what a request asks for.
#pragma once

#include "door/request.h"

namespace kavro {

bool is_march(OperationKind kind);
bool is_complex(OperationKind kind);

// The result's array, all zeros, for what the request holds by then: its points, and the times,
// elements or parameters that the operation's result has a dimension of. Throws InputError
// "Computed number of output values is too large.", std::bad_alloc, and what the host throws.
//
// Elements over time: nx x ny x nz x ntimes for a regular grid, npoints x ntimes for a list of
// points; continuous waves: the same without times, npoints x 1; arrival times: elements x 2;
// marches: nx x nz x ntimes, nx x nz x harmonics.
SolveResult new_result(const SolveRequest& request);

// A record of what was done: method; tolerance (NaN where abscissas were counted); abscissas
// (fewest, mean and most of a rim or piece of an edge); points that were reached, and unreached,
// those of them where the tolerance is not; there worst_error, as a share of an element's field,
// worst_point (x, y, z; NaN where there is none) and reason.
Result* new_report(const SolveRequest& request, const SolveResult& result);

}  // namespace kavro
