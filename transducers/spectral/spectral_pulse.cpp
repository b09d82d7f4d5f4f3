#include "transducers/spectral/spectral_pulse.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <new>

#include "core/counts.h"
#include "transducers/blocks/edge_block.h"

namespace kavro {
namespace {

// What a waveform with jumps would ask for beyond that, losses take away a little farther on.
constexpr int most_frequencies = 1 << 13;
constexpr double most_steps = 1 << 20;

// The next of 4, 5, 6, 8, 10, 12, 16, ...: lengths of fast transforms, few enough to be shared.
std::int64_t rounded_up(double steps) {
    std::int64_t quarter = 1;
    while (6.0 * static_cast<double>(quarter) < steps) {
        quarter *= 2;
    }
    for (const std::int64_t k : {4, 5}) {
        if (static_cast<double>(k * quarter) >= steps) {
            return k * quarter;
        }
    }
    return 6 * quarter;
}

// Of the tolerance, for what lies beyond the band and beyond the stay.
constexpr double part_left_out = 0.7;

}  // namespace

double reference_frequency_of(const ExcitationFunction& waveform, const Medium& medium) {
    const double centre = waveform.centre_frequency();
    return centre > 0.0 ? centre : std::fmax(medium._f0, 0.0);
}

SpectralPulse::SpectralPulse(const ExcitationFunction& waveform, const Medium& medium,
                             const TimeSamples& times, double tolerance)
    : waveform_(waveform),
      medium_(medium),
      times_(times),
      tolerance_(tolerance),
      speed_(medium._soundspeed),
      law_(medium, reference_frequency_of(waveform, medium)),
      reach_(waveform, law_, part_left_out * tolerance) {
    constexpr double steps_of_list = 64.0;
    constexpr double most_steps_of_pulse = 1 << 15;
    const double deltat = times.deltat();
    is_even_ = deltat > 0.0 && waveform.w <= most_steps_of_pulse * deltat;
    step_ = is_even_ ? deltat : waveform.w / steps_of_list;
    origin_ = is_even_ ? times.time_index_value(0) : 0.0;
    const auto [earliest, latest] = std::minmax_element(times.times.begin(), times.times.end());
    earliest_ = *earliest;
    latest_ = *latest;
}

bool SpectralPulse::is_of(const ExcitationFunction& waveform, const Medium& medium,
                          const TimeSamples& times, double tolerance) const {
    return waveform_.same_waveform(waveform) && &medium_ == &medium && &times_ == &times &&
           tolerance_ == tolerance;
}

PulseStay SpectralPulse::stay(double nearest, double farthest, double time_delay) const {
    const double guard = 0.25 * waveform_.w;
    const double begin = nearest / speed_ + time_delay - reach_.early(farthest) - guard;
    const double end = farthest / speed_ + time_delay + waveform_.w + reach_.late(farthest) + guard;
    const double first = std::floor((begin - origin_) / step_);
    const double need = (end - origin_) / step_ - first + 1.0;
    PulseStay stay{origin_ + first * step_, first, 0, 0};
    if (!(std::fabs(first) < 1e15) || !(need < 1e15)) {
        return stay;
    }
    stay.steps = rounded_up(std::fmin(need, is_even_ ? most_steps : need));
    const double last = first + static_cast<double>(stay.steps);
    const bool meets = is_even_ ? last > 0.0 && first < times_.ntimes
                                : last * step_ >= earliest_ && stay.begin <= latest_;
    const double needed = std::ceil(reach_.band(nearest) * period(stay.steps) / two_pi) + 1.0;
    // Whole blocks of the kernel.
    stay.frequencies =
        meets ? static_cast<int>(std::fmin(needed, most_frequencies - 8.0) / 8.0) * 8 + 8 : 0;
    return stay;
}

double SpectralPulse::frequencies(double spread) const {
    return reach_.band(0.0) * (spread + 1.5 * waveform_.w) / two_pi;
}

double SpectralPulse::missed(const PulseStay& stay, double nearest, double gain) const {
    if (stay.frequencies < most_frequencies) {
        return 0.0;
    }
    const double band = two_pi * stay.frequencies / period(stay.steps);
    const double error = reach_.left_out(nearest, band, gain);
    return error > tolerance_ ? std::fmin(error, 1.0) : 0.0;
}

std::shared_ptr<const StayComb> SpectralPulse::comb(std::int64_t steps, int frequencies,
                                                    const Spend& spend) const {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<const StayComb>& comb = combs_[steps];
    if (!comb || comb->comb.size() < frequencies) {
        const int former = comb ? comb->comb.size() : 0;
        comb = std::make_shared<const StayComb>(
            made(steps, std::max(frequencies, former + former / 2), spend));
    }
    return comb;
}

StayComb SpectralPulse::made(std::int64_t steps, int frequencies, const Spend& spend) const {
    constexpr int at_a_time = 256;
    const double T = period(steps);
    // Real and imaginary bins, and values, of a block.
    if (is_even_ &&
        !fits_into_memory(static_cast<std::size_t>(steps), 2 * block_lanes * sizeof(double))) {
        throw std::bad_alloc();
    }
    StayComb made{Comb(law_, speed_, damping(steps), two_pi / T, frequencies, 0.5 * T, tolerance_),
                  {},
                  nullptr};
    Comb& comb = made.comb;
    std::vector<std::complex<double>> s(static_cast<std::size_t>(comb.size()));
    for (int q = 0; q < comb.size(); ++q) {
        s[static_cast<std::size_t>(q)] = comb.s(q);
    }
    for (int q = 0; q < comb.size(); q += at_a_time) {
        const int some = std::min(at_a_time, comb.size() - q);
        spend(some * steps_of_transform(waveform_));
        waveform_.transform(comb.factor.data() + q, s.data() + q, some);
    }
    for (std::size_t q = 0; q < s.size(); ++q) {
        // s / (c gamma): the density is real, the losses are those of compression. Frequency 0 is
        // its own counterpart and counts half.
        comb.factor[q] *= s[q] / (s[q] + comb.mu[q]) * ((q == 0 ? 1.0 : 2.0) / T);
    }
    if (is_even_) {
        made.transform = std::make_shared<InverseTransform>(static_cast<int>(steps), block_lanes);
        made.growth.resize(static_cast<std::size_t>(steps));
        for (std::size_t n = 0; n < made.growth.size(); ++n) {
            made.growth[n] = std::exp(damping(steps) * (static_cast<double>(n) * step_));
        }
    }
    return made;
}

}  // namespace kavro
