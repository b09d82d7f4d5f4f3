#include "core/counts.h"

#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <string>

#include "core/available_memory.h"
#include "core/input_error.h"
#include "core/number_text.h"

namespace kavro {
namespace {

constexpr double most = std::numeric_limits<std::int32_t>::max();

template <class Error = InputError>
[[noreturn]] void too_large(const char* what, const std::string& more) {
    throw Error(std::string("Computed number of ") + what + " is too large.", more);
}

std::string gigabytes(double bytes) {
    return number_text(bytes * 1e-9, "%.3g GB");
}

}  // namespace

void refuse_count(double count, const char* what) {
    too_large(what, number_text(count, count < 1e15 ? "%.0f" : "%g") + " are asked for, " +
                        number_text(most, "%.0f") + " are the most.");
}

std::optional<std::int32_t> count_of_steps(double min, double max, double spacing,
                                           const char* what) {
    if (min == max || spacing == 0.0) {
        return 1;
    }
    const double count = std::floor((max - min) / spacing + 1e-10) + 1.0;
    if (!(count >= 1.0)) {
        return std::nullopt;
    }
    if (count > most) {
        refuse_count(count, what);
    }
    return static_cast<std::int32_t>(count);
}

std::int32_t checked_product(std::span<const std::int32_t> counts, const char* what) {
    const double product = std::accumulate(counts.begin(), counts.end(), 1.0, std::multiplies<>());
    if (product > most) {
        refuse_count(product, what);
    }
    return static_cast<std::int32_t>(product);
}

bool fits_into_memory(std::size_t count, std::size_t bytes) {
    if (count > std::numeric_limits<std::size_t>::max() / bytes) {
        return false;
    }
    // What is small is not worth asking the system about it.
    constexpr std::size_t small = std::size_t{1} << 20;
    if (count * bytes <= small) {
        return true;
    }
    const std::optional<std::uint64_t> available = available_memory();
    return !available || count * bytes <= *available;
}

void require_memory(std::size_t count, std::size_t bytes, const char* what) {
    if (!fits_into_memory(count, bytes)) {
        const auto left = static_cast<double>(available_memory().value_or(0));
        too_large<MemoryError>(what,
                               gigabytes(static_cast<double>(count) * static_cast<double>(bytes)) +
                                   " of memory are needed, " + gigabytes(left) + " are left.");
    }
}

}  // namespace kavro
