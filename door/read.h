// From what a user gave to a request that can be solved.
#pragma once

#include <span>

#include "door/call_console.h"
#include "door/request.h"

namespace kavro {

// Fills the request from the arguments of `solve`: a method's name, elements, a grid, a medium, and
// then options by name and value. The console gets what the options say of progress. Throws
// InputError for all that the method cannot be asked, in the same words for every host.
void read(SolveRequest& request, CallConsole& console, std::span<const Value* const> arguments);

// An array that is focused by its delays is not in a continuous wave, which asks for phases.
void warn_of_delays_without_phases(const SolveRequest& request);

// n rounded up to a multiple. What is below 1 stays so for the quadrature to refuse, as does what
// is not a number. Throws InputError beyond 32 bits.
int abscissas(double n, int multiple);

}  // namespace kavro
