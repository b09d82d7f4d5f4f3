// The options of `kavro.solve`: pairs of a name and a value.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mex.h"
#include "transducers/operations.h"

namespace kavro {

enum class Option { time, excitation, f0, ndiv, apodization, kzk, threads, exact, progress };

// Names of the options that an operation takes, as 'time', 'excitation', ...
std::vector<const char*> option_names(const Operation& operation);

// The options of one call. The host's values stay where they are.
class SolveOptions {
public:
    // Throws InputError for a name that is unknown, that the operation does not use, that has no
    // value or comes twice. Case does not count.
    SolveOptions(const Operation& operation, std::span<const mxArray* const> pairs);

    // Null where the option is not given.
    const mxArray* value(Option option) const { return values_[static_cast<std::size_t>(option)]; }
    bool given(Option option) const { return value(option) != nullptr; }

    // These throw InputError where the value is not what it must be.
    std::optional<double> frequency(Option option) const;  // positive
    std::optional<int> count(Option option) const;         // a whole number of at least 1
    std::optional<bool> yes_or_no(Option option, const char* expected = "true or false") const;

    [[noreturn]] void refuse(Option option, const std::string& expected) const;

private:
    static constexpr std::size_t option_count = 9;
    const mxArray* values_[option_count] = {};
};

// 'a', 'b', 'c'
std::string quoted_list(std::span<const char* const> names);

}  // namespace kavro
