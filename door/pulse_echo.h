// Echoes of point scatterers, as a user asks for them.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Its arguments are elements, scatterers, a medium and options. Its answer is ntimes x receivers x
// events (Pa), or with the option 'f0' receivers x events x frequencies, complex; and a record:
// first_sample (s, of the time axis), step (s, NaN of a list of instants), firing_times (s, events
// x channels, NaN for silence), pulse_delay (s), arrivals (s, the first and the last), frequencies
// (count, first and last in Hz), period (s) and scatterers, their number. With 'f0' it has
// firing_times, frequencies and scatterers.
std::unique_ptr<Command> new_pulse_echo();

}  // namespace kavro
