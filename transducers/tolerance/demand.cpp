#include "transducers/tolerance/demand.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/constants.h"

namespace kavro {
namespace {

double largest_value(const ExcitationFunction& waveform, double highest_frequency) {
    constexpr double per_period = 24.0;
    const double wanted = per_period * highest_frequency * waveform.w;
    const int count = static_cast<int>(std::clamp(wanted, 512.0, 65536.0));
    std::vector<double> t(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        t[static_cast<std::size_t>(i)] = waveform.w * (i + 0.5) / count;
    }
    std::vector<double> v(t.size());
    waveform.at_batch(v.data(), t.data(), count);
    double largest = 0.0;
    for (const double value : v) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

// One-sided differences from `end` inwards, a small part of the shortest period apart.
void add_end(const ExcitationFunction& waveform, double end, double step, double largest,
             WaveformEnds& ends) {
    std::array<double, std::tuple_size_v<WaveformEnds>> difference{};
    const double inside = end > 0.0 ? -1e-9 * waveform.w : 1e-9 * waveform.w;
    for (std::size_t i = 0; i < difference.size(); ++i) {
        difference[i] = waveform.at(end + inside + step * static_cast<double>(i)) / largest;
    }
    double scale = 1.0;
    for (std::size_t order = 0; order < ends.size(); ++order) {
        const double jump = std::abs(difference[0]) / scale;
        if (order > 0 || jump > 1e-6) {
            ends[order] = std::max(ends[order], jump);
        }
        for (std::size_t i = 0; i + order + 1 < difference.size(); ++i) {
            difference[i] = difference[i + 1] - difference[i];
        }
        scale *= std::abs(step);
    }
}

}  // namespace

QuadratureDemand demand_of(const WaveParameters& wave, double tolerance) {
    return {tolerance, wave.wavenumber, wave.wavenumber, wave.attenuation, false, 0.0, {}, {}};
}

QuadratureDemand demand_of(const ExcitationFunction& waveform, const Medium& medium,
                           double tolerance) {
    constexpr double most = 1e12;  // 1/m: whatever asks for more gets the ladder's end
    const double c = medium._soundspeed;
    const double w = waveform.w;
    const double highest = std::max(waveform.highest_frequency(tolerance), 1.0 / w);
    const double centre = std::max(waveform.centre_frequency(), 1.0 / w);
    QuadratureDemand demand{tolerance,
                            std::min(most, two_pi * centre / c),
                            std::min(most, two_pi * highest / c),
                            0.0,
                            true,
                            c,
                            {},
                            {}};
    const double largest = w > 0.0 ? largest_value(waveform, highest) : 0.0;
    if (largest > 0.0) {
        const double step = std::clamp(0.005 / (two_pi * highest), 1e-5 * w, 0.02 * w);
        add_end(waveform, 0.0, step, largest, demand.ends);
        add_end(waveform, w, -step, largest, demand.ends);
    }
    for (std::size_t order = 0; order < demand.ends.size(); ++order) {
        demand.log_ends[order] = std::log(std::max(end_share[order] * demand.ends[order], 1e-300));
    }
    return demand;
}

}  // namespace kavro
