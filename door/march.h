// The nonlinear marches: their parameters, what they cannot do, and what they say.
#pragma once

#include <memory>

#include "door/command.h"
#include "door/host.h"
#include "door/request.h"

namespace kavro {

// Reads the option 'kzk', a record with named fields, into the rule.
//
// Both marches: extent (radial extent in source radii, a whole number) and points_per_radius.
// kzk_transient: step (normalised range step), implicit and diffraction (true unless told).
// kzk_cw: growth (of the range step), harmonics (their number), source_phase (false unless told).
//
// Without a value, or with no fields but accuracy and harmonics (how many are wanted), parameters
// are chosen when the march is checked, for exact elements.
//
// Throws InputError for a field that is missing, unknown or not what it must be.
void read_march_parameters(SolveRequest& request, const Value* value);

// Throws InputError where something is asked of the march that it leaves out of account, or where
// it could not run: called all the same, it would answer with zeros. Attaches the elements.
void check_march(SolveRequest& request);

// The command that tells the parameters of a march and what it will cost.
std::unique_ptr<Command> new_kzk_parameters();

int harmonics_of(const SolveRequest& request);

// Lets the element march. What a march only prints of a shock is a warning here. (A transient march
// of the reference behaviour has a retarded time of its own for each waveform.)
TransducerStatus march(SolveRequest& request, Transducer& element);

}  // namespace kavro
