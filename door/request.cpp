#include "door/request.h"

#include "core/input_error.h"

namespace kavro {

void SolveRequest::attach() {
    working_rule = rule;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Transducer& element = *elements[i].transducer;
        element.set_global_coordinate_grid(&points);
        element.set_time_vector(&times);
        element.set_medium(&medium);
        element.set_integral_pointer(&working_rule);
        if (!waveforms.empty()) {
            element.excitation = waveforms[waveforms.size() > 1 ? i : 0].get();
        }
    }
}

std::vector<Transducer*> SolveRequest::transducers() const {
    std::vector<Transducer*> all;
    for (const RequestedElement& element : elements) {
        all.push_back(element.transducer.get());
    }
    return all;
}

void SolveRequest::lack(const std::string& what) const {
    throw InputError(std::string(operation->name) + " needs " + what + ".");
}

void SolveRequest::refuse(std::size_t element, const std::string& complaint) const {
    throw InputError(std::string(operation->name) + ", element " +
                     std::to_string(element + host_words.first) + ": " + complaint);
}

}  // namespace kavro
