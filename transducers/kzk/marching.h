// What the marches have in common.
#pragma once

#include <cstddef>
#include <vector>

#include "core/counts.h"
#include "core/interrupted.h"
#include "transducers/kzk/memory_need.h"
#include "transducers/kzk/outcome.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {

// A check to hand on. It must outlive what is returned.
Spend spend_of(InterruptCheck& check);

// The first of the planes' ranges that is not behind the face.
std::size_t first_plane_ahead(const std::vector<double>& ranges, InterruptCheck& check);

// Tells the console what share of the way is behind the march: all of it, unless below 1. Throws
// Interrupted.
void tell_of_progress(double share);

// A transient march ends at z (m), short of the next plane.
void end_in_shock(const TransientShape& shape, double z, Outcome& outcome);

void warn_of_growth_without_bound();

// Runs a march if the memory that it is going to take is there. Throws Interrupted.
template <class March>
TransducerStatus run_within_memory(March&& march, Outcome& outcome) {
    const MemoryNeed need = march.memory();
    if (!fits_into_memory(need.count, need.bytes)) {
        return status_out_of_memory;
    }
    march.run(outcome);
    return status_success;
}

}  // namespace kavro::kzk
