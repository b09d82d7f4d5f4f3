#include "door/transducers.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/input_error.h"
#include "door/values.h"
#include "transducers/shapes.h"

namespace kavro {
namespace {

// A longer text is not taken for a misspelt shape; where names end at a NUL, one that is none is
// not read.
constexpr std::size_t longest_misspelt = 20;
constexpr std::size_t longest_up_to_nul = 9;

Record record_of(const Value* array, std::size_t i) {
    return {array, "Transducer", "element", i};
}

// With the whole name counting, a fault is a fault of the field, as of any other.
const Shape& shape_from(const Record& record) {
    const std::optional<std::string> name = text_of(record.field("shape"));
    const Shape* shape = name ? shape_of(*name) : nullptr;
    if (shape == nullptr) {
        std::vector<const char*> known;
        for (const Shape& other : shapes()) {
            known.push_back(other.name);
        }
        record.refuse("shape", "must be one of " + quoted_list(known) + ", but " +
                                   (name && name->size() <= longest_misspelt
                                        ? "is '" + shown(*name) + "'"
                                        : described(record.field("shape"))));
    }
    return *shape;
}

const Shape& shape_up_to_nul(const Value* value, std::size_t i) {
    std::optional<std::string> name = text_of(value);
    const bool ends_at_nul = name && entries_of(value) <= longest_up_to_nul;
    if (ends_at_nul) {
        name = name->c_str();
    }
    if (const Shape* shape = name ? shape_of(*name) : nullptr) {
        return *shape;
    }
    if (!ends_at_nul) {
        throw InputError("Unable to read transducer shape, abort.\n");
    }
    console::print("*** %s is not a valid transducer shape (element %zu) ***\n",
                   shown(*name).c_str(), i + host_words.first);
    throw InputError("Invalid transducer shape identifier.\n");
}

std::vector<double> sizes_from(const Record& record, const Shape& shape) {
    if (shape.corners != nullptr) {
        return record.pairs(shape.corners);
    }
    std::vector<double> sizes;
    for (const char* name : shape.sizes) {
        sizes.push_back(record.number(name));
    }
    return sizes;
}

// A sentence as the end of another one: "a polygon must ...".
std::string clause_of(std::string sentence) {
    if (sentence.ends_with('.')) {
        sentence.pop_back();
        sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
    }
    return sentence;
}

// What a shape refuses of its corners names field and element, too.
RequestedElement element_from(const Record& record, const Shape& shape) {
    const std::vector<double> sizes = sizes_from(record, shape);
    RequestedElement element{&shape, nullptr};
    try {
        element.transducer = shape.make(sizes);
    } catch (const InputError& error) {
        if (shape.corners == nullptr) {
            throw;
        }
        record.refuse(shape.corners, "is at fault: " + clause_of(error.what()));
    }
    element.transducer->set_center(record.triple("center"));
    element.transducer->set_euler(record.triple("euler"));
    return element;
}

// By index.
constexpr std::array profiles{"uniform", "cosine", "raisedcosine", "quadratic", "quartic"};

constexpr const char* expected_profile =
    "must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4";

std::optional<int> profile_of(const Value* value) {
    const std::optional<std::string> name = text_of(value);
    const std::optional<double> number = single_number(value);
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        if (name == profiles[i] || number == static_cast<double>(i)) {
            return static_cast<int>(i);
        }
    }
    return std::nullopt;
}

}  // namespace

int count_of_elements(const Value* array) {
    require_record(array, "Transducer array");
    return count_of(entries_of(array), "transducer elements");
}

std::vector<RequestedElement> elements_from(const Value* array, ShapeName name) {
    const bool has_amplitude = has_field(array, "amplitude");
    const bool has_time_delay = has_field(array, "time_delay");
    std::vector<RequestedElement> elements;
    for (std::size_t i = 0; i < entries_of(array); ++i) {
        const Record record = record_of(array, i);
        const double amplitude = has_amplitude ? record.number("amplitude") : 1.0;
        const double time_delay = has_time_delay ? record.number("time_delay") : 0.0;
        const Shape& shape = name == ShapeName::whole ? shape_from(record)
                                                      : shape_up_to_nul(record.field("shape"), i);
        elements.push_back(element_from(record, shape));
        elements.back().transducer->set_amplitude(amplitude);
        elements.back().transducer->set_time_delay(time_delay);
    }
    return elements;
}

void set_phases(const std::vector<RequestedElement>& elements, const Value* array) {
    if (!has_field(array, "phase")) {
        return;
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        elements[i].transducer->set_phase(record_of(array, i).number("phase"));
    }
}

void set_apodizations(const std::vector<RequestedElement>& elements, const Value* array,
                      const Value* otherwise) {
    const std::optional<int> common = otherwise != nullptr ? profile_of(otherwise) : 0;
    if (!common) {
        throw InputError(std::string("The option 'apodization' ") + expected_profile +
                         contrasted(otherwise) + ".");
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const Record record = record_of(array, i);
        const Value* own = record.field("apodization");
        const bool has_own = own != nullptr && entries_of(own) > 0;
        const std::optional<int> profile = has_own ? profile_of(own) : common;
        if (!profile) {
            record.refuse("apodization", expected_profile + contrasted(own));
        }
        elements[i].transducer->set_piston_apodization_index(*profile);
    }
}

}  // namespace kavro
