#include "transducers/kzk/retarded_time.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "core/constants.h"
#include "core/counts.h"

namespace kavro::kzk {

RetardedTime::RetardedTime(const ExcitationFunction& excitation)
    : f0(static_cast<float>(excitation.f0)),
      omega0(static_cast<float>(two_pi * static_cast<double>(f0))) {}

RetardedTime::RetardedTime(const TimeSamples& times, const ExcitationFunction& excitation,
                           const Medium& medium, const CoordinateGrid& grid)
    : RetardedTime(excitation) {
    const auto w = static_cast<double>(omega0);
    begin = static_cast<float>(times.tmin() * w);
    const auto end = static_cast<float>((times.tmax() - grid.zmax / medium._soundspeed) * w);
    const float span = end - begin;
    if (!(times.deltat() > 0.0 && f0 > 0.0f && span > 0.0f && std::isfinite(span))) {
        return;
    }
    // Samples per period; 3.1415927 is the constant in use here.
    const float rate = (1.0f / static_cast<float>(times.deltat())) / f0;
    const double count =
        std::floor(static_cast<double>(span) * 0.5 / 3.1415927 * static_cast<double>(rate) + 0.5);
    if (count >= 1.0 && count < std::numeric_limits<int>::max()) {
        steps = static_cast<int>(count);
        step = span / static_cast<float>(steps);
    }
}

RetardedTime::RetardedTime(double seconds, const ExcitationFunction& excitation, double first,
                           double last)
    : RetardedTime(excitation) {
    step = static_cast<float>(seconds * static_cast<double>(omega0));
    if (!(seconds > 0.0 && step > 0.0f && std::isfinite(step) && first < last)) {
        return;
    }
    const double before = std::ceil(-first / static_cast<double>(step));
    const double count = before + std::ceil(last / static_cast<double>(step));
    if (before >= 0.0 && count >= 1.0 && count < std::numeric_limits<int>::max()) {
        steps = static_cast<int>(count);
        begin = static_cast<float>(-before * static_cast<double>(step));
    }
}

}  // namespace kavro::kzk

namespace kavro {

bool set_kzk_tau_axis(TimeSamples& times, const ExcitationFunction& excitation,
                      const Medium& medium, const CoordinateGrid& grid) {
    const kzk::RetardedTime axis(times, excitation, medium, grid);
    if (axis.steps == 0) {
        return false;
    }
    const auto count = static_cast<std::size_t>(axis.steps) + 1;
    require_memory(count, sizeof(double), "time samples");
    const double first = static_cast<double>(axis.omega0) * times.tmin();
    const auto step = static_cast<double>(axis.step);
    std::vector<double> taus(count);
    for (std::size_t i = 0; i < count; ++i) {
        taus[i] = static_cast<double>(i) * step + first;
    }
    times._deltatau = step;
    times._taumin = first;
    times._taumax = taus.back();
    times.ntaus = axis.steps + 1;
    times.taus = std::move(taus);
    return true;
}

}  // namespace kavro
