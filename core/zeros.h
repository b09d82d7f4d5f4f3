// Zeros in memory that may be large: touching some gigabytes for the first time takes seconds.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/interrupted.h"

namespace kavro {

inline constexpr std::size_t zeros_at_a_time = std::size_t{1} << 18;

template <class Value>
void fill_zeros(Value* to, std::size_t count, const Spend& spend) {
    for (std::size_t done = 0; done < count;) {
        const std::size_t some = std::min(zeros_at_a_time, count - done);
        spend(static_cast<std::int64_t>(some));
        std::fill_n(to + done, some, Value());
        done += some;
    }
}

// Makes the vector one of `count` zeros.
template <class Vector>
void assign_zeros(Vector& values, std::size_t count, const Spend& spend) {
    values.clear();
    values.reserve(count);
    while (values.size() < count) {
        const std::size_t some = std::min(zeros_at_a_time, count - values.size());
        spend(static_cast<std::int64_t>(some));
        values.resize(values.size() + some);
    }
}

}  // namespace kavro
