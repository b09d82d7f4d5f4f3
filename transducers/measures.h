// What is kept of a field over time where nobody needs the field itself.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "method.h"
#include "quadrature_report.h"
#include "transducer.h"

namespace kavro {

// Of the samples p_j at the instants t_j of the axis.
enum class Measure {
    peak,           // largest |p|, Pa
    peak_positive,  // largest p, Pa
    peak_negative,  // smallest p (the peak rarefactional pressure with its sign), Pa
    energy,         // integral of p^2 dt, Pa^2 s: step times the sum; on a list, by trapezoids
    rms,            // root of the mean of p^2 over the axis, Pa
    time_of_peak,   // the first instant of the peak, s; the axis's first where all is silent
};

inline constexpr std::size_t measure_count = 6;

// The names of all, as 'peak', 'time_of_peak', in the order above.
std::span<const char* const> measure_names();
std::optional<Measure> measure_of(std::string_view name);

struct MeasureOutput {
    Measure measure;
    double* values;  // one for each point; overwritten
};

// Bit for bit what the measures of the field are that `solve` adds up for the same elements (of any
// output, or none), without the memory of that field: of it, each thread holds a tile of points.
// All elements must have one grid and one time axis. Answers as `solve` does;
// status_not_implemented also for methods of continuous waves, of arrival times and of nonlinear
// marches.
TransducerStatus measure(Method method, std::span<Transducer* const> elements,
                         std::span<const MeasureOutput> outputs,
                         QuadratureReport* report = nullptr);

// The measures of a field that is there: of npoints x ntimes values on the time axis, entry
// i + t * npoints.
void measure_field(const TimeSamples& times, const double* field, int npoints,
                   std::span<const MeasureOutput> outputs);

}  // namespace kavro
