#include "door/transducers.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "core/console.h"
#include "core/input_error.h"
#include "door/values.h"
#include "transducers/shapes.h"

namespace kavro {
namespace {

// The longest identifier that is read; a longer text is not taken for a misspelt shape.
constexpr std::size_t longest_shape = 9;

std::unique_ptr<Transducer> sized_element(const Shape& shape, const HostRecord& record) {
    std::vector<double> sizes;
    for (const char* name : shape.sizes) {
        sizes.push_back(record.number(name));
    }
    return shape.make(sizes);
}

// By index.
constexpr std::array profiles{"uniform", "cosine", "raisedcosine", "quadratic", "quartic"};

constexpr const char* expected_profile =
    "must be 'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', or its number 0 to 4";

std::optional<int> profile_of(const mxArray* value) {
    const std::optional<std::string> name = text_of(value);
    const std::optional<double> number = single_number(value);
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        if (name == profiles[i] || number == static_cast<double>(i)) {
            return static_cast<int>(i);
        }
    }
    return std::nullopt;
}

std::unique_ptr<Transducer> element_from(const HostRecord& record, int number) {
    const std::optional<std::string> identifier = text_of(record.field("shape"), longest_shape);
    if (!identifier) {
        throw InputError("Unable to read transducer shape, abort.\n");
    }
    const Shape* shape = shape_of(*identifier);
    if (shape == nullptr) {
        console::print("*** %s is not a valid transducer shape (element %i) ***\n",
                       identifier->c_str(), number);
        throw InputError("Invalid transducer shape identifier.\n");
    }
    std::unique_ptr<Transducer> element = sized_element(*shape, record);
    element->set_center(record.triple("center"));
    element->set_euler(record.triple("euler"));
    return element;
}

}  // namespace

std::vector<std::unique_ptr<Transducer>> transducers_from(const mxArray* array, int n) {
    const bool has_amplitude = mxGetFieldNumber(array, "amplitude") >= 0;
    const bool has_time_delay = mxGetFieldNumber(array, "time_delay") >= 0;
    std::vector<std::unique_ptr<Transducer>> elements;
    for (int i = 0; i < n; ++i) {
        const HostRecord record(array, static_cast<std::size_t>(i), "Transducer", "element");
        const double amplitude = has_amplitude ? record.number("amplitude") : 1.0;
        const double time_delay = has_time_delay ? record.number("time_delay") : 0.0;
        elements.push_back(element_from(record, i + 1));
        elements.back()->set_amplitude(amplitude);
        elements.back()->set_time_delay(time_delay);
    }
    return elements;
}

void set_phases_from(const mxArray* array, std::span<Transducer* const> elements) {
    if (mxGetFieldNumber(array, "phase") < 0) {
        return;
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        elements[i]->set_phase(HostRecord(array, i, "Transducer", "element").number("phase"));
    }
}

void set_apodizations_from(const mxArray* array, const mxArray* otherwise,
                           std::span<Transducer* const> elements) {
    const std::optional<int> common = otherwise != nullptr ? profile_of(otherwise) : 0;
    if (!common) {
        throw InputError(std::string("The option 'apodization' ") + expected_profile + ".");
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const HostRecord record(array, i, "Transducer", "element");
        const mxArray* own = record.field("apodization");
        const bool has_own = own != nullptr && mxGetNumberOfElements(own) > 0;
        const std::optional<int> profile = has_own ? profile_of(own) : common;
        if (!profile) {
            record.refuse("apodization", expected_profile);
        }
        elements[i]->set_piston_apodization_index(*profile);
    }
}

}  // namespace kavro
