// The one driver of all methods.
#pragma once

#include <span>

#include "transducers/method.h"
#include "transducers/output.h"
#include "transducers/quadrature_report.h"
#include "transducers/transducer.h"

namespace kavro {

// What array.h promises of `solve`.
TransducerStatus drive(Method method, std::span<Transducer* const> elements, Output output,
                       QuadratureReport* report);

}  // namespace kavro
