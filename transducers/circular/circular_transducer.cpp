#include "transducers/circular/circular_transducer.h"

#include <iostream>

#include "core/console.h"

namespace kavro {

CircularTransducer::CircularTransducer(double radius_value) : radius(radius_value) {}

CircularTransducer::CircularTransducer(double radius_value, double time_delay_value)
    : CircularTransducer(radius_value) {
    set_time_delay(time_delay_value);
}

CircularTransducer::CircularTransducer(double radius_value, double amplitude_value,
                                       double phase_value)
    : CircularTransducer(radius_value) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void CircularTransducer::debug(int level) const {
    Transducer::debug(level);
    std::cout << "radius: " << radius << '\n';
}

void CircularTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    console::print("radius: %f\n", radius);
}

}  // namespace kavro
