// The options of `solve`: pairs of a name and a value.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/input_error.h"
#include "door/host.h"
#include "transducers/operations.h"

namespace kavro {

enum class Option {
    time,
    excitation,
    f0,
    tolerance,
    ndiv,
    apodization,
    kzk,
    measure,
    per_element,
    threads,
    exact,
    progress
};

// Names of the options that an operation takes, as 'time', 'excitation', ...
std::vector<const char*> option_names(const Operation& operation);

// A name that is no option, or none of the operation's.
class OptionError : public InputError {
public:
    using InputError::InputError;
};

// Of two names of options: capitals do not count.
bool same_but_case(std::string_view a, std::string_view b);

// The options of one call. The host's values stay where they are.
class SolveOptions {
public:
    // The arguments of the call from number `first` on, counted from 0. Throws InputError for a
    // name that is unknown, that the operation does not use, that has no value or comes twice. Case
    // does not count.
    SolveOptions(const Operation& operation, std::span<const Value* const> arguments,
                 std::size_t first);

    // Null where the option is not given.
    const Value* value(Option option) const { return values_[static_cast<std::size_t>(option)]; }
    bool given(Option option) const { return value(option) != nullptr; }

    // These throw InputError where the value is not what it must be.
    std::optional<double> frequency(Option option) const;  // positive
    std::vector<double> frequencies(Option option) const;  // of an option that is given: likewise
    std::optional<int> count(Option option) const;         // a whole number of at least 1
    std::optional<bool> yes_or_no(Option option,
                                  const std::string& expected = "true or false") const;

    [[noreturn]] void refuse(Option option, const std::string& expected) const;

private:
    static constexpr std::size_t option_count = 12;
    const Value* values_[option_count] = {};
};

}  // namespace kavro
