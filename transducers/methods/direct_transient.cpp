#include "transducers/methods/direct_transient.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/counts.h"
#include "transducers/blocks/place_points.h"
#include "transducers/blocks/point_series.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/methods/waveform_values.h"

namespace kavro {
namespace {

// Instants that are evaluated at a time.
constexpr std::size_t instants_at_a_time = 2048;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const EdgeGenerator<double>& edge, ArrivalWindow window)
        : element_(element),
          edge_(edge),
          window_(window),
          times_(*element.time_samples),
          block_(edge.size(), EdgeDetail::arrivals),
          series_(times_, element.coordinate_grid->npoints),
          instants_(std::max(instants_at_a_time, static_cast<std::size_t>(edge.size()) + 1)),
          values_(instants_.size()) {}

    void work(int first, int count) override {
        place_points(element_, first, count, block_.x, block_.y, block_.z);
        series_.begin();
        const int passes = edge_.passes(block_);
        for (int pass = 0; pass < passes; ++pass) {
            edge_.sample(block_, pass);
            for (int lane = 0; lane < count; ++lane) {
                if (block_.reached[static_cast<std::size_t>(lane)] != 0) {
                    add_point(lane);
                }
            }
        }
        series_.add_to(element_.transient_pressure, element_.coordinate_grid->npoints, first, count,
                       element_.amplitude);
    }

private:
    SampleWindow arrival_window(std::size_t lane) const {
        const double step = times_.deltat();
        if (step == 0.0) {
            return {0, times_.ntimes};
        }
        const double t0 = times_.time_index_value(0);
        const double begin = block_.first_arrival[lane] + element_.time_delay - t0;
        const double end =
            block_.last_arrival[lane] + element_.time_delay + element_.excitation->w - t0;
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

    bool belongs(std::size_t lane, double t) const {
        const double since = t - element_.time_delay;
        return times_.deltat() != 0.0 ||
               (since - block_.first_arrival[lane] >= 0.0 &&
                since - block_.last_arrival[lane] <= element_.excitation->w);
    }

    void add_point(int point) {
        const auto lane = static_cast<std::size_t>(point);
        const auto n = static_cast<std::size_t>(block_.size);
        const SampleWindow window = arrival_window(lane);
        double* series = series_.touch(point, window);
        // What the generator's own coefficient sum has beyond that of its samples.
        double rest = -block_.coefficient_sum[lane];
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            sum += block_.coefficient[i * block_lanes + lane];
        }
        rest += sum;
        const auto chunk = static_cast<int>(instants_.size() / (n + 1));
        for (int begin = window.begin; begin < window.end; begin += chunk) {
            const int end = std::min(begin + chunk, window.end);
            evaluate(lane, begin, end);
            const double* v = values_.data();
            for (int j = begin; j < end; ++j, v += n + 1) {
                if (belongs(lane, times_.time_index_value(j))) {
                    series[j] += sum_of(lane, v, n) + (rest != 0.0 ? rest * v[n] : 0.0);
                }
            }
        }
    }

    // v(t - tau_i - delay) of each sample in turn, the direct wave's last.
    void evaluate(std::size_t lane, int begin, int end) {
        const auto n = static_cast<std::size_t>(block_.size);
        const double delay = element_.time_delay;
        double* out = instants_.data();
        for (int j = begin; j < end; ++j) {
            const double t = times_.time_index_value(j);
            for (std::size_t i = 0; i < n; ++i) {
                *out++ = t - block_.delay[i * block_lanes + lane] - delay;
            }
            *out++ = t - block_.direct_delay[lane] - delay;
        }
        waveform_values(*element_.excitation, values_.data(), instants_.data(),
                        static_cast<int>(out - instants_.data()),
                        [this](std::int64_t steps) { spend(steps); });
    }

    double sum_of(std::size_t lane, const double* v, std::size_t n) const {
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            sum += (v[i] - v[n]) * block_.coefficient[i * block_lanes + lane];
        }
        return sum;
    }

    Transducer& element_;
    const EdgeGenerator<double>& edge_;
    const ArrivalWindow window_;
    const TimeSamples& times_;
    EdgeBlock<double> block_;
    PointSeries series_;
    std::vector<double> instants_, values_;
};

}  // namespace

TransducerStatus solve_direct_transient(Transducer& element, const EdgeGenerator<double>& edge,
                                        ArrivalWindow window) {
    return work_in_tiles(element.coordinate_grid->npoints, block_lanes,
                         [&] { return std::make_unique<Worker>(element, edge, window); });
}

}  // namespace kavro
