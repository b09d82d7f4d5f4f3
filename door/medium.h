// The medium as a user describes it.
#pragma once

#include "core/medium.h"
#include "door/host.h"

namespace kavro {

// The medium in entry 0 of the record. All nine fields are required, also those that a method does
// not use. Throws InputError where one is missing, empty or not numeric.
Medium medium_from(const Value* value);

// For the methods whose losses follow a power law: its exponent must be one, where the medium
// attenuates, and the optional field 'referencefrequency' (Hz) tells where the speed of sound is
// that of the medium. Throws InputError.
void read_power_law(Medium& medium, const Value* value);

// For the methods without absorption.
void warn_of_ignored_attenuation(const Medium& medium);

}  // namespace kavro
