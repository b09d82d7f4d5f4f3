#include "door/spectrum.h"

#include <algorithm>
#include <vector>

#include "door/choice.h"

namespace kavro {

void read_frequencies(SolveRequest& request, const SolveOptions& options) {
    const std::vector<double> given = options.frequencies(Option::f0);
    if (!is_list(options.value(Option::f0))) {
        request.medium._f0 = given.front();
        return;
    }
    request.frequencies = given;
    const auto [least, most] =
        std::minmax_element(request.frequencies.begin(), request.frequencies.end());
    Medium& medium = request.medium;
    medium._f0 = 0.5 * (*least + *most);
    if (medium._reference_frequency == 0.0) {
        medium._reference_frequency = medium._f0;
    }
}

bool is_solved_as_comb(const SolveRequest& request) {
    const Operation& spectral = *operation_of("fnm_spectral");
    return request.operation->method == Method::fnm_cw && are_equally_spaced(request.frequencies) &&
           std::all_of(request.elements.begin(), request.elements.end(),
                       [&](const RequestedElement& element) {
                           return element.transducer->exact() &&
                                  implements(spectral, *element.shape);
                       });
}

void drop_delays_that_do_not_count(SolveRequest& request) {
    for (const RequestedElement& element : request.elements) {
        if (!request.delays_count) {
            element.transducer->set_time_delay(0.0);
        }
    }
}

PhasesByFrequency::PhasesByFrequency(SolveRequest& request) : request_(request) {
    for (const RequestedElement& element : request.elements) {
        own_.push_back(element.transducer->get_phase());
    }
}

void PhasesByFrequency::turn_to(double frequency) {
    request_.medium._f0 = frequency;
    for (std::size_t i = 0; i < own_.size(); ++i) {
        request_.elements[i].transducer->set_phase(own_[i]);
    }
    if (request_.delays_count) {
        turn_delays_into_phases(request_);
    }
}

}  // namespace kavro
