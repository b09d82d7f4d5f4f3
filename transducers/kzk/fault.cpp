#include "transducers/kzk/fault.h"

#include <cmath>

namespace kavro::kzk {
namespace {

bool is_positive(double value) {
    return value > 0.0 && std::isfinite(value);
}

}  // namespace

std::optional<Fault> scale_fault(const Transducer& element, double radius, double frequency,
                                 double scale_length, bool scaled, double absorption,
                                 double nonlinearity) {
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
    if (element.exact() && !(radius > 0.0)) {
        return Fault{Input::sizes, "of a source of positive radius", radius};
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
