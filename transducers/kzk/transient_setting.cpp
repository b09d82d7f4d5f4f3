#include "transducers/kzk/transient_setting.h"

#include <algorithm>
#include <cmath>

#include "core/number_text.h"
#include "transducers/kzk/beam_time.h"

namespace kavro::kzk {
namespace {

constexpr float most_steps = 16777216.0f;  // beyond, a step is lost in the rounding of the range
constexpr float most_absorption = 1e18f;   // beyond, the square of a matrix entry is no float

bool is_positive(float value) {
    return value > 0.0f && std::isfinite(value);
}

TransientShape with_last_range(TransientShape shape, const Transducer& element,
                               const Planes& planes) {
    if (element.exact()) {
        shape.last_range = planes.z.back() / shape.rayleigh * shape.gain;
    }
    return shape;
}

}  // namespace

TransientSetting::TransientSetting(const Transducer& element, const TransientShape& of)
    : parameters(element.integral->kzk_parameters),
      radii(parameters),
      planes(*element.coordinate_grid, of.radius, element.exact()),
      shape(with_last_range(of, element, planes)),
      axis(element.exact() ? beam_time(element, shape)
                           : RetardedTime(*element.time_samples, *element.excitation,
                                          *element.medium, *element.coordinate_grid)) {}

std::optional<Fault> TransientSetting::fault(const Transducer& element) const {
    const bool scaled =
        is_positive(shape.rayleigh) && is_positive(shape.gain) && std::isfinite(shape.source_lead);
    if (auto fault = radii.fault()) {
        return fault;
    }
    if (auto fault = scale_fault(
            element, shape.radius, element.excitation->f0,
            static_cast<double>(is_positive(shape.rayleigh) ? shape.rayleigh / shape.gain
                                                            : shape.rayleigh),
            scaled, static_cast<double>(shape.absorption),
            static_cast<double>(shape.nonlinearity))) {
        return fault;
    }
    const float first = std::abs(planes.z.front() / shape.rayleigh * shape.gain);
    const float range = std::max(std::abs(shape.last_range), first);
    if (!std::isfinite(range) || !std::isfinite(first)) {
        return Fault{Input::planes, "at finite distances", element.coordinate_grid->zmax};
    }
    if (!(is_positive(parameters.step) && range < most_steps * parameters.step)) {
        return Fault{Input::step,
                     "more than " + number_text(static_cast<double>(range / most_steps)) +
                         " for these planes",
                     static_cast<double>(parameters.step)};
    }
    if (!(axis.steps >= 2 && is_positive(axis.step))) {
        return Fault{Input::time,
                     element.exact() ? "has a step that is longer"
                                     : "lasts until the wave has come to the farthest plane",
                     element.time_samples->tmax()};
    }
    if (!(parameters.step * shape.absorption / (axis.step * axis.step) < most_absorption)) {
        return Fault{Input::attenuation, "small enough for this step", element.medium->_dBcmMHz};
    }
    return std::nullopt;
}

std::optional<Fault> transient_fault(const Transducer& element, const TransientShape& shape) {
    return TransientSetting(element, shape).fault(element);
}

}  // namespace kavro::kzk
