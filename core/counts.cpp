#include "core/counts.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <string>

#include "core/input_error.h"

namespace kavro {
namespace {

template <class Error = InputError>
[[noreturn]] void too_large(const char* what) {
    throw Error(std::string("Computed number of ") + what + " is too large.");
}

}  // namespace

std::optional<std::int32_t> count_of_steps(double min, double max, double spacing,
                                           const char* what) {
    if (min == max || spacing == 0.0) {
        return 1;
    }
    const double count = std::floor((max - min) / spacing + 1e-10) + 1.0;
    if (!(count >= 1.0)) {
        return std::nullopt;
    }
    if (count > std::numeric_limits<std::int32_t>::max()) {
        too_large(what);
    }
    return static_cast<std::int32_t>(count);
}

std::int32_t checked_product(std::int32_t a, std::int32_t b, const char* what) {
    const std::int64_t product = std::int64_t{a} * std::int64_t{b};
    if (product > std::numeric_limits<std::int32_t>::max()) {
        too_large(what);
    }
    return static_cast<std::int32_t>(product);
}

bool fits_into_memory(std::size_t count, std::size_t bytes) {
    if (count > std::numeric_limits<std::size_t>::max() / bytes) {
        return false;
    }
    const std::optional<std::uint64_t> available = available_memory();
    return !available || count * bytes <= *available;
}

void require_memory(std::size_t count, std::size_t bytes, const char* what) {
    if (!fits_into_memory(count, bytes)) {
        too_large<MemoryError>(what);
    }
}

std::optional<std::uint64_t> available_memory() {
    std::ifstream table("/proc/meminfo");
    std::string key;
    std::string unit;
    std::uint64_t kibibytes = 0;
    std::uint64_t sum = 0;
    bool found = false;
    while (table >> key >> kibibytes) {
        std::getline(table, unit);
        if (key == "MemAvailable:" || key == "SwapFree:") {
            sum += kibibytes * 1024;
            found = found || key == "MemAvailable:";
        }
    }
    return found ? std::optional(sum) : std::nullopt;
}

}  // namespace kavro
