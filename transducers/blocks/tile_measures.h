// The measures of the series of many points.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "core/time_samples.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/measures.h"

namespace kavro {

class TileMeasures {
public:
    // The outputs must outlive it.
    TileMeasures(const TimeSamples& times, std::span<const MeasureOutput> outputs);

    // Writes those of the points first <= i < first + count, given sample j of point first + p at
    // rows[j * stride + p] for the samples of a window; all others are zero.
    void write(const double* rows, std::size_t stride, SampleWindow window, int first,
               int count) const;

private:
    bool wants(Measure measure) const;

    const TimeSamples& times_;
    std::span<const MeasureOutput> outputs_;
    std::vector<double> weights_;  // of the trapezoids; empty on an evenly spaced axis
    double duration_ = 0.0;        // sum of the weights
};

}  // namespace kavro
