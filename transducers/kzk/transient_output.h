// Where the reference's transient nonlinear march leaves its waveforms.
#pragma once

#include <cstddef>
#include <vector>

#include "core/interrupted.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/transducer.h"

namespace kavro::kzk {

// The transient pressure of an element that is not exact, entry ix + nx iz + n nx nz for time
// sample n.
//
// A plane's waveform begins at the time sample next to z/c + tmin, and samples that the retarded
// time's span leaves over at the end stay as they are: deliberate.
class TransientOutput {
public:
    TransientOutput(const Transducer& element, const Planes& planes, const RetardedTime& axis);

    void clear();      // what will be stored
    void clear_all();  // every sample

    // The waveform of point m on a plane, a value for each retarded time. Throws Interrupted.
    void store(std::size_t plane, std::size_t m, const std::vector<float>& waveform,
               InterruptCheck& check);

private:
    void clear_rows(int rows);
    int first_sample(float z, InterruptCheck& check) const;

    const TimeSamples& times_;
    const Planes& planes_;
    const RetardedTime& axis_;
    double* pressure_;
    std::size_t points_;
    double speed_;
    double scale_;
    double half_step_;  // of the retarded time, s
    int rows_;
};

}  // namespace kavro::kzk
