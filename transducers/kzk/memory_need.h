// Memory that a march takes for itself, beside its outputs.
#pragma once

#include <cstddef>

namespace kavro::kzk {

struct MemoryNeed {
    std::size_t count = 0;
    std::size_t bytes = 0;  // of each
};

}  // namespace kavro::kzk
