#include "transducers/spherical_ring/spherical_ring_transducer.h"

#include <iostream>

#include "core/console.h"

namespace kavro {

SphericalRingTransducer::SphericalRingTransducer(double inner_radius_value,
                                                 double outer_radius_value,
                                                 double geometric_focus_value)
    : inner_radius(inner_radius_value),
      outer_radius(outer_radius_value),
      geometric_focus(geometric_focus_value) {}

SphericalRingTransducer::SphericalRingTransducer(double inner_radius_value,
                                                 double outer_radius_value,
                                                 double geometric_focus_value,
                                                 double time_delay_value)
    : SphericalRingTransducer(inner_radius_value, outer_radius_value, geometric_focus_value) {
    set_time_delay(time_delay_value);
}

SphericalRingTransducer::SphericalRingTransducer(double inner_radius_value,
                                                 double outer_radius_value,
                                                 double geometric_focus_value,
                                                 double amplitude_value, double phase_value)
    : SphericalRingTransducer(inner_radius_value, outer_radius_value, geometric_focus_value) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void SphericalRingTransducer::debug(int level) const {
    Transducer::debug(level);
    std::cout << "inner radius: " << inner_radius << '\n'
              << "outer radius: " << outer_radius << '\n'
              << "geometric focus: " << geometric_focus << '\n';
}

void SphericalRingTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    console::print("inner radius: %f\n", inner_radius);
    console::print("outer radius: %f\n", outer_radius);
    console::print("geometric focus: %f\n\n", geometric_focus);
}

}  // namespace kavro
