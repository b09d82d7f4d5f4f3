#include "transducers/decomposition/factors.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

#include "core/counts.h"
#include "core/interrupted.h"
#include "core/zeros.h"
#include "transducers/decomposition/windows.h"

namespace kavro {
namespace {

template <class Vector>
Vector zeros(std::size_t count) {
    Vector values;
    InterruptCheck check;
    assign_zeros(values, count, [&check](std::int64_t steps) { check.spend(steps); });
    return values;
}

template <class Values>
bool all_finite(const Values& values) {
    InterruptCheck check;
    return std::all_of(values.begin(), values.end(), [&check](auto value) {
        check.spend(1);
        return std::isfinite(value);
    });
}

template <class Real>
AlignedVector<Real> real_factors(const ExcitationFunction& waveform, const TimeSamples& times,
                                 double time_delay, std::size_t terms) {
    const auto ntimes = static_cast<std::size_t>(times.ntimes);
    auto factors = zeros<AlignedVector<Real>>(terms * ntimes + vector_slack);
    waveform.temporal_tsd(factors.data(), &times, times.ntimes, static_cast<Real>(time_delay));
    return factors;
}

std::vector<double> value_factors(const ExcitationFunction& waveform, const TimeSamples& times,
                                  double time_delay) {
    auto factors =
        zeros<std::vector<double>>(static_cast<std::size_t>(waveform.number_of_value_terms()) *
                                   static_cast<std::size_t>(times.ntimes));
    waveform.value_temporal(factors.data(), times, time_delay);
    return factors;
}

AlignedVector<float> in_single(const std::vector<double>& factors) {
    auto out = zeros<AlignedVector<float>>(factors.size() + vector_slack);
    InterruptCheck check;
    for (std::size_t i = 0; i < factors.size(); ++i) {
        check.spend(1);
        out[i] = static_cast<float>(factors[i]);
    }
    return out;
}

AlignedVector<double> complex_factors(const ExcitationFunction& waveform, const TimeSamples& times,
                                      double time_delay) {
    const auto ntimes = static_cast<std::size_t>(times.ntimes);
    const auto n_terms = static_cast<std::size_t>(waveform.n_terms);
    auto factors = zeros<std::vector<std::complex<double>>>(n_terms * ntimes);
    waveform.temporal_tsd(factors.data(), &times, times.ntimes, time_delay);
    auto out = zeros<AlignedVector<double>>(2 * factors.size() + vector_slack);
    InterruptCheck check;
    for (std::size_t k = 0; k < n_terms; ++k) {
        for (std::size_t j = 0; j < ntimes; ++j) {
            check.spend(2);
            out[2 * k * ntimes + j] = factors[k * ntimes + j].real();
            out[(2 * k + 1) * ntimes + j] = factors[k * ntimes + j].imag();
        }
    }
    return out;
}

}  // namespace

int real_terms(const ExcitationFunction& waveform, Decomposition kind) {
    return kind == Decomposition::complex ? 2 * waveform.n_terms : waveform.number_of_tsd_terms();
}

template <class Real, class Delay>
DecompositionFactors<Real, Delay>::DecompositionFactors(const ExcitationFunction& waveform,
                                                        Decomposition kind,
                                                        const TimeSamples& times, double time_delay,
                                                        DirectArgument argument)
    : waveform_(&waveform),
      kind_(kind),
      time_delay_(time_delay),
      argument_(argument),
      terms_(real_terms(waveform, kind)) {
    const auto terms = static_cast<std::size_t>(terms_);
    // The factors by term, in double, and by sample; those of the direct wave too.
    const std::size_t values =
        (terms + static_cast<std::size_t>(waveform.number_of_value_terms())) *
        static_cast<std::size_t>(times.ntimes);
    if (!fits_into_memory(values, 2 * sizeof(double))) {
        throw std::bad_alloc();
    }
    if constexpr (std::is_same_v<Real, double>) {
        temporal_ = kind == Decomposition::complex
                        ? complex_factors(waveform, times, time_delay)
                        : real_factors<double>(waveform, times, time_delay, terms);
    } else if constexpr (std::is_same_v<Delay, double>) {
        TimeSamples since = times;
        for (double& t : since.times) {
            t -= time_delay;
        }
        temporal_ = real_factors<float>(waveform, since, 0.0, terms);
        direct_is_edge_wave_ = waveform.value_uses_spatial_tsd();
        if (!direct_is_edge_wave_) {
            direct_terms_ = waveform.number_of_value_terms();
            direct_temporal_ = in_single(value_factors(waveform, since, 0.0));
        }
    } else {
        temporal_ = real_factors<float>(waveform, times, time_delay, terms);
        direct_terms_ = waveform.number_of_value_terms();
        if (direct_terms_ > 0) {
            TimeSamples rounded = times;
            if (argument == DirectArgument::axial_delay_first) {
                for (double& t : rounded.times) {
                    t = static_cast<double>(static_cast<float>(t));
                }
            }
            const auto ntimes = static_cast<std::size_t>(times.ntimes);
            InterruptCheck check;
            std::vector<double> factors = value_factors(waveform, rounded, time_delay);
            direct_is_edge_wave_ = waveform.value_uses_spatial_tsd();
            for (std::size_t k = 0; direct_is_edge_wave_ && k < terms; ++k) {
                for (std::size_t j = 0; j < ntimes; ++j) {
                    check.spend(1);
                    factors[k * ntimes + j] -= static_cast<double>(temporal_[k * ntimes + j]);
                }
            }
            direct_temporal_ = in_single(factors);
        }
    }
    finite_ = all_finite(temporal_) && all_finite(direct_temporal_);
}

template <class Real, class Delay>
void DecompositionFactors<Real, Delay>::spatial(Real* out, const Delay* tau, int count) const {
    if constexpr (std::is_same_v<Real, double>) {
        if (kind_ == Decomposition::complex) {
            waveform_->complex_spatial_tsd_batch(out, tau, count);
            return;
        }
    }
    waveform_->spatial_tsd_batch(out, tau, count);
}

template <class Real, class Delay>
void DecompositionFactors<Real, Delay>::direct_spatial(Real* out, const Delay* tau,
                                                       int count) const {
    if constexpr (std::is_same_v<Real, float>) {
        waveform_->value_spatial_batch(out, tau, count);
    }
}

template <class Real, class Delay>
void DecompositionFactors<Real, Delay>::spatial_one(Real* out, Delay tau) const {
    if constexpr (std::is_same_v<Real, double>) {
        if (kind_ == Decomposition::complex) {
            waveform_->complex_spatial_tsd_batch(out, &tau, 1);
            return;
        }
    }
    if constexpr (std::is_same_v<Real, Delay>) {
        waveform_->spatial_tsd(out, tau);
    } else {
        waveform_->spatial_tsd_batch(out, &tau, 1);
    }
}

template class DecompositionFactors<float>;
template class DecompositionFactors<float, double>;
template class DecompositionFactors<double>;

}  // namespace kavro
