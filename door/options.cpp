#include "door/options.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <string_view>

#include "core/input_error.h"
#include "door/values.h"

namespace kavro {
namespace {

bool has_field_over_points(const Operation& operation) {
    return operation.kind != OperationKind::arrival_times;
}

bool chooses_abscissas(const Operation& operation) {
    return takes_tolerance(operation.method);
}

struct OptionName {
    const char* name;
    unsigned input;                                       // the operations that use it; 0 for all
    bool (*holds)(const Operation& operation) = nullptr;  // and of which this holds, too
};

// In the order of Option.
constexpr std::array all_options{
    OptionName{"time", input_time},
    OptionName{"excitation", input_excitation},
    OptionName{"f0", input_frequency},
    OptionName{"tolerance", 0, chooses_abscissas},
    OptionName{"ndiv", input_quadrature},
    OptionName{"apodization", input_apodization},
    OptionName{"kzk", input_kzk},
    OptionName{"measure", input_time},
    OptionName{"per_element", 0, has_field_over_points},
    OptionName{"threads", 0},
    OptionName{"exact", 0},
    OptionName{"progress", 0},
};

bool takes(const Operation& operation, const OptionName& option) {
    return (option.input == 0 || (operation.inputs & option.input) != 0) &&
           (option.holds == nullptr || option.holds(operation));
}

std::size_t index_of(const std::string& name) {
    const auto found =
        std::find_if(all_options.begin(), all_options.end(),
                     [&](const OptionName& option) { return same_but_case(option.name, name); });
    return static_cast<std::size_t>(found - all_options.begin());
}

[[noreturn]] void refuse_name(const Operation& operation, const std::string& complaint) {
    throw OptionError(complaint + " " + operation.name + " takes the options " +
                      quoted_list(option_names(operation)) + ".");
}

}  // namespace

bool same_but_case(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char left, char right) {
        return std::tolower(static_cast<unsigned char>(left)) ==
               std::tolower(static_cast<unsigned char>(right));
    });
}

std::vector<const char*> option_names(const Operation& operation) {
    std::vector<const char*> names;
    for (const OptionName& option : all_options) {
        if (takes(operation, option)) {
            names.push_back(option.name);
        }
    }
    return names;
}

SolveOptions::SolveOptions(const Operation& operation, std::span<const Value* const> arguments,
                           std::size_t first) {
    static_assert(all_options.size() == option_count);
    for (std::size_t i = first; i < arguments.size(); i += 2) {
        const std::optional<std::string> name = text_of(arguments[i]);
        if (!name) {
            refuse_name(operation, "Argument " + std::to_string(i + host_words.first) +
                                       " must be the name of an option.");
        }
        const std::size_t index = index_of(*name);
        if (index == option_count) {
            refuse_name(operation, "There is no option '" + shown(*name) + "'.");
        }
        if (!takes(operation, all_options[index])) {
            refuse_name(operation, std::string("The option '") + all_options[index].name +
                                       "' is not used by " + operation.name + ".");
        }
        if (i + 1 == arguments.size()) {
            throw InputError("The option '" + *name + "' has no value.");
        }
        if (values_[index] != nullptr) {
            throw InputError("The option '" + *name + "' is given twice.");
        }
        values_[index] = arguments[i + 1];
    }
}

void SolveOptions::refuse(Option option, const std::string& expected) const {
    throw InputError(std::string("The option '") +
                     all_options[static_cast<std::size_t>(option)].name + "' must be " + expected +
                     ".");
}

std::optional<double> SolveOptions::frequency(Option option) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<double> number = single_number(value(option));
    if (!number || !(*number > 0.0) || std::isinf(*number)) {
        refuse(option, "one positive number (Hz)");
    }
    return number;
}

std::vector<double> SolveOptions::frequencies(Option option) const {
    const Value* list = value(option);
    const char* expected = "one positive number (Hz) or a vector of them";
    const bool is_vector = holds_real_numbers(list) && dimensions_of(list) == 2 &&
                           (rows_of(list) == 1 || columns_of(list) == 1);
    if (!is_vector) {
        refuse(option, expected);
    }
    std::vector<double> frequencies = first_numbers(list, entries_of(list));
    for (const double frequency : frequencies) {
        if (!(frequency > 0.0) || std::isinf(frequency)) {
            refuse(option, std::string(expected) + ", not " + shown(frequency));
        }
    }
    return frequencies;
}

std::optional<int> SolveOptions::count(Option option) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<int> count = count_from(value(option));
    if (!count) {
        refuse(option, "one whole number of at least 1");
    }
    return count;
}

std::optional<bool> SolveOptions::yes_or_no(Option option, const std::string& expected) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<bool> on = switch_of(value(option));
    if (!on) {
        refuse(option, expected);
    }
    return on;
}

}  // namespace kavro
