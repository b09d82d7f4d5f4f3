// The time series of a few points on their way into the output.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "transducers/blocks/edge_block.h"
#include "transducers/decomposition/sample_window.h"
#include "transducers/transducer.h"

namespace kavro {

// Series of a tile of up to block_lanes points with successive indices. The output's point index
// runs fastest, so a tile's series are added sample by sample.
class PointSeries {
public:
    // With room for as many lanes as a tile of `npoints` points can have.
    PointSeries(const TimeSamples& times, int npoints)
        : ntimes_(times.ntimes),
          lanes_(std::min(npoints, block_lanes)),
          values_(static_cast<std::size_t>(ntimes_) * static_cast<std::size_t>(lanes_)) {}

    // Forgets the samples of the tile before.
    void begin() {
        for (int lane = 0; lane < lanes_; ++lane) {
            std::fill(of(lane) + touched_.begin, of(lane) + std::max(touched_.begin, touched_.end),
                      0.0);
        }
        touched_ = {ntimes_, 0};
    }

    // The series of a lane, ntimes values, to be changed within the window only.
    double* touch(int lane, SampleWindow window) {
        if (window.begin < window.end) {
            touched_ = {std::min(touched_.begin, window.begin), std::max(touched_.end, window.end)};
        }
        return of(lane);
    }

    // Adds factor times the series to points first <= i < first + count of a transient output.
    void add_to(double* output, int npoints, int first, int count, double factor) const {
        for (int j = touched_.begin; j < touched_.end; ++j) {
            double* out = output + static_cast<std::size_t>(j) * static_cast<std::size_t>(npoints) +
                          static_cast<std::size_t>(first);
            const double* in = values_.data() + j;
            for (int lane = 0; lane < count; ++lane, in += ntimes_) {
                out[lane] += *in * factor;
            }
        }
    }

private:
    double* of(int lane) {
        return values_.data() + static_cast<std::size_t>(lane) * static_cast<std::size_t>(ntimes_);
    }

    int ntimes_;
    int lanes_;
    SampleWindow touched_{0, 0};
    std::vector<double> values_;
};

// Writes part of the series of a point in the element's frame: the samples of a window into as many
// values, zeros so far.
using FillSeries =
    std::function<void(const CartesianCoordinate& point, SampleWindow samples, double* values)>;

// Adds amplitude times a series of its own to every point of the element's grid, part by part.
// `fill` is called from several threads. The element's records are set.
TransducerStatus add_point_series(Transducer& element, const FillSeries& fill);

}  // namespace kavro
