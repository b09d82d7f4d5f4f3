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

// The first of the fields may be missing where there is another one instead, which there is not.
void require_numbers(const Record& record, Fields fields, const char* instead = nullptr) {
    for (const char* field : fields) {
        const Value* value = record.field(field);
        if (!holds_numbers(value)) {
            const bool neither = instead != nullptr && field == fields.front() && value == nullptr;
            record.refuse(field, "must hold a number, but " + described(value) +
                                     (neither ? std::string(", and so is '") + instead + "'" : ""));
        }
    }
}

// Sizes that no face has, and limits of no axis: the first field must be at least the second.
struct Order {
    const char* larger;
    const char* smaller;
};

constexpr Order orders[] = {{"outer_radius", "inner_radius"},
                            {"rad_curvature", "radius"},
                            {"geometric_focus", "outer_radius"},
                            {"xmax", "xmin"},
                            {"ymax", "ymin"},
                            {"zmax", "zmin"},
                            {"tmax", "tmin"}};

void check_order(const Record& record, Fields fields) {
    const auto number = [&](const char* field) {
        return is_among(fields, field) ? first_number(record.field(field)) : std::nullopt;
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

void check_threshold(const Record& record) {
    const std::optional<double> threshold = first_number(record.field("clip_threshold"));
    if (threshold && *threshold >= 1.0) {
        record.refuse(
            "clip_threshold",
            "must be below 1, at which no frequency is left, but holds " + shown(*threshold));
    }
}

void check_type(const Record& record) {
    const Value* type = record.field("type");
    const std::optional<double> number = first_number(type);
    if (!(number && *number >= 1.0 && *number < 4.0)) {
        record.refuse("type", "must be 1, 2 or 3, but " +
                                  (number ? "holds " + shown(*number) : described(type)));
    }
}

}  // namespace

void check_sizes(const Value* array, const std::vector<RequestedElement>& elements) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const Record record(array, "Transducer", "element", i);
        const Fields sizes = elements[i].shape->sizes;
        check_all(record, sizes, Demand::not_negative);
        check_order(record, sizes);
    }
}

void check_elements(const Value* array, const std::vector<RequestedElement>& elements) {
    check_sizes(array, elements);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        check_all({array, "Transducer", "element", i}, element_fields);
    }
}

void check_grid(const Value* value) {
    if (!is_record(value)) {
        return;
    }
    const Record record(value, "Coordinate grid");
    const Value* list = record.field("coordinates");
    if (list != nullptr && !is_numeric(list)) {
        record.refuse("coordinates", "must hold n x 3 numbers, but " + described(list));
    }
    if (list == nullptr) {
        require_numbers(record, Fields(grid_fields).subspan(1), "coordinates");
    }
    check_all(record, grid_fields);
    if (list == nullptr) {
        check_order(record, grid_fields);
        if (const Value* delta = record.field("delta"); entries_of(delta) != 3) {
            record.refuse("delta", "must hold 3 numbers, but " + described(delta));
        }
    }
}

void check_medium(const Value* value) {
    if (is_record(value)) {
        const Record record(value, "Medium");
        require_numbers(record, medium_fields);
        check_all(record, medium_fields);
    }
}

void check_times(const Value* value) {
    if (!is_record(value)) {
        return;
    }
    const Record record(value, "Time samples");
    const Value* list = record.field("time_samples");
    const bool regular = !holds_numbers(list);
    if (list != nullptr && regular && record.field("tmin") == nullptr) {
        record.refuse("time_samples", "must hold numbers, but " + described(list));
    }
    if (regular) {
        require_numbers(record, Fields(time_fields).subspan(1), "time_samples");
    }
    check_all(record, time_fields);
    if (regular) {
        check_order(record, time_fields);
    }
}

void check_excitation(const Value* value) {
    const bool sampled = is_record(value) && has_field(value, "signal");
    for (std::size_t i = 0; is_record(value) && i < entries_of(value); ++i) {
        const Record record(value, "Excitation", "row", i);
        check_all(record, waveform_fields);
        if (sampled) {
            check_threshold(record);
        } else {
            check_type(record);
        }
    }
}

}  // namespace kavro
