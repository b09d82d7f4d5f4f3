#include "door/checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/input_error.h"
#include "door/values.h"
#include "transducers/shapes.h"

namespace kavro {
namespace {

enum class Demand { finite, not_negative, positive };

struct Rule {
    const char* field;
    Demand demand;
};

constexpr Rule element_rules[] = {{"center", Demand::finite},
                                  {"euler", Demand::finite},
                                  {"amplitude", Demand::finite},
                                  {"phase", Demand::finite},
                                  {"time_delay", Demand::finite}};

constexpr Rule grid_rules[] = {{"coordinates", Demand::finite}, {"xmin", Demand::finite},
                               {"xmax", Demand::finite},        {"ymin", Demand::finite},
                               {"ymax", Demand::finite},        {"zmin", Demand::finite},
                               {"zmax", Demand::finite},        {"delta", Demand::not_negative}};

constexpr Rule medium_rules[] = {{"soundspeed", Demand::positive},
                                 {"density", Demand::not_negative},
                                 {"attenuationdBcmMHz", Demand::not_negative},
                                 {"bloodperfusion", Demand::finite},
                                 {"specificheat", Demand::finite},
                                 {"specificheatofblood", Demand::finite},
                                 {"thermalconductivity", Demand::finite},
                                 {"nonlinearityparameter", Demand::finite},
                                 {"powerlawexponent", Demand::finite}};

constexpr Rule time_rules[] = {{"time_samples", Demand::finite},
                               {"tmin", Demand::finite},
                               {"tmax", Demand::finite},
                               {"deltat", Demand::not_negative}};

constexpr Rule waveform_rules[] = {{"f0", Demand::finite},
                                   {"pulse_width", Demand::not_negative},
                                   {"B", Demand::finite},
                                   {"signal", Demand::finite},
                                   {"ts", Demand::positive},
                                   {"w", Demand::not_negative},
                                   {"clip_threshold", Demand::finite}};

bool meets(double number, Demand demand) {
    return std::isfinite(number) && (demand == Demand::finite || number > 0.0 ||
                                     (demand == Demand::not_negative && number == 0.0));
}

const char* expected(Demand demand) {
    switch (demand) {
        case Demand::not_negative:
            return "must be finite and at least 0";
        case Demand::positive:
            return "must be finite and positive";
        default:
            return "must be finite";
    }
}

// As the hosts write it.
std::string shown(double number) {
    if (std::isnan(number)) {
        return "NaN";
    }
    if (std::isinf(number)) {
        return number > 0.0 ? "Inf" : "-Inf";
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

// Entry i of a structure; complaints call it by its title, and by a word and its number where the
// structure may have several.
struct Entry {
    const mxArray* structure;
    const char* title;
    const char* word = nullptr;
    std::size_t index = 0;
};

[[noreturn]] void refuse(const Entry& entry, const char* field, const std::string& expected,
                         const std::string& held) {
    std::string place;
    if (entry.word != nullptr) {
        place = std::string(" (") + entry.word + " " + std::to_string(entry.index + 1) + ")";
    }
    throw InputError(std::string(entry.title) + " field '" + field + "' " + expected +
                     ", but holds " + held + place + ".");
}

void check(const Entry& entry, Rule rule) {
    const mxArray* value = field_of(entry.structure, entry.index, rule.field);
    if (holds_numbers(value) && mxIsComplex(value)) {
        refuse(entry, rule.field, "must hold real numbers", "complex ones");
    }
    if (!holds_real_numbers(value)) {
        return;
    }
    std::vector<double> converted;
    std::span<const double> numbers(mxGetPr(value), mxGetNumberOfElements(value));
    if (mxGetClassID(value) != mxDOUBLE_CLASS) {
        converted = numbers_of(value);
        numbers = converted;
    }
    const auto wrong = std::find_if(numbers.begin(), numbers.end(),
                                    [&](double number) { return !meets(number, rule.demand); });
    if (wrong != numbers.end()) {
        refuse(entry, rule.field, expected(rule.demand), shown(*wrong));
    }
}

// Sizes that no face has: the first field must be at least the second.
struct Order {
    const char* larger;
    const char* smaller;
};

constexpr Order orders[] = {{"outer_radius", "inner_radius"},
                            {"rad_curvature", "radius"},
                            {"geometric_focus", "outer_radius"}};

void check_order(const Entry& entry, std::span<const char* const> sizes) {
    const auto number = [&](const char* field) -> std::optional<double> {
        const bool has = std::any_of(sizes.begin(), sizes.end(), [&](const char* size) {
            return std::string_view(size) == field;
        });
        return has ? first_number(field_of(entry.structure, entry.index, field)) : std::nullopt;
    };
    for (const Order& order : orders) {
        const std::optional<double> larger = number(order.larger);
        const std::optional<double> smaller = number(order.smaller);
        if (larger && smaller && *larger < *smaller) {
            refuse(entry, order.larger,
                   std::string("must be at least '") + order.smaller + "', " + shown(*smaller),
                   shown(*larger));
        }
    }
}

// A radius of curvature has a reciprocal.
Demand demand_of(std::string_view size) {
    return size == "rad_curvature" || size == "geometric_focus" ? Demand::positive
                                                                : Demand::not_negative;
}

void check_all(const Entry& entry, std::span<const Rule> rules) {
    if (mxIsStruct(entry.structure)) {
        for (const Rule& rule : rules) {
            check(entry, rule);
        }
    }
}

}  // namespace

void check_elements(const mxArray* array) {
    for (std::size_t i = 0; i < mxGetNumberOfElements(array); ++i) {
        const Entry entry{array, "Transducer", "element", i};
        const std::span<const char* const> sizes =
            shape_of(*text_of(field_of(array, i, "shape")))->sizes;
        for (const char* size : sizes) {
            check(entry, {size, demand_of(size)});
        }
        check_order(entry, sizes);
        check_all(entry, element_rules);
    }
}

void check_grid(const mxArray* structure) {
    check_all({structure, "Coordinate grid"}, grid_rules);
}

void check_medium(const mxArray* structure) {
    check_all({structure, "Medium"}, medium_rules);
}

void check_times(const mxArray* structure) {
    check_all({structure, "Time samples"}, time_rules);
}

void check_excitation(const mxArray* structure) {
    for (std::size_t i = 0; i < mxGetNumberOfElements(structure); ++i) {
        check_all({structure, "Excitation", "row", i}, waveform_rules);
    }
}

}  // namespace kavro
