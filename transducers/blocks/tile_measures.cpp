#include "transducers/blocks/tile_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kavro {
namespace {

constexpr std::array<const char*, measure_count> names{"peak",   "peak_positive", "peak_negative",
                                                       "energy", "rms",           "time_of_peak"};

// Points at a time: their running values stay in registers and the nearest cache.
constexpr int some_points = 64;

using Values = std::array<double, some_points>;

struct Extremes {
    Values highest, lowest, largest;
    std::array<int, some_points> when;  // sample of the largest magnitude

    Extremes(const double* rows, std::size_t stride, SampleWindow window, int count,
             bool zeros_beyond) {
        const double none = zeros_beyond ? 0.0 : std::numeric_limits<double>::infinity();
        highest.fill(zeros_beyond ? 0.0 : -none);
        lowest.fill(none);
        largest.fill(0.0);
        when.fill(0);
        for (int j = window.begin; j < window.end; ++j) {
            const double* row = rows + static_cast<std::size_t>(j) * stride;
            for (std::size_t p = 0; p < static_cast<std::size_t>(count); ++p) {
                const double value = row[p];
                const double magnitude = std::fabs(value);
                highest[p] = value > highest[p] ? value : highest[p];
                lowest[p] = value < lowest[p] ? value : lowest[p];
                when[p] = magnitude > largest[p] ? j : when[p];
                largest[p] = magnitude > largest[p] ? magnitude : largest[p];
            }
        }
    }
};

Values squares_of(const double* rows, std::size_t stride, SampleWindow window, int count,
                  const std::vector<double>& weights) {
    Values sums{};
    for (int j = window.begin; j < window.end; ++j) {
        const double* row = rows + static_cast<std::size_t>(j) * stride;
        const double weight = weights.empty() ? 1.0 : weights[static_cast<std::size_t>(j)];
        for (std::size_t p = 0; p < static_cast<std::size_t>(count); ++p) {
            sums[p] += row[p] * row[p] * weight;
        }
    }
    return sums;
}

}  // namespace

std::span<const char* const> measure_names() {
    return names;
}

std::optional<Measure> measure_of(std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found != names.end() ? std::optional(static_cast<Measure>(found - names.begin()))
                                : std::nullopt;
}

TileMeasures::TileMeasures(const TimeSamples& times, std::span<const MeasureOutput> outputs)
    : times_(times), outputs_(outputs) {
    if (times.deltat() != 0.0 || times.ntimes < 2) {
        return;
    }
    weights_.resize(static_cast<std::size_t>(times.ntimes));
    for (int j = 1; j < times.ntimes; ++j) {
        const double half = 0.5 * (times.time_index_value(j) - times.time_index_value(j - 1));
        weights_[static_cast<std::size_t>(j) - 1] += half;
        weights_[static_cast<std::size_t>(j)] += half;
    }
    duration_ = times.time_index_value(times.ntimes - 1) - times.time_index_value(0);
}

void measure_field(const TimeSamples& times, const double* field, int npoints,
                   std::span<const MeasureOutput> outputs) {
    TileMeasures(times, outputs)
        .write(field, static_cast<std::size_t>(npoints), {0, times.ntimes}, 0, npoints);
}

bool TileMeasures::wants(Measure measure) const {
    return std::any_of(outputs_.begin(), outputs_.end(), [measure](const MeasureOutput& output) {
        return output.measure == measure;
    });
}

void TileMeasures::write(const double* rows, std::size_t stride, SampleWindow window, int first,
                         int count) const {
    const int samples = std::max(window.end - window.begin, 0);
    const bool squares = wants(Measure::energy) || wants(Measure::rms);
    const double mean = weights_.empty() ? times_.ntimes : duration_;
    const double step = weights_.empty() ? times_.deltat() : 1.0;
    for (int begin = 0; begin < count; begin += some_points) {
        const int some = std::min(count - begin, some_points);
        const Extremes extremes(rows + begin, stride, window, some,
                                samples < times_.ntimes || samples == 0);
        const Values sums =
            squares ? squares_of(rows + begin, stride, window, some, weights_) : Values{};
        for (const MeasureOutput& output : outputs_) {
            for (std::size_t p = 0; p < static_cast<std::size_t>(some); ++p) {
                double& value = output.values[static_cast<std::size_t>(first + begin) + p];
                switch (output.measure) {
                    case Measure::peak:
                        value = extremes.largest[p];
                        break;
                    case Measure::peak_positive:
                        value = extremes.highest[p];
                        break;
                    case Measure::peak_negative:
                        value = extremes.lowest[p];
                        break;
                    case Measure::energy:
                        value = sums[p] * step;
                        break;
                    case Measure::rms:
                        value = samples == 0 ? 0.0 : std::sqrt(sums[p] / mean);
                        break;
                    case Measure::time_of_peak:
                        value = times_.time_index_value(extremes.when[p]);
                        break;
                }
            }
        }
    }
}

}  // namespace kavro
