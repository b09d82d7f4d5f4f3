#include "transducers/kzk/transient_setting.h"

#include <algorithm>
#include <cmath>

#include "core/constants.h"
#include "core/interrupted.h"

namespace kavro::kzk {
namespace {

constexpr float most_steps = 16777216.0f;  // beyond, a step is lost in the rounding of the range
constexpr float most_absorption = 1e18f;   // beyond, the square of a matrix entry is no float

// Reference elements: what the time axis leaves. Exact ones: from before the first wave to the end
// of the last wave at any plane, or of the time axis, whichever comes first.
RetardedTime retarded_time(const Transducer& element, const TransientShape& shape,
                           const Planes& planes, const RadialGrid& radii) {
    const TimeSamples& times = *element.time_samples;
    const ExcitationFunction& excitation = *element.excitation;
    const double c = element.medium->_soundspeed;
    if (!element.exact()) {
        return {times, excitation, *element.medium, *element.coordinate_grid};
    }
    const double omega0 = two_pi * excitation.f0;
    // Shock fronts run ahead of a wave, and fall behind, by twice the root of their range in shock
    // distances, and more in a focus; the axis's ends hold the field and stay clear of it.
    const auto shocks = static_cast<double>(std::abs(shape.nonlinearity * shape.last_range));
    const double margin = two_pi + std::min(4.0 * std::sqrt(shocks), 4.0 * two_pi);
    const float farthest =
        std::min(*std::max_element(planes.r.begin(), planes.r.end()),
                 static_cast<float>(radii.last_column) / radii.points_per_radius);
    const double rim = std::pow(1.0 + static_cast<double>(farthest), 2);
    double last = 0.0;
    InterruptCheck check;
    for (const float plane : planes.z) {
        check.spend(4);
        const double z = std::max(static_cast<double>(plane), 0.0);
        const double of_axis = omega0 * (times.tmax() - z / c);
        const double of_wave =
            omega0 * excitation.w + rim * static_cast<double>(shape.rayleigh) / z;
        last = std::max(last, of_wave < of_axis ? of_wave : of_axis);
    }
    return {times, excitation, -(static_cast<double>(shape.source_lead) + margin), last + margin};
}

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
      axis(retarded_time(element, shape, planes, radii)) {}

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
        return Fault{
            Input::step,
            "more than " + shown(static_cast<double>(range / most_steps)) + " for these planes",
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
