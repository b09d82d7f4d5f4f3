// Options: pairs of a name and a value behind a call's other arguments.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/input_error.h"
#include "door/call_console.h"
#include "door/host.h"
#include "transducers/operations.h"

namespace kavro {

// A name that is no option, or none that the function takes.
class OptionError : public InputError {
public:
    using InputError::InputError;
};

// Of two names of options: capitals do not count.
bool same_but_case(std::string_view a, std::string_view b);

struct OptionName {
    const char* name;
    bool taken = true;  // by this function; others take it
};

// The options of one call, each by its place in the list of names. The host's values stay where
// they are.
class Options {
public:
    // The arguments of the call of a function from number `first` on, counted from 0. Throws
    // InputError for a name that is unknown, that the function does not take, that has no value or
    // comes twice. Case does not count.
    Options(std::string function, std::vector<OptionName> names,
            std::span<const Value* const> arguments, std::size_t first);

    // Null where the option is not given.
    const Value* value(std::size_t option) const { return values_[option]; }
    bool given(std::size_t option) const { return value(option) != nullptr; }

    // These throw InputError where the value is not what it must be.
    std::optional<double> number(std::size_t option) const;     // finite
    std::optional<double> frequency(std::size_t option) const;  // positive
    std::vector<double> frequencies(std::size_t option) const;  // likewise, of one that is given
    std::optional<int> count(std::size_t option) const;         // a whole number of at least 1
    std::optional<bool> yes_or_no(std::size_t option,
                                  const std::string& expected = "true or false") const;

    // true, false or a function.
    void read_progress(CallConsole& console, std::size_t option) const;

    [[noreturn]] void refuse(std::size_t option, const std::string& expected) const;

private:
    [[noreturn]] void refuse_name(const std::string& complaint) const;

    std::string function_;
    std::vector<OptionName> names_;
    std::vector<const Value*> values_;
};

// The options of `solve`.
struct Option {
    enum Place : std::size_t {
        time,
        excitation,
        f0,
        tolerance,
        ndiv,
        apodization,
        kzk,
        measure,
        per_element,
        velocity,
        threads,
        exact,
        progress
    };
};

// Names of those that an operation takes, as 'time', 'excitation', ...
std::vector<const char*> option_names(const Operation& operation);

class SolveOptions : public Options {
public:
    SolveOptions(const Operation& operation, std::span<const Value* const> arguments,
                 std::size_t first);
};

}  // namespace kavro
