#include "transducers/kzk/transient_output.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/counts.h"
#include "core/zeros.h"
#include "transducers/kzk/pieces.h"

namespace kavro::kzk {

TransientOutput::TransientOutput(const Transducer& element, const Planes& planes,
                                 const RetardedTime& axis)
    : times_(*element.time_samples),
      planes_(planes),
      axis_(axis),
      pressure_(element.transient_pressure),
      points_(planes.z.size() * planes.r.size()),
      speed_(element.medium->_soundspeed),
      scale_(speed_ * static_cast<double>(static_cast<float>(element.amplitude)) *
             element.medium->_rho_density),
      half_step_(axis.steps > 0
                     ? static_cast<double>(axis.step) / static_cast<double>(axis.omega0) / 2.0
                     : 0.0) {
    const double span = times_.tmax() - times_.tmin();
    rows_ = axis.steps > 0 ? clamped_index(span * static_cast<double>(axis.omega0) /
                                               static_cast<double>(axis.step),
                                           times_.ntimes)
                           : std::max(times_.ntimes, 0);
}

void TransientOutput::clear() {
    clear_rows(rows_);
}

void TransientOutput::clear_all() {
    clear_rows(std::max(times_.ntimes, 0));
}

void TransientOutput::clear_rows(int rows) {
    InterruptCheck check;
    fill_zeros(pressure_, points_ * static_cast<std::size_t>(rows),
               [&check](std::int64_t steps) { check.spend(steps); });
}

void TransientOutput::store(std::size_t plane, std::size_t m, const std::vector<float>& waveform,
                            InterruptCheck& check) {
    double* to = pressure_ + m + planes_.r.size() * plane;
    const int first = first_sample(planes_.z[plane], check);
    for (int n = first; n < rows_ && n - first <= axis_.steps; ++n) {
        if ((n - first) % rows_at_a_time == 0) {
            check.spend(rows_at_a_time);
        }
        to[static_cast<std::size_t>(n) * points_] =
            scale_ * static_cast<double>(waveform[static_cast<std::size_t>(n - first)]);
    }
}

// The output sample at which the retarded time of a plane begins.
int TransientOutput::first_sample(float z, InterruptCheck& check) const {
    const auto delay =
        static_cast<double>(static_cast<float>(static_cast<double>(z) / speed_ + times_.tmin()));
    int n = 0;
    while (n < rows_ && times_.time_index_value(n) < delay &&
           delay - times_.time_index_value(n) > half_step_) {
        if (n % rows_at_a_time == 0) {
            check.spend(rows_at_a_time);
        }
        ++n;
    }
    return n;
}

}  // namespace kavro::kzk
