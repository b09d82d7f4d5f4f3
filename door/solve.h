// From a request to its result.
#pragma once

#include <string>
#include <vector>

#include "door/call_console.h"
#include "door/request.h"

namespace kavro {

// The result's array, all zeros, for what the request holds by then: its points, and the times,
// elements or parameters that the operation's result has a dimension of. Throws InputError
// "Computed number of output values is too large.", std::bad_alloc, and what the host throws.
//
// Elements over time: nx x ny x nz x ntimes for a regular grid, npoints x ntimes for a list of
// points; continuous waves: the same without times, npoints x 1; arrival times: elements x 2;
// marches: nx x nz x ntimes, nx x nz x harmonics.
SolveResult new_result(const SolveRequest& request);

// Solves, and keeps status and warnings in the result. Needs no more of the host than the console
// asks: progress, prints and whether to end. Throws InputError where the memory does not suffice.
void solve(SolveRequest& request, CallConsole& console, SolveResult& result);

// A record of what was done: method; tolerance (NaN where abscissas were counted); abscissas
// (fewest, mean and most of a rim or piece of an edge); points that were reached, and unreached,
// those of them where the tolerance is not; there worst_error, as a share of an element's field,
// worst_point (x, y, z; NaN where there is none) and reason.
Result* new_report(const SolveRequest& request, const SolveResult& result);

// Hands the warnings to the host and completes the progress. Throws InputError with the text for
// every status but success, and what the host or the user's function threw meanwhile.
void finish(CallConsole& console, const std::vector<std::string>& warnings,
            TransducerStatus status);

}  // namespace kavro
