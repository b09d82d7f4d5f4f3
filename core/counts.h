// Counts of points, samples and output values, checked before anything is allocated.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kavro {

// Number of evenly spaced values from `min` to `max`: 1 where the two agree or the spacing is 0,
// otherwise floor((max - min)/spacing + 1e-10) + 1. The 1e-10 guards against a quotient that falls
// just short of a whole number. Empty where that is not at least 1 (limits or spacing not a
// number). Throws InputError "Computed number of <what> is too large." beyond the 32-bit range.
std::optional<std::int32_t> count_of_steps(double min, double max, double spacing,
                                           const char* what);

// The product of counts that are not negative. Throws InputError "Computed number of <what> is too
// large." where it leaves the 32-bit range.
std::int32_t checked_product(std::span<const std::int32_t> counts, const char* what);

// Whether `count` values of `bytes` bytes each fit into the memory that is left. To be asked before
// large allocations: systems that overcommit grant any request and kill the process once the pages
// are touched.
bool fits_into_memory(std::size_t count, std::size_t bytes);

// Throws MemoryError "Computed number of <what> is too large." where `count` values of `bytes` bytes
// each do not fit into the memory that is left.
void require_memory(std::size_t count, std::size_t bytes, const char* what);

// The same message for a count that is beyond the 32-bit range.
[[noreturn]] void refuse_count(double count, const char* what);

// A floating-point sample number as an index in [0, limit]; what is not a number gives 0.
inline int clamped_index(double sample_number, int limit) {
    if (!(sample_number > 0.0)) {
        return 0;
    }
    return sample_number < static_cast<double>(limit) ? static_cast<int>(sample_number) : limit;
}

}  // namespace kavro
