#include "transducers/decomposition/point_decomposition.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "core/counts.h"

namespace kavro {

template <class Real>
const std::vector<Real>& PointDecomposition<Real>::series(const DecompositionFactors<Real>& factors,
                                                          const WindowRule& rule, DirectWaveBy by,
                                                          const EdgeBlock<Real>& edge, int lane,
                                                          double amplitude) {
    factors_ = &factors;
    series_.assign(static_cast<std::size_t>(times_.ntimes), Real(0));
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

template <class Real>
void PointDecomposition<Real>::spend(std::int64_t steps) {
    constexpr std::int64_t worth_a_call = 10'000;
    steps_ += steps;
    if (steps_ >= worth_a_call) {
        spend_(std::exchange(steps_, 0));
    }
}

// begin, end: seconds from the first sample. All samples of a list, whose own are compared
// directly.
template <class Real>
SampleWindow PointDecomposition<Real>::window(const WindowRule& rule, double begin, double end,
                                              bool begin_rounded_down) const {
    if (times_.deltat() == 0.0) {
        return {0, times_.ntimes};
    }
    const double first = begin * rule.inverse_step;
    return {clamped_index(begin_rounded_down ? std::floor(first) : std::ceil(first), times_.ntimes),
            clamped_index(std::floor(end * rule.inverse_step) + 1.0, times_.ntimes)};
}

template <class Real>
bool PointDecomposition<Real>::belongs(int j, Real begin, Real end) const {
    const double t = times_.time_index_value(j) - factors_->time_delay();
    return times_.deltat() != 0.0 || (t - static_cast<double>(begin) >= 0.0 &&
                                      t - static_cast<double>(end) <= factors_->waveform().w);
}

// The decomposed wave of delay tau, over the samples between the waves of begin and end.
template <class Real>
void PointDecomposition<Real>::add_wave(Real coefficient, Real tau, SampleWindow samples,
                                        Real begin, Real end) {
    if (samples.begin >= samples.end) {
        return;
    }
    const auto terms = static_cast<std::int64_t>(spatial_.size());
    spend(terms);
    factors_->spatial_one(spatial_.data(), tau);
    for (int j = samples.begin; j < samples.end; ++j) {
        if (!belongs(j, begin, end)) {
            continue;
        }
        spend(terms);
        const Real* temporal = factors_->temporal() + static_cast<std::size_t>(j) * spatial_.size();
        Real sum = 0;
        for (std::size_t k = 0; k < spatial_.size(); ++k) {
            sum += spatial_[k] * coefficient * temporal[k];
        }
        series_[static_cast<std::size_t>(j)] += sum;
    }
}

template <class Real>
void PointDecomposition<Real>::add_edge_waves(const WindowRule& rule, const EdgeBlock<Real>& edge,
                                              std::size_t lane) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(edge.samples_of(lane)); ++i) {
        const Real tau = edge.delay[i * block_lanes + lane];
        const Real g = edge.coefficient[i * block_lanes + lane];
        const double u = static_cast<double>(tau) + rule.time_delay - rule.first_time;
        add_wave(g, tau, window(rule, u, u + rule.duration, false), tau, tau);
    }
}

template <class Real>
void PointDecomposition<Real>::add_direct_wave(const WindowRule& rule, const EdgeBlock<Real>& edge,
                                               std::size_t lane) {
    const Real begin = edge.direct_begin[lane];
    const Real end = edge.direct_end[lane];
    const SampleWindow samples =
        window(rule, static_cast<double>(begin) + rule.time_delay - rule.first_time,
               rule.time_delay + static_cast<double>(end) + rule.duration - rule.first_time,
               rule.direct_begin_rounded_down);
    add_wave(-edge.coefficient_sum[lane], edge.direct_delay[lane], samples, begin, end);
}

template <class Real>
void PointDecomposition<Real>::subtract_direct_wave(const WindowRule& rule,
                                                    const EdgeBlock<Real>& edge, std::size_t lane) {
    const Real zeta = edge.direct_delay[lane];
    const Real begin = edge.direct_begin[lane];
    const auto weight = static_cast<double>(edge.coefficient_sum[lane]);
    const SampleWindow samples =
        window(rule, static_cast<double>(begin) + rule.time_delay - rule.first_time,
               rule.time_delay + static_cast<double>(zeta) + rule.duration - rule.first_time,
               rule.direct_begin_rounded_down);
    for (int j = samples.begin; j < samples.end; ++j) {
        if (belongs(j, begin, zeta)) {
            spend(1 + factors_->waveform().n_terms);
            const double since = factors_->direct_argument(times_.time_index_value(j), zeta);
            const double value = factors_->waveform().at(since);
            Real& sum = series_[static_cast<std::size_t>(j)];
            sum = static_cast<Real>(static_cast<double>(sum) - value * weight);
        }
    }
}

template class PointDecomposition<float>;
template class PointDecomposition<double>;

}  // namespace kavro
