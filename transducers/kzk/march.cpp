#include "transducers/kzk/march.h"

#include "transducers/circular/circular_transducer.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/shapes.h"
#include "transducers/kzk/transient_march.h"
#include "transducers/spherical/spherical_transducer.h"

namespace kavro::kzk {
namespace {

// A regular grid of points and whatever else a march reads.
bool has_inputs(const Transducer& element, bool harmonic) {
    return element.coordinate_grid != nullptr && element.medium != nullptr &&
           element.integral != nullptr && Planes::fit(*element.coordinate_grid) &&
           (harmonic || (element.excitation != nullptr && element.time_samples != nullptr));
}

bool has_outputs(const Transducer& element, bool harmonic) {
    return harmonic ? element.pressure_real != nullptr && element.pressure_imag != nullptr
                    : element.transient_pressure != nullptr;
}

template <class Shape>
std::optional<Fault> fault_of_shape(Shape& element, bool harmonic) {
    return harmonic ? harmonic_fault(element, harmonic_shape(element))
                    : transient_fault(element, transient_shape(element));
}

template <class Shape>
Outcome march_shape(Shape& element, bool harmonic) {
    if (!has_inputs(element, harmonic) || !has_outputs(element, harmonic)) {
        return {.status = status_failure};
    }
    return harmonic ? march_harmonics(element, harmonic_shape(element))
                    : march_transient(element, transient_shape(element));
}

}  // namespace

std::optional<Fault> fault_of(Transducer& element, bool harmonic) {
    if (!has_inputs(element, harmonic)) {
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

Outcome march(CircularTransducer& disc, bool harmonic) {
    return march_shape(disc, harmonic);
}

Outcome march(SphericalTransducer& shell, bool harmonic) {
    return march_shape(shell, harmonic);
}

Outcome march(Transducer& element, bool harmonic) {
    if (auto* disc = dynamic_cast<CircularTransducer*>(&element)) {
        return march(*disc, harmonic);
    }
    if (auto* shell = dynamic_cast<SphericalTransducer*>(&element)) {
        return march(*shell, harmonic);
    }
    return {.status = status_not_implemented};
}

}  // namespace kavro::kzk
