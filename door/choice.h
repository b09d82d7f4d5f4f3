// Which method a call is solved by that names none.
#pragma once

#include <span>

#include "door/host.h"
#include "door/request.h"

namespace kavro {

// 'f0' among the options asks for a continuous wave, 'time' and 'excitation' for one over time. A
// wave over time in a lossy medium goes by frequencies, all else by the fast nearfield method, in
// double precision so far. Throws InputError where the options ask for both or for neither.
const Operation& operation_asked_for(std::span<const Value* const> options, const Value* medium);

// What methods in single precision can keep.
inline constexpr double least_tolerance_of_single = 1e-5;

// Of a request that is read, over time and with a tolerance: single precision where its rounding
// stays well below the tolerance at every point, and every shape offers it.
const Operation& in_fitting_precision(const SolveRequest& request);

// Of a request that is read, over time, in a lossless medium and with a tolerance: whether all
// elements are solved faster by frequencies, which is so of long sampled waveforms.
bool goes_by_frequencies(const SolveRequest& request);

// A continuous wave reads phases only: where all are 0, a delay T stands for -2 pi f0 T, which the
// second one makes of it.
bool delays_stand_for_phases(const SolveRequest& request);
void turn_delays_into_phases(SolveRequest& request);

}  // namespace kavro
