#include "transducers/blocks/point_series.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "transducers/blocks/point_tiles.h"

namespace kavro {
namespace {

// Samples of a part: those of a tile stay in a near cache.
constexpr int samples_at_a_time = 2048;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const FillSeries& fill)
        : element_(element),
          fill_(fill),
          room_(std::min(element.time_samples->ntimes, samples_at_a_time)),
          values_(static_cast<std::size_t>(room_) * block_lanes) {}

    void work(int first, int count) override {
        constexpr int steps = 8;  // for one sample
        const int ntimes = element_.time_samples->ntimes;
        for (int begin = 0; begin < ntimes;) {
            const int some = std::min(ntimes - begin, samples_at_a_time);
            spend(std::int64_t{steps} * some * count);
            add_part(first, count, {begin, begin + some});
            begin += some;
        }
    }

private:
    // The output's point index runs fastest, so the tile's series are added sample by sample.
    void add_part(int first, int count, SampleWindow samples) {
        const CoordinateGrid& grid = *element_.coordinate_grid;
        const auto room = static_cast<std::size_t>(room_);
        std::fill(values_.begin(), values_.end(), 0.0);
        for (int lane = 0; lane < count; ++lane) {
            fill_(element_.rotateTranslate(grid.spatial_index_value(first + lane)), samples,
                  values_.data() + static_cast<std::size_t>(lane) * room);
        }
        const double* in = values_.data();
        for (int j = samples.begin; j < samples.end; ++j, ++in) {
            double* out = element_.transient_pressure +
                          static_cast<std::size_t>(j) * static_cast<std::size_t>(grid.npoints) +
                          static_cast<std::size_t>(first);
            for (std::size_t lane = 0; lane < static_cast<std::size_t>(count); ++lane) {
                out[lane] += in[lane * room] * element_.amplitude;
            }
        }
    }

    Transducer& element_;
    const FillSeries& fill_;
    const int room_;              // for samples of each lane
    std::vector<double> values_;  // lane after lane
};

}  // namespace

TransducerStatus add_point_series(Transducer& element, const FillSeries& fill) {
    return work_in_tiles(element.coordinate_grid->npoints, block_lanes,
                         [&] { return std::make_unique<Worker>(element, fill); });
}

}  // namespace kavro
