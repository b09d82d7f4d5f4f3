#include "transducers/methods/direct_transient.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "core/counts.h"
#include "transducers/blocks/point_series.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/methods/waveform_values.h"

namespace kavro {
namespace {

// Instants that are evaluated at a time.
constexpr std::size_t instants_at_a_time = 2048;

// What a thread computes with.
struct Room {
    EdgeBlock<double> block;
    PointSeries series;
    std::vector<double> instants, values;

    explicit Room(const PointTile& tile)
        : block(0, EdgeDetail::arrivals), series(tile.times().ntimes) {}

    void resize(int edge_samples) {
        block.resize(edge_samples);
        make_waves(edge_samples);
    }

    void make_waves(int edge_samples) {
        const auto waves = static_cast<std::size_t>(edge_samples) + 1;
        instants.resize(std::max({instants.size(), instants_at_a_time, waves}));
        values.resize(instants.size());
    }
};

class DirectTransient : public Share {
public:
    DirectTransient(const Transducer& element, std::unique_ptr<EdgeGenerator<double>> edge,
                    ArrivalWindow window)
        : element_(element),
          edge_(std::move(edge)),
          window_(window),
          times_(*element.time_samples) {}

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        Room& room = tile.room<Room>([&] { return std::make_shared<Room>(tile); });
        room.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            const int count = tile.present(b);
            tile.place(element_, b, room.block);
            room.series.begin(count, tile.spend());
            const int passes = edge_->passes(room.block);
            for (int pass = 0; pass < passes; ++pass) {
                tile.spend()(std::int64_t{block_lanes} * edge_->size());
                edge_->sample(room.block, pass);
                room.make_waves(room.block.size);
                tile.note_quadrature(b, room.block);
                for (int lane = 0; lane < count; ++lane) {
                    if (room.block.reached[static_cast<std::size_t>(lane)] != 0) {
                        add_point(room, tile.spend(), lane);
                    }
                }
            }
            room.series.add_to(tile, b, element_.amplitude);
        }
    }

private:
    SampleWindow arrival_window(const EdgeBlock<double>& block, std::size_t lane) const {
        const double step = times_.deltat();
        if (step == 0.0) {
            return {0, times_.ntimes};
        }
        const double t0 = times_.time_index_value(0);
        const double begin = block.first_arrival[lane] + element_.time_delay - t0;
        const double end =
            block.last_arrival[lane] + element_.time_delay + element_.excitation->w - t0;
        const auto index = [this](double number) { return clamped_index(number, times_.ntimes); };
        switch (window_) {
            case ArrivalWindow::outward:
                return {index(std::floor(begin * (1.0 / step))),
                        index(std::ceil(end * (1.0 / step)))};
            case ArrivalWindow::outward_by_division:
                return {index(std::floor(begin / step)), index(std::ceil(end / step))};
            default:
                return {index(std::ceil(begin * (1.0 / step))),
                        index(std::floor(end * (1.0 / step)) + 1.0)};
        }
    }

    bool belongs(const EdgeBlock<double>& block, std::size_t lane, double t) const {
        const double since = t - element_.time_delay;
        return times_.deltat() != 0.0 ||
               (since - block.first_arrival[lane] >= 0.0 &&
                since - block.last_arrival[lane] <= element_.excitation->w);
    }

    void add_point(Room& room, const Spend& spend, int point) const {
        const EdgeBlock<double>& block = room.block;
        const auto lane = static_cast<std::size_t>(point);
        const auto n = static_cast<std::size_t>(block.samples_of(lane));
        const SampleWindow window = arrival_window(block, lane);
        double* series = room.series.touch(point, window);
        // What the generator's own coefficient sum has beyond that of its samples.
        double rest = -block.coefficient_sum[lane];
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            sum += block.coefficient[i * block_lanes + lane];
        }
        rest += sum;
        const auto chunk = static_cast<int>(std::max(instants_at_a_time, n + 1) / (n + 1));
        for (int begin = window.begin; begin < window.end; begin += chunk) {
            const int end = std::min(begin + chunk, window.end);
            evaluate(room, spend, lane, begin, end);
            const double* v = room.values.data();
            for (int j = begin; j < end; ++j, v += n + 1) {
                if (belongs(block, lane, times_.time_index_value(j))) {
                    series[j] += sum_of(block, lane, v, n) + (rest != 0.0 ? rest * v[n] : 0.0);
                }
            }
        }
    }

    // v(t - tau_i - delay) of each sample in turn, the direct wave's last.
    void evaluate(Room& room, const Spend& spend, std::size_t lane, int begin, int end) const {
        const EdgeBlock<double>& block = room.block;
        const auto n = static_cast<std::size_t>(block.samples_of(lane));
        const double delay = element_.time_delay;
        double* out = room.instants.data();
        for (int j = begin; j < end; ++j) {
            const double t = times_.time_index_value(j);
            for (std::size_t i = 0; i < n; ++i) {
                *out++ = t - block.delay[i * block_lanes + lane] - delay;
            }
            *out++ = t - block.direct_delay[lane] - delay;
        }
        waveform_values(*element_.excitation, room.values.data(), room.instants.data(),
                        static_cast<int>(out - room.instants.data()), spend);
    }

    static double sum_of(const EdgeBlock<double>& block, std::size_t lane, const double* v,
                         std::size_t n) {
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            sum += (v[i] - v[n]) * block.coefficient[i * block_lanes + lane];
        }
        return sum;
    }

    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<double>> edge_;
    const ArrivalWindow window_;
    const TimeSamples& times_;
};

}  // namespace

std::unique_ptr<Share> direct_transient_share(const Transducer& element,
                                              std::unique_ptr<EdgeGenerator<double>> edge,
                                              ArrivalWindow window) {
    return std::make_unique<DirectTransient>(element, std::move(edge), window);
}

}  // namespace kavro
