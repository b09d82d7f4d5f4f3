// Methods over all elements of an array.
#pragma once

#include <span>

#include "method.h"
#include "output.h"
#include "quadrature_report.h"
#include "transducer.h"

namespace kavro {

// Bit for bit what the method of each element in order gives, much faster: elements that share
// grid and time axis, of any shapes and with any outputs, are solved together, point by point.
// Returns the first status that is not 0; elements after that one are not solved. status_failure
// for a null element or one whose records are not all set. Reports progress to the console port,
// and asks it between tiles of points whether to stop: status_interrupted then, with an incomplete
// output. Methods that do not add (arrival times, nonlinear marches) are carried out for one
// element after the other. The report, if one is wanted, tells of elements with a tolerance; it is
// written, not added to.
TransducerStatus solve(Method method, std::span<Transducer* const> elements,
                       Output output = Output::accumulate, QuadratureReport* report = nullptr);

// The same for the one method by its own name.
TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements,
                             Output output = Output::accumulate);

}  // namespace kavro
