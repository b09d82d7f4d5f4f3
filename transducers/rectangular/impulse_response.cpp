#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_series.h"
#include "transducers/rectangular/corner_response.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {

// The same in front of the face and behind.
TransducerStatus RectangularTransducer::impulse_response() {
    if (!has_impulse_response_records()) {
        return status_failure;
    }
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return add_point_series(*this, [this](const CartesianCoordinate& p, SampleWindow samples,
                                              double* values) {
            const CornerResponse h(*this, p);
            for (int j = samples.begin; j < samples.end; ++j) {
                values[j - samples.begin] = h.at(time_samples->time_index_value(j) - time_delay);
            }
        });
    });
}

}  // namespace kavro
