// A run of samples of the time axis.
#pragma once

#include <cstdint>

namespace kavro {

// Samples begin <= j < end; none where begin >= end.
struct SampleWindow {
    std::int32_t begin;
    std::int32_t end;
};

}  // namespace kavro
