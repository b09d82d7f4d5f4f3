#include "door/options.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

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

bool knows_velocity(const Operation& operation) {
    return operation.method == Method::fnm_cw;
}

struct SolveOption {
    const char* name;
    unsigned input;                                       // the operations that use it; 0 for all
    bool (*holds)(const Operation& operation) = nullptr;  // and of which this holds, too
};

// In the order of Option.
constexpr std::array solve_options{
    SolveOption{"time", input_time},
    SolveOption{"excitation", input_excitation},
    SolveOption{"f0", input_frequency},
    SolveOption{"tolerance", 0, chooses_abscissas},
    SolveOption{"ndiv", input_quadrature},
    SolveOption{"apodization", input_apodization},
    SolveOption{"kzk", input_kzk},
    SolveOption{"measure", input_time},
    SolveOption{"per_element", 0, has_field_over_points},
    SolveOption{"velocity", 0, knows_velocity},
    SolveOption{"threads", 0},
    SolveOption{"exact", 0},
    SolveOption{"progress", 0},
};

std::vector<OptionName> names_for(const Operation& operation) {
    std::vector<OptionName> names;
    for (const SolveOption& option : solve_options) {
        names.push_back(
            {option.name, (option.input == 0 || (operation.inputs & option.input) != 0) &&
                              (option.holds == nullptr || option.holds(operation))});
    }
    return names;
}

std::vector<const char*> taken(std::span<const OptionName> names) {
    std::vector<const char*> list;
    for (const OptionName& option : names) {
        if (option.taken) {
            list.push_back(option.name);
        }
    }
    return list;
}

}  // namespace

bool same_but_case(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char left, char right) {
        return std::tolower(static_cast<unsigned char>(left)) ==
               std::tolower(static_cast<unsigned char>(right));
    });
}

Options::Options(std::string function, std::vector<OptionName> names,
                 std::span<const Value* const> arguments, std::size_t first)
    : function_(std::move(function)), names_(std::move(names)), values_(names_.size()) {
    for (std::size_t i = first; i < arguments.size(); i += 2) {
        const std::optional<std::string> name = text_of(arguments[i]);
        if (!name) {
            refuse_name("Argument " + std::to_string(i + host_words.first) +
                        " must be the name of an option.");
        }
        const auto found = std::find_if(
            names_.begin(), names_.end(),
            [&](const OptionName& option) { return same_but_case(option.name, *name); });
        if (found == names_.end()) {
            refuse_name("There is no option '" + shown(*name) + "'.");
        }
        if (!found->taken) {
            refuse_name(std::string("The option '") + found->name + "' is not used by " +
                        function_ + ".");
        }
        const Value*& value = values_[static_cast<std::size_t>(found - names_.begin())];
        if (i + 1 == arguments.size()) {
            throw InputError("The option '" + *name + "' has no value.");
        }
        if (value != nullptr) {
            throw InputError("The option '" + *name + "' is given twice.");
        }
        value = arguments[i + 1];
    }
}

void Options::refuse_name(const std::string& complaint) const {
    throw OptionError(complaint + " " + function_ + " takes the options " +
                      quoted_list(taken(names_)) + ".");
}

void Options::refuse(std::size_t option, const std::string& expected) const {
    refuse(option, expected, contrasted(value(option)));
}

void Options::refuse(std::size_t option, const std::string& expected,
                     const std::string& found) const {
    throw InputError(std::string("The option '") + names_[option].name + "' must be " + expected +
                     found + ".");
}

std::optional<double> Options::number(std::size_t option) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<double> number = single_number(value(option));
    if (!number || !std::isfinite(*number)) {
        refuse(option, "one finite number");
    }
    return number;
}

std::optional<double> Options::frequency(std::size_t option) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<double> number = single_number(value(option));
    if (!number || !(*number > 0.0) || std::isinf(*number)) {
        refuse(option, "one positive number (Hz)");
    }
    return number;
}

std::vector<double> Options::frequencies(std::size_t option) const {
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
            refuse(option, expected, ", not " + shown(frequency));
        }
    }
    return frequencies;
}

std::optional<int> Options::count(std::size_t option) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<int> count = count_from(value(option));
    if (!count) {
        constexpr int most = std::numeric_limits<int>::max();
        const bool is_too_large = single_number(value(option)).value_or(0.0) > most;
        refuse(option, is_too_large ? "one whole number from 1 to " + std::to_string(most)
                                    : "one whole number of at least 1");
    }
    return count;
}

std::optional<bool> Options::yes_or_no(std::size_t option, const std::string& expected) const {
    if (!given(option)) {
        return std::nullopt;
    }
    const std::optional<bool> on = switch_of(value(option));
    if (!on) {
        refuse(option, expected);
    }
    return on;
}

void Options::read_progress(CallConsole& console, std::size_t option) const {
    const Value* progress = value(option);
    if (progress != nullptr && is_function(progress)) {
        console.hand_progress_to(progress);
    } else if (const auto on =
                   yes_or_no(option, std::string("true, false or a ") + host_words.function)) {
        console.show_progress_line(*on);
    }
}

std::vector<const char*> option_names(const Operation& operation) {
    return taken(names_for(operation));
}

SolveOptions::SolveOptions(const Operation& operation, std::span<const Value* const> arguments,
                           std::size_t first)
    : Options(operation.name, names_for(operation), arguments, first) {
    static_assert(solve_options.size() == Option::progress + 1);
}

}  // namespace kavro
