#include "transducers/rectangular/rectangular_transducer.h"

#include <iostream>

#include "core/console.h"

namespace kavro {

RectangularTransducer::RectangularTransducer(double width_value, double height_value)
    : width(width_value), height(height_value) {}

RectangularTransducer::RectangularTransducer(double width_value, double height_value,
                                             double time_delay_value)
    : RectangularTransducer(width_value, height_value) {
    set_time_delay(time_delay_value);
}

RectangularTransducer::RectangularTransducer(double width_value, double height_value,
                                             double amplitude_value, double phase_value)
    : RectangularTransducer(width_value, height_value) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void RectangularTransducer::debug(int level) const {
    Transducer::debug(level);
    std::cout << "width: " << width << '\n' << "height: " << height << '\n';
}

void RectangularTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    console::print("width: %f\n", width);
    console::print("height: %f\n\n", height);
}

}  // namespace kavro
