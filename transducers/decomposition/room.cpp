#include "transducers/decomposition/room.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace kavro {
namespace {

// Points whose windows spread over more samples than this go by the scalar operations.
constexpr std::int32_t most_rows = 1 << 16;

// And so do blocks with more spatial factors than this.
constexpr std::size_t most_block_factors = std::size_t{1} << 22;

}  // namespace

template <class Real, class Delay>
DecompositionRoom<Real, Delay>::DecompositionRoom(const PointTile& tile)
    : edge_(0),
      windows_(0),
      direct_wave_(tile.times(), tile.spend()),
      point_(tile.times(), tile.spend()) {}

template <class Real, class Delay>
void DecompositionRoom<Real, Delay>::add(const DecompositionElement<Real, Delay>& element,
                                         PointTile& tile) {
    const int size = element.edge->size();
    edge_.resize(size);
    windows_.resize(size);
    for (int block = 0; block < tile.blocks(); ++block) {
        tile.place(*element.element, block, edge_);
        const int passes = element.edge->passes(edge_);
        for (int pass = 0; pass < passes; ++pass) {
            tile.spend()(std::int64_t{block_lanes} * size);
            element.edge->sample(edge_, pass);
            windows_.resize(edge_.size);
            tile.note_quadrature(block, edge_);
            add_sampled_block(element, tile, block);
        }
    }
}

template <class Real, class Delay>
void DecompositionRoom<Real, Delay>::add_sampled_block(
    const DecompositionElement<Real, Delay>& element, PointTile& tile, int block) {
    const int present = tile.present(block);
    std::fill(edge_.reached.begin() + present, edge_.reached.end(), 0);

    const LaneSet point_by_point = add_vectorised(element, tile, block);
    for (int lane = 0; point_by_point != 0 && lane < present; ++lane) {
        if ((point_by_point >> lane & 1) != 0 &&
            edge_.reached[static_cast<std::size_t>(lane)] != 0) {
            add_point(element, tile, block, lane);
        }
    }
}

// Returns the lanes that the vector kernels leave out.
template <class Real, class Delay>
LaneSet DecompositionRoom<Real, Delay>::add_vectorised(
    const DecompositionElement<Real, Delay>& element, PointTile& tile, int block) {
    const DecompositionFactors<Real, Delay>& factors = *element.factors;
    const int most_samples = std::max(element.edge->size(), edge_.size);
    const std::size_t block_factors = (static_cast<std::size_t>(most_samples) + 1) * block_lanes *
                                      static_cast<std::size_t>(factors.terms());
    if (tile.times().deltat() == 0.0 || !factors.finite() || factors.terms() == 0 ||
        edge_.size == 0 || block_factors > most_block_factors) {
        return all_lanes;
    }
    find_windows(element.rule, element.direct_wave, edge_, windows_);
    LaneSet too_long = 0;
    SampleWindow rows{tile.times().ntimes, 0};
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const SampleWindow own = windows_.rows(lane);
        if (own.begin >= own.end) {
            continue;
        }
        rows = {std::min(rows.begin, own.begin), std::max(rows.end, own.end)};
        if (own.end - own.begin > most_rows) {
            too_long |= LaneSet{1} << lane;
            windows_.latest[lane] = -1;
        }
    }
    if (rows.begin >= rows.end) {
        return 0;
    }
    WaveBlock<Real> wave{};
    wave.terms = factors.terms();
    wave.windows = &windows_;
    wave.rows = rows;
    wave.temporal = factors.temporal();
    wave.ntimes = static_cast<std::size_t>(tile.times().ntimes);
    wave.amplitude = element.element->amplitude;
    wave.output = tile.rows() + block * block_lanes;
    wave.stride = static_cast<std::size_t>(tile.width());
    wave.spend = &tile.spend();
    tile.spend()(static_cast<std::int64_t>(block_factors));
    direct_wave_.prepare(factors, element.direct_wave, edge_, windows_, wave);
    fill_coefficients(wave);
    fill_spatial_factors(factors, wave);
    direct_wave_.fill_factors(factors, edge_, wave);
    const LaneSet left_out = scale_edge_waves(wave, sums_) | too_long;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        windows_.latest[lane] = (left_out >> lane & 1) != 0 ? -1 : windows_.latest[lane];
    }
    if (left_out != all_lanes) {
        tile.load_rows(rows);
        add_wave_block(wave, sums_);
    }
    return left_out;
}

template <class Real, class Delay>
void DecompositionRoom<Real, Delay>::fill_coefficients(WaveBlock<Real>& wave) {
    if constexpr (std::is_same_v<Real, Delay>) {
        wave.coefficient = edge_.coefficient.data();
    } else {
        rounded_coefficient_.resize(edge_.coefficient.size());
        const auto past = edge_.coefficient.begin() + wave.samples * block_lanes;
        std::transform(edge_.coefficient.begin(), past, rounded_coefficient_.begin(),
                       [](Delay g) { return static_cast<Real>(g); });
        wave.coefficient = rounded_coefficient_.data();
    }
}

template <class Real, class Delay>
void DecompositionRoom<Real, Delay>::fill_spatial_factors(
    const DecompositionFactors<Real, Delay>& factors, WaveBlock<Real>& wave) {
    const std::size_t delays = static_cast<std::size_t>(wave.samples) * block_lanes;
    spatial_.resize(std::max(spatial_.size(), delays * static_cast<std::size_t>(factors.terms())));
    factors.spatial(spatial_.data(), edge_.delay.data(), static_cast<int>(delays));
    wave.spatial = spatial_.data();
}

template <class Real, class Delay>
void DecompositionRoom<Real, Delay>::add_point(const DecompositionElement<Real, Delay>& element,
                                               PointTile& tile, int block, int lane) {
    const std::vector<Real>& series =
        point_.series(*element.factors, element.rule, element.direct_wave, edge_, lane,
                      element.element->amplitude);
    tile.load_rows({0, tile.times().ntimes});
    double* out = tile.rows() + block * block_lanes + lane;
    for (int j = 0; j < tile.times().ntimes; ++j, out += tile.width()) {
        tile.spend_rows(j);
        *out += static_cast<double>(series[static_cast<std::size_t>(j)]);
    }
}

template class DecompositionRoom<float>;
template class DecompositionRoom<float, double>;
template class DecompositionRoom<double>;

}  // namespace kavro
