#include "core/interrupted.h"

#include "core/console.h"

namespace kavro {

void InterruptCheck::spend(std::int64_t steps) {
    steps_ += steps;
    if (steps_ >= steps_between_looks) {
        steps_ = 0;
        if (console::interrupted()) {
            throw Interrupted();
        }
    }
}

}  // namespace kavro
