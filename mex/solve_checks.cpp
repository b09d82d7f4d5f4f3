#include "mex/solve_checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "core/input_error.h"
#include "mex/host_values.h"
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

// A soundspeed of 0 stands for the default.
constexpr Rule medium_rules[] = {{"soundspeed", Demand::not_negative},
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

void check(const Entry& entry, Rule rule) {
    const mxArray* value = field_of(entry.structure, entry.index, rule.field);
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
        std::string place;
        if (entry.word != nullptr) {
            place = std::string(" (") + entry.word + " " + std::to_string(entry.index + 1) + ")";
        }
        throw InputError(std::string(entry.title) + " field '" + rule.field + "' " +
                         expected(rule.demand) + ", but holds " + shown(*wrong) + place + ".");
    }
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
        for (const char* size : shape_of(*text_of(field_of(array, i, "shape")))->sizes) {
            check(entry, {size, Demand::not_negative});
        }
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
