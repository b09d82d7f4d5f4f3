// The command `pulse_reach`: how much longer losses make a pulse.
#pragma once

#include <memory>

#include "door/command.h"

namespace kavro {

// Excitation, medium and the longest path (m). Its result is the row [early late] (s): by how much
// a thousandth of the pulse may arrive before path / soundspeed, and how long it lasts beyond that
// plus its duration; of several waveforms the most.
std::unique_ptr<Command> new_pulse_reach();

}  // namespace kavro
