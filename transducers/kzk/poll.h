// Ctrl-C within a step of a nonlinear march.
#pragma once

#include <atomic>

#ifdef _OPENMP
#include <omp.h>
#endif

#include "core/console.h"

namespace kavro::kzk {

// Shared by the threads of a parallel region, each of which asks now and then whether to give up.
class Poll {
public:
    // Asks the console, if the thread is the calling one and nobody has given up yet.
    bool gives_up() {
#ifdef _OPENMP
        const bool calling = omp_get_thread_num() == 0;
#else
        const bool calling = true;
#endif
        if (calling && !interrupted_ && console::interrupted()) {
            interrupted_ = true;
        }
        return interrupted_;
    }

    bool interrupted() const {
        return interrupted_;
    }

private:
    std::atomic<bool> interrupted_{false};
};

}  // namespace kavro::kzk
