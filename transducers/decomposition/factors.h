// The time-space decomposition of one waveform at one delay, as the transient consumer needs it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "core/aligned_vector.h"
#include "core/time_samples.h"
#include "excitation/excitation_function.h"
#include "transducers/departures.h"

namespace kavro {

// Which decomposition of the waveform a method uses.
enum class Decomposition { real, complex };

// Temporal factors over a time axis, and the waveform's spatial factors as real numbers: the
// complex decomposition counts as twice as many real terms. Real is the precision of the factors,
// Delay that of the delays. Single factors of double delays round last: neither late times nor long
// paths cost them anything.
template <class Real, class Delay = Real>
class DecompositionFactors {
public:
    DecompositionFactors(const ExcitationFunction& waveform, Decomposition kind,
                         const TimeSamples& times, double time_delay, DirectArgument argument);

    int terms() const { return terms_; }
    const ExcitationFunction& waveform() const { return *waveform_; }
    double time_delay() const { return time_delay_; }

    // Entry (sample j, term k) at k * ntimes + j; vector_slack values behind.
    const Real* temporal() const { return temporal_.data(); }

    // The decomposition of the waveform's value, for the direct wave: its terms (0 where there is
    // none, or where it is that of the edge waves to the last bit) and its spatial factors. Its
    // temporal factors are taken at the sample times as the direct wave's argument rounds them, in
    // the same order; where the spatial factors are those of the real
    // decomposition, as the difference from that one's temporal factors.
    int direct_terms() const { return direct_terms_; }
    bool direct_is_edge_wave() const { return direct_is_edge_wave_; }
    bool direct_is_decomposed() const { return direct_terms_ > 0 || direct_is_edge_wave_; }
    const Real* direct_temporal() const { return direct_temporal_.data(); }
    void direct_spatial(Real* out, const Delay* tau, int count) const;

    // The instant at which the waveform is evaluated for the direct wave.
    double direct_argument(double t, Delay zeta) const {
        return argument_ == DirectArgument::element_delay_first
                   ? (t - time_delay_) - static_cast<double>(zeta)
                   : static_cast<double>(static_cast<Delay>(t) - zeta) - time_delay_;
    }
    DirectArgument argument() const { return argument_; }

    // All temporal factors are finite.
    bool finite() const { return finite_; }

    // Factor k of delay m at out[k * count + m].
    void spatial(Real* out, const Delay* tau, int count) const;

    // The same one delay at a time, by the waveform's scalar operations.
    void spatial_one(Real* out, Delay tau) const;

    // Whether these factors serve another element as well.
    bool serves(const ExcitationFunction& waveform, Decomposition kind, double time_delay,
                DirectArgument argument) const {
        return time_delay == time_delay_ && kind == kind_ && argument == argument_ &&
               waveform_->same_waveform(waveform);
    }

    // Memory that the temporal factors take.
    std::size_t bytes() const {
        return sizeof(Real) * (temporal_.size() + direct_temporal_.size());
    }

private:
    const ExcitationFunction* waveform_;
    Decomposition kind_;
    double time_delay_;
    DirectArgument argument_;
    int terms_;
    int direct_terms_ = 0;
    bool direct_is_edge_wave_ = false;
    bool finite_;
    AlignedVector<Real> temporal_;
    AlignedVector<Real> direct_temporal_;
};

// Number of real terms of a waveform's decomposition.
int real_terms(const ExcitationFunction& waveform, Decomposition kind);

extern template class DecompositionFactors<float>;
extern template class DecompositionFactors<float, double>;
extern template class DecompositionFactors<double>;

}  // namespace kavro
