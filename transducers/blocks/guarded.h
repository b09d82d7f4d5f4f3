// Solvers return a status and throw nothing.
#pragma once

#include <new>
#include <stdexcept>

#include "core/interrupted.h"
#include "transducers/transducer_status.h"

namespace kavro {

// What `solve` returns, or status_out_of_memory where it runs out of memory, or status_interrupted
// where it is interrupted.
template <class Solve>
TransducerStatus guarded(Solve solve) {
    try {
        return solve();
    } catch (const std::bad_alloc&) {
        return status_out_of_memory;
    } catch (const std::length_error&) {
        return status_out_of_memory;
    } catch (const Interrupted&) {
        return status_interrupted;
    }
}

}  // namespace kavro
