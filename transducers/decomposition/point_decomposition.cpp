#include "transducers/decomposition/point_decomposition.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "core/counts.h"
#include "core/zeros.h"

namespace kavro {

template <class Real, class Delay>
const std::vector<Real>& PointDecomposition<Real, Delay>::series(
    const DecompositionFactors<Real, Delay>& factors, const WindowRule& rule, DirectWaveBy by,
    const EdgeBlock<Delay>& edge, int lane, double amplitude) {
    factors_ = &factors;
    assign_zeros(series_, static_cast<std::size_t>(times_.ntimes), spend_);
    spatial_.resize(static_cast<std::size_t>(factors.terms()));
    add_edge_waves(rule, edge, static_cast<std::size_t>(lane));
    if (by == DirectWaveBy::value) {
        subtract_direct_wave(rule, edge, static_cast<std::size_t>(lane));
    } else {
        add_direct_wave(rule, edge, static_cast<std::size_t>(lane));
    }
    for (Real& value : series_) {
        value = static_cast<Real>(static_cast<double>(value) * amplitude);
    }
    return series_;
}

template <class Real, class Delay>
void PointDecomposition<Real, Delay>::spend(std::int64_t steps) {
    constexpr std::int64_t worth_a_call = 10'000;
    steps_ += steps;
    if (steps_ >= worth_a_call) {
        spend_(std::exchange(steps_, 0));
    }
}

// begin, end: seconds from the first sample. All samples of a list, whose own are compared
// directly.
template <class Real, class Delay>
SampleWindow PointDecomposition<Real, Delay>::window(const WindowRule& rule, double begin,
                                                     double end, bool begin_rounded_down) const {
    if (times_.deltat() == 0.0) {
        return {0, times_.ntimes};
    }
    const double first = begin * rule.inverse_step;
    return {clamped_index(begin_rounded_down ? std::floor(first) : std::ceil(first), times_.ntimes),
            clamped_index(std::floor(end * rule.inverse_step) + 1.0, times_.ntimes)};
}

template <class Real, class Delay>
bool PointDecomposition<Real, Delay>::belongs(int j, Delay begin, Delay end) const {
    const double t = times_.time_index_value(j) - factors_->time_delay();
    return times_.deltat() != 0.0 || (t - static_cast<double>(begin) >= 0.0 &&
                                      t - static_cast<double>(end) <= factors_->waveform().w);
}

// The decomposed wave of delay tau, over the samples between the waves of begin and end.
template <class Real, class Delay>
void PointDecomposition<Real, Delay>::add_wave(Real coefficient, Delay tau, SampleWindow samples,
                                               Delay begin, Delay end) {
    if (samples.begin >= samples.end) {
        return;
    }
    const auto terms = static_cast<std::int64_t>(spatial_.size());
    const auto row = static_cast<std::size_t>(times_.ntimes);
    spend(terms);
    factors_->spatial_one(spatial_.data(), tau);
    for (int j = samples.begin; j < samples.end; ++j) {
        if (!belongs(j, begin, end)) {
            spend(1);
            continue;
        }
        spend(terms);
        const Real* temporal = factors_->temporal() + j;
        Real sum = 0;
        for (std::size_t k = 0; k < spatial_.size(); ++k) {
            sum += spatial_[k] * coefficient * temporal[k * row];
        }
        series_[static_cast<std::size_t>(j)] += sum;
    }
}

template <class Real, class Delay>
void PointDecomposition<Real, Delay>::add_edge_waves(const WindowRule& rule,
                                                     const EdgeBlock<Delay>& edge,
                                                     std::size_t lane) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(edge.samples_of(lane)); ++i) {
        const Delay tau = edge.delay[i * block_lanes + lane];
        const auto g = static_cast<Real>(edge.coefficient[i * block_lanes + lane]);
        const double u = static_cast<double>(tau) + rule.time_delay - rule.first_time;
        add_wave(g, tau, window(rule, u, u + rule.duration, false), tau, tau);
    }
}

template <class Real, class Delay>
void PointDecomposition<Real, Delay>::add_direct_wave(const WindowRule& rule,
                                                      const EdgeBlock<Delay>& edge,
                                                      std::size_t lane) {
    const Delay begin = edge.direct_begin[lane];
    const Delay end = edge.direct_end[lane];
    const SampleWindow samples =
        window(rule, static_cast<double>(begin) + rule.time_delay - rule.first_time,
               rule.time_delay + static_cast<double>(end) + rule.duration - rule.first_time,
               rule.direct_begin_rounded_down);
    add_wave(static_cast<Real>(-edge.coefficient_sum[lane]), edge.direct_delay[lane], samples,
             begin, end);
}

template <class Real, class Delay>
void PointDecomposition<Real, Delay>::subtract_direct_wave(const WindowRule& rule,
                                                           const EdgeBlock<Delay>& edge,
                                                           std::size_t lane) {
    const Delay zeta = edge.direct_delay[lane];
    const Delay begin = edge.direct_begin[lane];
    const auto weight = static_cast<double>(edge.coefficient_sum[lane]);
    const SampleWindow samples =
        window(rule, static_cast<double>(begin) + rule.time_delay - rule.first_time,
               rule.time_delay + static_cast<double>(zeta) + rule.duration - rule.first_time,
               rule.direct_begin_rounded_down);
    for (int j = samples.begin; j < samples.end; ++j) {
        spend(1);
        if (belongs(j, begin, zeta)) {
            spend(factors_->waveform().n_terms);
            const double since = factors_->direct_argument(times_.time_index_value(j), zeta);
            const double value = factors_->waveform().at(since);
            Real& sum = series_[static_cast<std::size_t>(j)];
            sum = static_cast<Real>(static_cast<double>(sum) - value * weight);
        }
    }
}

template class PointDecomposition<float>;
template class PointDecomposition<float, double>;
template class PointDecomposition<double>;

}  // namespace kavro
