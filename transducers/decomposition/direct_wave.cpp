#include "transducers/decomposition/direct_wave.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "transducers/methods/waveform_values.h"

namespace kavro {

template <class Real, class Delay>
void DirectWave<Real, Delay>::prepare(const DecompositionFactors<Real, Delay>& factors,
                                      DirectWaveBy by, EdgeBlock<Delay>& edge, WindowBlock& windows,
                                      WaveBlock<Real>& wave) {
    if (by == DirectWaveBy::decomposition) {
        begin_ = windows.direct_begin;
        end_ = windows.direct_end;
        become_edge_sample(edge, windows);
        wave.samples = edge.size + 1;
        wave.direct_values = nullptr;
        wave.direct_spatial = nullptr;
        return;
    }
    bool any_by_value = false;
    bool any_decomposed = false;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        SampleWindow window{windows.direct_begin[lane], windows.direct_end[lane]};
        begin_[lane] = end_[lane] = 0;
        if (window.begin >= window.end) {
            continue;
        }
        if (factors.direct_is_decomposed() &&
            is_exact_difference(window, edge.direct_delay[lane], factors)) {
            window = inside_pulse(window, edge.direct_delay[lane], factors);
            begin_[lane] = window.begin;
            end_[lane] = window.end;
            any_decomposed = true;
            continue;
        }
        if (!any_by_value) {
            any_by_value = true;
            make_room_for_values(windows);
        }
        constexpr auto group = static_cast<std::int32_t>(samples_of_group);
        by_value(factors, edge, windows.earliest[lane] / group * group, lane, window);
    }
    wave.samples = edge.size;
    if (factors.direct_is_edge_wave()) {
        become_edge_sample(edge, windows);
        ++wave.samples;
    }
    wave.direct_values = any_by_value ? values_.data() : nullptr;
    wave.direct_stride = stride_;
    wave.direct_spatial = nullptr;
    if (any_decomposed && factors.direct_terms() > 0) {
        spatial_.resize(static_cast<std::size_t>(factors.direct_terms()) * block_lanes);
        wave.direct_spatial = spatial_.data();
        wave.direct_temporal = factors.direct_temporal();
        wave.direct_terms = factors.direct_terms();
        wave.direct_begin = begin_.data();
        wave.direct_end = end_.data();
    }
}

template <class Real, class Delay>
bool DirectWave<Real, Delay>::is_exact_difference(
    SampleWindow window, Delay zeta, const DecompositionFactors<Real, Delay>& factors) const {
    if (std::is_same_v<Delay, double> ||
        factors.argument() == DirectArgument::element_delay_first) {
        return true;  // formed in double
    }
    // Numbers within a factor of two of each other subtract without rounding.
    const auto rounded = [this](int j) { return static_cast<Delay>(times_.time_index_value(j)); };
    return 2 * rounded(window.begin) >= zeta && rounded(window.end - 1) <= 2 * zeta;
}

// The samples of the window at which the waveform is not cut off.
template <class Real, class Delay>
SampleWindow DirectWave<Real, Delay>::inside_pulse(
    SampleWindow window, Delay zeta, const DecompositionFactors<Real, Delay>& factors) const {
    const auto is_inside = [&](int j) {
        const double since = factors.direct_argument(times_.time_index_value(j), zeta);
        return factors.waveform().is_inside_pulse(since);
    };
    while (window.begin < window.end && !is_inside(window.begin)) {
        ++window.begin;
    }
    while (window.begin < window.end && !is_inside(window.end - 1)) {
        --window.end;
    }
    return window;
}

// Zeros at all samples of every lane.
template <class Real, class Delay>
void DirectWave<Real, Delay>::make_room_for_values(const WindowBlock& windows) {
    stride_ = 0;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const SampleWindow rows = windows.rows(lane);
        stride_ = std::max(stride_, static_cast<std::size_t>(std::max(rows.end - rows.begin, 0)));
    }
    stride_ += 2 * samples_of_group;
    values_.assign(stride_ * block_lanes, 0.0);
}

template <class Real, class Delay>
void DirectWave<Real, Delay>::by_value(const DecompositionFactors<Real, Delay>& factors,
                                       const EdgeBlock<Delay>& edge, std::int32_t first_row,
                                       std::size_t lane, SampleWindow window) {
    const auto count = static_cast<std::size_t>(window.end - window.begin);
    instants_.resize(std::max(instants_.size(), count));
    const Delay zeta = edge.direct_delay[lane];
    for (std::size_t m = 0; m < count; ++m) {
        const double t = times_.times[static_cast<std::size_t>(window.begin) + m];
        instants_[m] = factors.direct_argument(t, zeta);
    }
    double* out =
        values_.data() + lane * stride_ + static_cast<std::size_t>(window.begin - first_row);
    waveform_values(factors.waveform(), out, instants_.data(), static_cast<int>(count), spend_);
    const auto weight = static_cast<double>(edge.coefficient_sum[lane]);
    for (std::size_t m = 0; m < count; ++m) {
        out[m] *= weight;
    }
}

template <class Real, class Delay>
void DirectWave<Real, Delay>::become_edge_sample(EdgeBlock<Delay>& edge,
                                                 WindowBlock& windows) const {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const std::size_t slot = static_cast<std::size_t>(edge.size) * block_lanes + lane;
        const bool present = begin_[lane] < end_[lane];
        edge.delay[slot] = edge.direct_delay[lane];
        edge.coefficient[slot] = present ? -edge.coefficient_sum[lane] : Delay(0);
        windows.begin[slot] = present ? begin_[lane] : -1;
        windows.end[slot] = present ? end_[lane] : -1;
    }
}

template <class Real, class Delay>
void DirectWave<Real, Delay>::fill_factors(const DecompositionFactors<Real, Delay>& factors,
                                           const EdgeBlock<Delay>& edge,
                                           const WaveBlock<Real>& wave) {
    if (wave.direct_spatial == nullptr) {
        return;
    }
    const auto row = static_cast<std::size_t>(wave.samples) * block_lanes;
    if (!factors.direct_is_edge_wave()) {
        factors.direct_spatial(spatial_.data(), edge.direct_delay.data(), block_lanes);
    }
    for (std::size_t k = 0; k < static_cast<std::size_t>(wave.direct_terms); ++k) {
        Real* direct = spatial_.data() + k * block_lanes;
        const Real* factor =
            factors.direct_is_edge_wave() ? wave.spatial + (k + 1) * row - block_lanes : direct;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            direct[lane] = factor[lane] * static_cast<Real>(edge.coefficient_sum[lane]);
        }
    }
}

template class DirectWave<float>;
template class DirectWave<float, double>;
template class DirectWave<double>;

}  // namespace kavro
