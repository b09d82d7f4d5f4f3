#include "transducers/array.h"

#include "transducers/driver.h"

namespace kavro {

TransducerStatus solve(Method method, std::span<Transducer* const> elements, Output output,
                       QuadratureReport* report) {
    return drive(method, elements, output, report);
}

TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements, Output output) {
    return solve(Method::fnm_tsd_sse, elements, output);
}

}  // namespace kavro
