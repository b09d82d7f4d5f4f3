#include "transducers/array.h"

#include <cstddef>

#include "core/console.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/circular/time_space_decomposition.h"

namespace kavro {
namespace {

bool is_ready_disc(const Transducer* element) {
    return dynamic_cast<const CircularTransducer*>(element) != nullptr &&
           element->has_transient_records();
}

bool solved_alike(const Transducer& a, const Transducer& b) {
    return a.coordinate_grid == b.coordinate_grid && a.time_samples == b.time_samples &&
           a.transient_pressure == b.transient_pressure &&
           a.excitation->single_precision_suffices() == b.excitation->single_precision_suffices();
}

// How many elements from the first on can be solved together.
std::size_t leading_run(std::span<Transducer* const> elements) {
    std::size_t count = 0;
    while (count < elements.size() && is_ready_disc(elements[count]) &&
           (count == 0 || solved_alike(*elements[0], *elements[count]))) {
        ++count;
    }
    return count;
}

}  // namespace

TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements, Output output) {
    const auto all = static_cast<double>(elements.size());
    for (std::size_t next = 0; next < elements.size();) {
        const std::size_t run = leading_run(elements.subspan(next));
        const std::size_t step = run > 0 ? run : 1;
        const console::ProgressPart part(static_cast<double>(next) / all,
                                         static_cast<double>(next + step) / all);
        TransducerStatus status = status_failure;
        if (run > 0) {
            status = fnm_tsd_sse_of_discs(elements.subspan(next, run), output);
        } else if (elements[next] != nullptr) {
            status = elements[next]->fnm_tsd_sse();
        }
        if (status != status_success) {
            return status;
        }
        output = Output::accumulate;
        next += step;
    }
    return status_success;
}

}  // namespace kavro
