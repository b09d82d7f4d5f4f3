// Parameters of an exact march, chosen by what it computes, and what it costs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/kzk_parameters.h"
#include "transducers/transducer.h"

namespace kavro::kzk {

// The accuracy that a march is held to unless told: of the pressure on the axis, as a share of what
// the waves from centre and rim can add up to. A transient march, whose radial grid is of second
// order, is held to six times as much.
inline constexpr double usual_accuracy = 1e-2;

// How many harmonics are to be right to the accuracy unless told.
inline constexpr int usual_harmonics = 5;

// Parameters with which the element's exact march (kzk_cw, else kzk_transient) holds the accuracy:
// of a shell from half the way to the focus on (transient: four fifths), of a disc from a quarter
// of the Rayleigh distance on. The element has its records but parameters and outputs.
Parameters chosen_parameters(Transducer& element, bool harmonic, double accuracy, int harmonics);

// What the march will take with the parameters that the element's rule has.
struct Cost {
    std::size_t columns = 0;  // of radius
    std::size_t samples = 0;  // of retarded time; of a harmonic march, its harmonics
    std::size_t steps = 0;    // about, for a wave without shocks
    double bytes = 0.0;
    double seconds = 0.0;  // about, on one thread of a 2024 server
};
Cost cost_of(Transducer& element, bool harmonic);

// Which of the parameters cannot hold the usual accuracy, as a sentence each: field, value, and a
// value that can.
std::vector<std::string> shortcomings(Transducer& element, bool harmonic);

}  // namespace kavro::kzk
