#include "transducers/decomposition/tile.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kavro {
namespace {

// Blocks whose windows spread over more samples than this go point by point.
constexpr std::int32_t most_block_rows = 1 << 16;

// And so do blocks with more spatial factors than this.
constexpr std::size_t most_block_factors = std::size_t{1} << 22;

std::size_t at(int row, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
}

}  // namespace

template <class Real>
DecompositionTile<Real>::DecompositionTile(const CoordinateGrid& grid, const TimeSamples& times,
                                           int width, Spend spend)
    : grid_(grid),
      times_(times),
      width_(width),
      spend_(std::move(spend)),
      points_(static_cast<std::size_t>(width)),
      series_(at(times.ntimes, width)),
      direct_wave_(times, spend_),
      point_(times, spend_) {}

template <class Real>
int DecompositionTile<Real>::suitable_width(int ntimes) {
    constexpr std::size_t near_cache = std::size_t{1} << 19;
    const std::size_t fitting =
        near_cache / (sizeof(double) * static_cast<std::size_t>(ntimes + 1));
    return std::clamp(static_cast<int>(fitting) / block_lanes * block_lanes, block_lanes,
                      8 * block_lanes);
}

template <class Real>
void DecompositionTile<Real>::begin(int first, int count, const double* output,
                                    bool output_is_zero) {
    first_ = first;
    count_ = count;
    output_ = output;
    output_is_zero_ = output_is_zero;
    rows_ = {0, 0};
    for (int p = 0; p < width_; ++p) {
        points_[static_cast<std::size_t>(p)] =
            grid_.spatial_index_value(first + std::min(p, count - 1));
    }
}

template <class Real>
void DecompositionTile<Real>::load_rows(SampleWindow rows) {
    const auto load = [this](int begin, int end) {
        for (int j = begin; j < end; ++j) {
            double* row = series_.data() + at(j, width_);
            if (output_is_zero_) {
                std::fill_n(row, width_, 0.0);
            } else {
                std::copy_n(output_ + at(j, grid_.npoints) + first_, count_, row);
            }
        }
    };
    if (rows_.begin >= rows_.end) {
        load(rows.begin, rows.end);
        rows_ = rows;
        return;
    }
    load(rows.begin, rows_.begin);
    load(rows_.end, rows.end);
    rows_ = {std::min(rows.begin, rows_.begin), std::max(rows.end, rows_.end)};
}

template <class Real>
void DecompositionTile<Real>::write(double* output) const {
    for (int j = rows_.begin; j < rows_.end; ++j) {
        std::copy_n(series_.data() + at(j, width_), count_, output + at(j, grid_.npoints) + first_);
    }
}

template <class Real>
void DecompositionTile<Real>::add(const DecompositionElement<Real>& element) {
    const int size = element.edge->size();
    if (!edge_ || edge_->room != size) {
        edge_ = std::make_unique<EdgeBlock<Real>>(size);
        windows_ = std::make_unique<WindowBlock>(size);
    }
    for (int block = 0; block * block_lanes < count_; ++block) {
        add_block(element, block);
    }
}

template <class Real>
void DecompositionTile<Real>::place(const Transducer& element, int block,
                                    EdgeBlock<Real>& edge) const {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const CartesianCoordinate local =
            element.rotateTranslate(points_[static_cast<std::size_t>(block * block_lanes) + lane]);
        edge.unrounded[lane] = local;
        edge.x[lane] = static_cast<Real>(local.x);
        edge.y[lane] = static_cast<Real>(local.y);
        edge.z[lane] = static_cast<Real>(local.z);
    }
}

template <class Real>
void DecompositionTile<Real>::add_block(const DecompositionElement<Real>& element, int block) {
    EdgeBlock<Real>& edge = *edge_;
    place(*element.element, block, edge);
    const int passes = element.edge->passes(edge);
    for (int pass = 0; pass < passes; ++pass) {
        element.edge->sample(edge, pass);
        add_sampled_block(element, block);
    }
}

template <class Real>
void DecompositionTile<Real>::add_sampled_block(const DecompositionElement<Real>& element,
                                                int block) {
    EdgeBlock<Real>& edge = *edge_;
    const int present = std::min(count_ - block * block_lanes, block_lanes);
    std::fill(edge.reached.begin() + present, edge.reached.end(), 0);

    const LaneSet point_by_point = add_vectorised(element, block);
    for (int lane = 0; point_by_point != 0 && lane < present; ++lane) {
        if ((point_by_point >> lane & 1) != 0 &&
            edge.reached[static_cast<std::size_t>(lane)] != 0) {
            add_point(element, block * block_lanes + lane, lane);
        }
    }
}

// Returns the lanes that the vector kernels leave out.
template <class Real>
LaneSet DecompositionTile<Real>::add_vectorised(const DecompositionElement<Real>& element,
                                                int block) {
    EdgeBlock<Real>& edge = *edge_;
    const DecompositionFactors<Real>& factors = *element.factors;
    const std::size_t block_factors = edge.delay.size() * static_cast<std::size_t>(factors.terms());
    if (times_.deltat() == 0.0 || !factors.finite() || factors.terms() == 0 || edge.size == 0 ||
        block_factors > most_block_factors) {
        return all_lanes;
    }
    find_windows(element.rule, element.direct_wave, edge, *windows_);
    const SampleWindow rows = windows_->rows;
    if (rows.begin >= rows.end) {
        return 0;
    }
    if (rows.end - rows.begin > most_block_rows) {
        return all_lanes;
    }
    WaveBlock<Real> wave{};
    wave.terms = factors.terms();
    wave.edge = &edge;
    wave.windows = windows_.get();
    wave.temporal = factors.temporal();
    wave.amplitude = element.element->amplitude;
    wave.output = series_.data() + block * block_lanes;
    wave.stride = static_cast<std::size_t>(width_);
    wave.spend = &spend_;
    spend_(static_cast<std::int64_t>(block_factors));
    direct_wave_.prepare(factors, element.direct_wave, edge, *windows_, wave);
    fill_spatial_factors(factors, wave);
    direct_wave_.fill_factors(factors, wave);
    const LaneSet left_out = scale_edge_waves(wave, sums_);
    if (left_out != all_lanes) {
        direct_wave_.exclude(left_out);
        load_rows(rows);
        add_wave_block(wave, sums_);
    }
    return left_out;
}

template <class Real>
void DecompositionTile<Real>::fill_spatial_factors(const DecompositionFactors<Real>& factors,
                                                   WaveBlock<Real>& wave) {
    const std::size_t delays = static_cast<std::size_t>(wave.samples) * block_lanes;
    spatial_.resize(std::max(spatial_.size(), delays * static_cast<std::size_t>(factors.terms())));
    factors.spatial(spatial_.data(), wave.edge->delay.data(), static_cast<int>(delays));
    wave.spatial = spatial_.data();
}

template <class Real>
void DecompositionTile<Real>::add_point(const DecompositionElement<Real>& element, int point,
                                        int lane) {
    const std::vector<Real>& series =
        point_.series(*element.factors, element.rule, element.direct_wave, *edge_, lane,
                      element.element->amplitude);
    load_rows({0, times_.ntimes});
    double* out = series_.data() + point;
    for (int j = 0; j < times_.ntimes; ++j) {
        out[at(j, width_)] += static_cast<double>(series[static_cast<std::size_t>(j)]);
    }
}

template class DecompositionTile<float>;
template class DecompositionTile<double>;

}  // namespace kavro
