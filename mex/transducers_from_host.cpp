#include "mex/transducers_from_host.h"

#include <cstddef>
#include <optional>
#include <string>

#include "core/console.h"
#include "core/input_error.h"
#include "mex/host_values.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/rectangular/rectangular_transducer.h"
#include "transducers/ring/ring_transducer.h"
#include "transducers/spherical/spherical_transducer.h"
#include "transducers/spherical_ring/spherical_ring_transducer.h"

namespace kavro {
namespace {

// The longest identifier that is read; a longer text is not taken for a misspelt shape.
constexpr std::size_t longest_shape = 9;

// Sized after the fields of its shape; null where there is no such shape.
std::unique_ptr<Transducer> sized_element(const std::string& shape, const HostRecord& record) {
    if (shape == "circ") {
        return std::make_unique<CircularTransducer>(record.number("radius"));
    }
    if (shape == "ring") {
        const double inner_radius = record.number("inner_radius");
        const double outer_radius = record.number("outer_radius");
        return std::make_unique<RingTransducer>(inner_radius, outer_radius);
    }
    if (shape == "rect") {
        const double width = record.number("width");
        const double height = record.number("height");
        return std::make_unique<RectangularTransducer>(width, height);
    }
    if (shape == "shel") {
        const double radius = record.number("radius");
        const double curvature = record.number("rad_curvature");
        return std::make_unique<SphericalTransducer>(radius, curvature);
    }
    if (shape == "sph ring") {
        const double inner_radius = record.number("inner_radius");
        const double outer_radius = record.number("outer_radius");
        const double focus = record.number("geometric_focus");
        return std::make_unique<SphericalRingTransducer>(inner_radius, outer_radius, focus);
    }
    return nullptr;
}

std::unique_ptr<Transducer> element_from(const HostRecord& record, int number) {
    const std::optional<std::string> shape = text_of(record.field("shape"), longest_shape);
    if (!shape) {
        throw InputError("Unable to read transducer shape, abort.\n");
    }
    std::unique_ptr<Transducer> element = sized_element(*shape, record);
    if (!element) {
        console::print("*** %s is not a valid transducer shape (element %i) ***\n", shape->c_str(),
                       number);
        throw InputError("Invalid transducer shape identifier.\n");
    }
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

}  // namespace kavro
