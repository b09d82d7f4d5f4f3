// The time series of the points of a block on their way into the output.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "transducers/blocks/point_tile.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/blocks/share.h"
#include "transducers/transducer.h"

namespace kavro {

// Series of up to block_lanes points with successive indices. The output's point index runs
// fastest, so a block's series are added sample by sample.
class PointSeries {
public:
    explicit PointSeries(int ntimes) : ntimes_(ntimes) {}

    // Makes ready for so many points, and forgets the samples of the block before.
    void begin(int lanes, const Spend& spend);

    // The series of a lane, ntimes values, to be changed within the window only.
    double* touch(int lane, SampleWindow window);

    // Adds factor times the series to the output of a block of the tile.
    void add_to(PointTile& tile, int block, double factor) const;

private:
    double* of(int lane) {
        return values_.data() + static_cast<std::size_t>(lane) * static_cast<std::size_t>(ntimes_);
    }

    int ntimes_;
    int lanes_ = 0;
    SampleWindow touched_{0, 0};
    std::vector<double> values_;
};

// Writes part of the series of a point in the element's frame: the samples of a window into as many
// values, zeros so far.
using FillSeries =
    std::function<void(const CartesianCoordinate& point, SampleWindow samples, double* values)>;

// Adds amplitude times a series of its own to every point, part by part. `fill` is called from
// several threads.
std::unique_ptr<Share> point_series_share(const Transducer& element, FillSeries fill);

}  // namespace kavro
