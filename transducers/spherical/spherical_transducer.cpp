#include "transducers/spherical/spherical_transducer.h"

#include <iostream>

#include "core/console.h"

namespace kavro {

SphericalTransducer::SphericalTransducer(double radius_value, double roc_value)
    : radius(radius_value), roc(roc_value) {}

SphericalTransducer::SphericalTransducer(double radius_value, double roc_value,
                                         double time_delay_value)
    : SphericalTransducer(radius_value, roc_value) {
    set_time_delay(time_delay_value);
}

SphericalTransducer::SphericalTransducer(double radius_value, double roc_value,
                                         double amplitude_value, double phase_value)
    : SphericalTransducer(radius_value, roc_value) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void SphericalTransducer::debug(int level) const {
    Transducer::debug(level);
    std::cout << "radius: " << radius << '\n' << "ROC: " << roc << '\n';
}

void SphericalTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    // The curvature is not printed.
    console::print("radius: %f\n", radius);
}

}  // namespace kavro
