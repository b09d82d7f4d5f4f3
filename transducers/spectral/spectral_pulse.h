// A waveform in a lossy medium, over a time axis: what all elements that send it share.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "core/interrupted.h"
#include "core/medium.h"
#include "core/time_samples.h"
#include "excitation/discrete_spectrum.h"
#include "excitation/excitation_function.h"
#include "transducers/spectral/comb.h"
#include "transducers/spectral/pulse_reach.h"

namespace kavro {

// When a pulse is at a point, and what its spectrum must hold. It depends on the point's distances
// alone, so that points have the same result whatever is computed beside them.
struct PulseStay {
    double begin;  // s, on the lattice of the pulse's steps
    double first;  // the step it begins with, counted from the axis's first sample (or from 0)
    std::int64_t steps;  // that it lasts, one of few numbers
    int frequencies;     // 0 for no stay at all
};

// The comb of the stays of so many steps, T seconds long: s_q = eta + 2 pi j q / T.
// Its factors are the waveform's spectrum and what belongs to the medium, over T.
struct StayComb {
    Comb comb;
    std::vector<double> growth;                         // e^(eta t) at the steps, of even axes
    std::shared_ptr<const InverseTransform> transform;  // of even axes
};

// Hz: the waveform's centre frequency, or for want of it the medium's; 0 where there is neither.
double reference_frequency_of(const ExcitationFunction& waveform, const Medium& medium);

class SpectralPulse {
public:
    SpectralPulse(const ExcitationFunction& waveform, const Medium& medium,
                  const TimeSamples& times, double tolerance);

    // Whether it serves another element as well.
    bool is_of(const ExcitationFunction& waveform, const Medium& medium, const TimeSamples& times,
               double tolerance) const;

    // At a point with the nearest and farthest point of the face so far away (m).
    PulseStay stay(double nearest, double farthest, double time_delay) const;

    // That a point takes at most, where arrivals spread over so many seconds.
    double frequencies(double spread) const;

    // Where the pulse asks for more frequencies than there may be, and the tolerance is missed: the
    // error as a share of the peak, see PulseReach::left_out; else 0.
    double missed(const PulseStay& stay, double nearest, double gain) const;

    // At least so many frequencies. May be called by several threads at once.
    std::shared_ptr<const StayComb> comb(std::int64_t steps, int frequencies,
                                         const Spend& spend) const;

    // Evenly spaced axes are filled by transforms; lists, and axes with very many samples to the
    // pulse, instant by instant.
    bool is_even() const { return is_even_; }
    double step() const { return step_; }  // s: the axis's, or one of the pulse's own
    double period(std::int64_t steps) const { return static_cast<double>(steps) * step_; }
    double damping(std::int64_t steps) const { return damping_ / period(steps); }  // eta, 1/s

private:
    // eta T, by which e^-(eta T) damps what wraps around; in return the ringing that the end of the
    // band leaves grows towards the end of the stay. Small, as a stay includes the pulse's tail.
    static constexpr double damping_ = 3.0;

    StayComb made(std::int64_t steps, int frequencies, const Spend& spend) const;

    const ExcitationFunction& waveform_;
    const Medium& medium_;
    const TimeSamples& times_;
    const double tolerance_;
    const double speed_;
    const PowerLaw law_;
    const PulseReach reach_;
    bool is_even_;
    double step_;
    double origin_;
    double earliest_, latest_;  // of the axis

    mutable std::mutex mutex_;
    mutable std::map<std::int64_t, std::shared_ptr<const StayComb>> combs_;
};

}  // namespace kavro
