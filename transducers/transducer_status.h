// What every solver returns.
#pragma once

namespace kavro {

enum TransducerStatus : int {
    status_success = 0,
    status_not_implemented = 1,  // the shape does not offer the method; nothing was touched
    status_out_of_memory = 2,
    status_failure = 3,      // a record or output that the method needs was not set
    status_interrupted = 4,  // the console port asked to stop; the output is incomplete
};

}  // namespace kavro
