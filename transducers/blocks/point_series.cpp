#include "transducers/blocks/point_series.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "core/zeros.h"

namespace kavro {
namespace {

// Samples of a part: those of a block stay in a near cache.
constexpr int samples_at_a_time = 2048;

class SeriesShare : public Share {
public:
    SeriesShare(const Transducer& element, FillSeries fill)
        : element_(element), fill_(std::move(fill)) {}

    void add(PointTile& tile) const override {
        constexpr int steps = 8;  // for one sample
        const int ntimes = tile.times().ntimes;
        auto& values =
            tile.room<std::vector<double>>([] { return std::make_shared<std::vector<double>>(); });
        values.resize(static_cast<std::size_t>(std::min(ntimes, samples_at_a_time)) * block_lanes);
        for (int b = 0; b < tile.blocks(); ++b) {
            for (int begin = 0; begin < ntimes;) {
                const int some = std::min(ntimes - begin, samples_at_a_time);
                tile.spend()(std::int64_t{steps} * some * tile.present(b));
                add_part(tile, b, {begin, begin + some}, values);
                begin += some;
            }
        }
    }

private:
    // The output's point index runs fastest, so the block's series are added sample by sample.
    void add_part(PointTile& tile, int b, SampleWindow samples, std::vector<double>& values) const {
        const std::size_t room = values.size() / block_lanes;
        const auto count = static_cast<std::size_t>(tile.present(b));
        Lanes<CartesianCoordinate> local;
        tile.place(element_, b, local);
        std::fill(values.begin(), values.end(), 0.0);
        for (std::size_t lane = 0; lane < count; ++lane) {
            fill_(local[lane], samples, values.data() + lane * room);
        }
        const double* in = values.data();
        tile.open(samples);
        for (int j = samples.begin; j < samples.end; ++j, ++in) {
            double* out = tile.output(b, j);
            for (std::size_t lane = 0; lane < count; ++lane) {
                out[lane] += in[lane * room] * element_.amplitude;
            }
        }
    }

    const Transducer& element_;
    const FillSeries fill_;
};

}  // namespace

void PointSeries::begin(int lanes, const Spend& spend) {
    for (int lane = 0; lane < lanes_ && touched_.begin < touched_.end; ++lane) {
        fill_zeros(of(lane) + touched_.begin,
                   static_cast<std::size_t>(touched_.end - touched_.begin), spend);
    }
    touched_ = {ntimes_, 0};
    if (lanes > lanes_) {
        assign_zeros(values_, static_cast<std::size_t>(ntimes_) * static_cast<std::size_t>(lanes),
                     spend);
        lanes_ = lanes;
    }
}

double* PointSeries::touch(int lane, SampleWindow window) {
    if (window.begin < window.end) {
        touched_ = {std::min(touched_.begin, window.begin), std::max(touched_.end, window.end)};
    }
    return of(lane);
}

void PointSeries::add_to(PointTile& tile, int block, double factor) const {
    const auto ntimes = static_cast<std::size_t>(ntimes_);
    const auto count = static_cast<std::size_t>(tile.present(block));
    tile.open(touched_);
    for (int j = touched_.begin; j < touched_.end; ++j) {
        tile.spend_rows(j - touched_.begin);
        double* out = tile.output(block, j);
        for (std::size_t lane = 0; lane < count; ++lane) {
            out[lane] += values_[lane * ntimes + static_cast<std::size_t>(j)] * factor;
        }
    }
}

std::unique_ptr<Share> point_series_share(const Transducer& element, FillSeries fill) {
    return std::make_unique<SeriesShare>(element, std::move(fill));
}

}  // namespace kavro
