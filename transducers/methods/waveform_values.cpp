#include "transducers/methods/waveform_values.h"

#include <algorithm>
#include <cstdint>

namespace kavro {

void waveform_values(const ExcitationFunction& waveform, double* out, const double* t, int count,
                     const Spend& spend) {
    constexpr int fewest = 16;  // as many as the vectors of one step hold
    const std::int64_t steps = std::max(waveform.n_terms, 1);
    const auto part = static_cast<int>(
        std::clamp<std::int64_t>(steps_between_looks / steps / fewest * fewest, fewest, 1 << 20));
    for (int begin = 0; begin < count; begin += part) {
        const int some = std::min(part, count - begin);
        spend(steps * some);
        waveform.at_batch(out + begin, t + begin, some);
    }
}

}  // namespace kavro
