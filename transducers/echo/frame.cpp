#include "transducers/echo/frame.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/constants.h"
#include "core/input_error.h"
#include "transducers/spectral/pulse_reach.h"

namespace kavro::echo {
namespace {

// A waveform with jumps in a lossless medium has no end of frequencies: there are no more than so
// many, and none beyond so many times the centre's.
constexpr double most_frequencies = 1 << 14;
constexpr double most_of_centre = 40.0;
constexpr double longest_transform = 1 << 22;

// Of the tolerance, for the sum of all magnitudes beyond the band. Without losses that exceeds the
// error several times, as the waveform's ends alternate.
constexpr double part_left_out = 0.5;
constexpr double part_without_losses = 2.0;

// The next product of 2, 3 and 5: lengths of fast transforms.
std::int64_t fast_length(double least) {
    std::int64_t best = 4;
    while (static_cast<double>(best) < least) {
        best *= 2;
    }
    for (std::int64_t five = 1; five < 2 * best; five *= 5) {
        for (std::int64_t three = five; three < 2 * best; three *= 3) {
            std::int64_t length = three;
            while (static_cast<double>(length) < std::fmax(least, 4.0)) {
                length *= 2;
            }
            best = std::min(best, length);
        }
    }
    return best;
}

}  // namespace

TimeFrame::TimeFrame(const EchoPulse& pulse, const PowerLaw& law, const TimeSamples& times,
                     const EchoExtent& extent, double tolerance) {
    const bool has_losses = law.slope() != 0.0;
    const PulseReach reach(pulse, law,
                           (has_losses ? part_left_out : part_without_losses) * tolerance);
    full_band = reach.band(0.0);
    if (!(extent.earliest <= extent.latest) || times.ntimes <= 0) {
        return;
    }
    const double guard = has_losses ? 0.25 * pulse.w : 0.0;
    begin = extent.earliest - reach.early(extent.farthest) * (has_losses ? 1.0 : 0.0) - guard;
    end = extent.latest + pulse.w + reach.late(extent.farthest) * (has_losses ? 1.0 : 0.0) + guard;
    const auto n = static_cast<std::size_t>(times.ntimes);
    const auto [earliest, latest] =
        std::minmax_element(times.times.begin(), times.times.begin() + static_cast<long>(n));
    const double from = std::fmax(begin, *earliest);
    const double to = std::fmin(end, *latest);
    if (!(from <= to)) {
        return;
    }
    const double deltat = times.deltat();
    double span = std::fmax(end - from, to - begin);
    if (!std::isfinite(span)) {
        throw InputError(
            "Delays, the pulse, and the ways to the scatterers and back must be of finite length, "
            "but "
            "echoes would end after " +
            std::to_string(end) + " s.");
    }
    is_even = deltat > 0.0 && span / deltat < longest_transform;
    if (is_even) {
        first = static_cast<std::int64_t>(std::floor((from - *earliest) / deltat));
        length = fast_length(std::ceil(span / deltat) + 2.0);
        span = static_cast<double>(length) * deltat;
    }
    period = span;
    damping = has_losses ? 3.0 / period : 0.0;
    const double centre = two_pi * std::fmax(pulse.f0, 1.0 / pulse.w);
    band = std::fmin(reach.band(extent.nearest),
                     std::fmin(most_of_centre * centre, most_frequencies * two_pi / period));
    frequencies = static_cast<int>(std::ceil(band * period / two_pi)) + 1;
}

}  // namespace kavro::echo
