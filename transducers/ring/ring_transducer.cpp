#include "transducers/ring/ring_transducer.h"

#include <iostream>

#include "core/console.h"

namespace kavro {

RingTransducer::RingTransducer(double inner_radius_value, double outer_radius_value)
    : inner_radius(inner_radius_value), outer_radius(outer_radius_value) {}

RingTransducer::RingTransducer(double inner_radius_value, double outer_radius_value,
                               double time_delay_value)
    : RingTransducer(inner_radius_value, outer_radius_value) {
    set_time_delay(time_delay_value);
}

RingTransducer::RingTransducer(double inner_radius_value, double outer_radius_value,
                               double amplitude_value, double phase_value)
    : RingTransducer(inner_radius_value, outer_radius_value) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void RingTransducer::debug(int level) const {
    Transducer::debug(level);
    std::cout << "inner radius: " << inner_radius << '\n'
              << "outer radius: " << outer_radius << '\n';
}

void RingTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    console::print("inner radius: %f\n", inner_radius);
    console::print("outer radius: %f\n\n", outer_radius);
}

}  // namespace kavro
