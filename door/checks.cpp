#include "door/checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "door/values.h"

namespace kavro {
namespace {

enum class Demand { finite, not_negative, positive };

using Fields = std::span<const char* const>;

constexpr std::array element_fields{"center", "euler", "amplitude", "phase", "time_delay"};
constexpr std::array grid_fields{"coordinates", "xmin", "xmax", "ymin",
                                 "ymax",        "zmin", "zmax", "delta"};
constexpr std::array medium_fields{"soundspeed",          "density",
                                   "attenuationdBcmMHz",  "bloodperfusion",
                                   "specificheat",        "specificheatofblood",
                                   "thermalconductivity", "nonlinearityparameter",
                                   "powerlawexponent"};
constexpr std::array time_fields{"time_samples", "tmin", "tmax", "deltat"};
constexpr std::array waveform_fields{"f0", "pulse_width",   "B", "signal", "ts",
                                     "w",  "clip_threshold"};

// What has a reciprocal, and what has no direction. Sizes of a face are among the latter unless
// they are among the former.
constexpr std::array positive{"soundspeed", "ts", "rad_curvature", "geometric_focus"};
constexpr std::array not_negative{"density", "attenuationdBcmMHz", "delta",
                                  "deltat",  "pulse_width",        "w"};

bool is_among(Fields fields, std::string_view name) {
    return std::find(fields.begin(), fields.end(), name) != fields.end();
}

Demand demand_of(const char* field, Demand otherwise) {
    if (is_among(positive, field)) {
        return Demand::positive;
    }
    return is_among(not_negative, field) ? Demand::not_negative : otherwise;
}

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

void check(const Record& record, const char* field, Demand demand) {
    const Value* value = record.field(field);
    if (!holds_numbers(value)) {
        return;
    }
    if (is_complex(value)) {
        record.refuse(field, "must hold real numbers, but holds complex ones");
    }
    const Numbers numbers(value);
    const auto wrong = std::find_if(numbers.span().begin(), numbers.span().end(),
                                    [&](double number) { return !meets(number, demand); });
    if (wrong != numbers.span().end()) {
        record.refuse(field, expected(demand) + (", but holds " + shown(*wrong)));
    }
}

void check_all(const Record& record, Fields fields, Demand unless_known = Demand::finite) {
    for (const char* field : fields) {
        check(record, field, demand_of(field, unless_known));
    }
}

void check_first_entry(const Value* value, const char* title, Fields fields) {
    if (is_record(value)) {
        check_all({value, title}, fields);
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

void check_order(const Record& record, Fields sizes) {
    const auto number = [&](const char* field) {
        return is_among(sizes, field) ? first_number(record.field(field)) : std::nullopt;
    };
    for (const Order& order : orders) {
        const std::optional<double> larger = number(order.larger);
        const std::optional<double> smaller = number(order.smaller);
        if (larger && smaller && *larger < *smaller) {
            record.refuse(order.larger, std::string("must be at least '") + order.smaller + "', " +
                                            shown(*smaller) + ", but holds " + shown(*larger));
        }
    }
}

}  // namespace

void check_elements(const Value* array, const std::vector<RequestedElement>& elements) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const Record record(array, "Transducer", "element", i);
        const Fields sizes = elements[i].shape->sizes;
        check_all(record, sizes, Demand::not_negative);
        check_order(record, sizes);
        check_all(record, element_fields);
    }
}

void check_grid(const Value* value) {
    check_first_entry(value, "Coordinate grid", grid_fields);
}

void check_medium(const Value* value) {
    check_first_entry(value, "Medium", medium_fields);
}

void check_times(const Value* value) {
    check_first_entry(value, "Time samples", time_fields);
}

void check_excitation(const Value* value) {
    for (std::size_t i = 0; i < entries_of(value); ++i) {
        check_all({value, "Excitation", "row", i}, waveform_fields);
    }
}

}  // namespace kavro
