#include "core/interrupted.h"

#include "core/console.h"

namespace kavro {

void InterruptCheck::look() {
    steps_ = 0;
    if (console::interrupted()) {
        throw Interrupted();
    }
}

}  // namespace kavro
