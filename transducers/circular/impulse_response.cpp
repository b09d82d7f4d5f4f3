#include <cmath>

#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_series.h"
#include "transducers/circular/circular_response.h"
#include "transducers/circular/circular_transducer.h"

namespace kavro {

// The sign of z is not looked at, as in impulse_begin_and_end_times: behind the face the plateau
// begins before the element's delay, on purpose; exactly, it begins with |z|. Every amplitude
// counts.
TransducerStatus CircularTransducer::impulse_response() {
    if (!has_impulse_response_records()) {
        return status_failure;
    }
    InitializeRotationMatrix();
    return guarded([this] {
        return add_point_series(
            *this, [this](const CartesianCoordinate& p, SampleWindow samples, double* values) {
                const double height = exact() ? std::abs(p.z) : p.z;
                const CircularResponse h(radius, medium->_soundspeed,
                                         std::sqrt(p.x * p.x + p.y * p.y), height);
                for (int j = samples.begin; j < samples.end; ++j) {
                    values[j - samples.begin] = h(time_samples->time_index_value(j) - time_delay);
                }
            });
    });
}

}  // namespace kavro
