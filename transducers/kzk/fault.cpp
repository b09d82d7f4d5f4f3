#include "transducers/kzk/fault.h"

#include <cmath>
#include <cstdio>

#include "transducers/circular/circular_transducer.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/shapes.h"
#include "transducers/kzk/transient_march.h"
#include "transducers/spherical/spherical_transducer.h"

namespace kavro::kzk {
namespace {

constexpr float whole_limit = 1e9f;  // counts beyond this are no counts

bool is_positive(double value) {
    return value > 0.0 && std::isfinite(value);
}

template <class Shape>
std::optional<Fault> fault_of_shape(Shape& element, bool harmonic) {
    return harmonic ? harmonic_fault(element, harmonic_shape(element))
                    : transient_fault(element, transient_shape(element));
}

bool has_what_a_march_reads(const Transducer& element, bool harmonic) {
    return element.coordinate_grid != nullptr && element.medium != nullptr &&
           element.integral != nullptr && Planes::fit(*element.coordinate_grid) &&
           (harmonic || (element.excitation != nullptr && element.time_samples != nullptr));
}

}  // namespace

std::string shown(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::optional<Fault> fault_of(Transducer& element, bool harmonic) {
    if (!has_what_a_march_reads(element, harmonic)) {
        return std::nullopt;
    }
    if (auto* disc = dynamic_cast<CircularTransducer*>(&element)) {
        return fault_of_shape(*disc, harmonic);
    }
    if (auto* shell = dynamic_cast<SphericalTransducer*>(&element)) {
        return fault_of_shape(*shell, harmonic);
    }
    return std::nullopt;
}

int last_column_of(float extent, float points_per_radius) {
    if (!(std::abs(extent) < whole_limit)) {
        return 0;
    }
    const float count = std::trunc(extent) * points_per_radius;
    return count >= 2.0f && count < whole_limit && extent > 0.0f ? static_cast<int>(count) : 0;
}

std::optional<Fault> radial_fault(float extent, float points_per_radius) {
    if (last_column_of(extent, points_per_radius) >= 2) {
        return std::nullopt;
    }
    if (!(extent >= 1.0f && extent < whole_limit)) {
        return Fault{Input::extent, "at least 1 and less than 1e9", static_cast<double>(extent)};
    }
    const double whole = std::trunc(static_cast<double>(extent));
    return Fault{Input::points_per_radius,
                 "at least " + shown(2.0 / whole) + " and less than " +
                     shown(static_cast<double>(whole_limit) / whole) + " for this extent",
                 static_cast<double>(points_per_radius)};
}

std::optional<Fault> scale_fault(const Transducer& element, double frequency, double scale_length,
                                 bool scaled, double absorption, double nonlinearity) {
    const Medium& medium = *element.medium;
    if (!scaled) {
        if (!is_positive(medium._soundspeed)) {
            return Fault{Input::soundspeed, "positive", medium._soundspeed};
        }
        if (!is_positive(frequency)) {
            return Fault{Input::frequency, "positive", frequency};
        }
        return Fault{Input::sizes, "a positive scale length", scale_length};
    }
    if (!(std::isfinite(absorption) && absorption >= 0.0)) {
        return Fault{Input::attenuation, "0 or positive", medium._dBcmMHz};
    }
    if (!std::isfinite(nonlinearity)) {
        return std::isfinite(medium._beta)
                   ? Fault{Input::amplitude, "small enough for this medium and these lengths",
                           element.amplitude}
                   : Fault{Input::nonlinearity, "a finite number", medium._beta};
    }
    return std::nullopt;
}

}  // namespace kavro::kzk
