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

// The same in parts that machines can share out. Each takes the arguments of pulse_echo, with some
// or no scatterers, behind its own:
//
//     echo_extent: none; answers the extent of the scatterers, 6 numbers: nearest, earliest,
//     farthest,
//         longest_way, spread, latest. That of all has the least of the first two, the most of
//         others.
//     echo_sum: the extent of all; answers the sum over a chunk, or over some, 2 x n x chunks.
//     echo_signals: the extent of all, and the total, 2 x n: the chunks' sums added to zeros one
//     after
//         the other. Answers as pulse_echo does.
std::unique_ptr<Command> new_echo_extent();
std::unique_ptr<Command> new_echo_sum();
std::unique_ptr<Command> new_echo_signals();

}  // namespace kavro
