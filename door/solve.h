// From a request to its result.
#pragma once

#include <string>
#include <vector>

#include "door/call_console.h"
#include "door/request.h"

namespace kavro {

// Solves, and keeps status and warnings in the result. Needs no more of the host than the console
// asks: progress, prints and whether to end. Throws InputError where the memory does not suffice.
void solve(SolveRequest& request, CallConsole& console, SolveResult& result);

// Hands the warnings to the host and completes the progress. Throws InputError with the text for
// every status but success, and what the host or the user's function threw meanwhile.
void finish(CallConsole& console, const std::vector<std::string>& warnings,
            TransducerStatus status);

}  // namespace kavro
