// What an element's tolerance asks of its quadrature.
#pragma once

#include <array>

#include "core/medium.h"
#include "excitation/excitation_function.h"
#include "transducers/methods/wave_parameters.h"

namespace kavro {

// The jumps of v and of its first derivatives at the waveform's ends, the larger of both ends (s^-m
// for the m-th derivative), as shares of max |v|.
using WaveformEnds = std::array<double, 5>;

// What a jump of the derivative of an order leaves, as a share of itself and of h to that order
// and one, h the distance of the abscissas.
inline constexpr WaveformEnds end_share{0.5, 1.0 / 8.0, 0.00802, 2.0 / 720.0, 4.1e-4};

// The quadrature's error stays below `tolerance` times the magnitude of the element's field at the
// point: of a continuous wave, its envelope over a band of frequencies, so that nodes are not
// resolved; over time, the largest |p(t)|.
struct QuadratureDemand {
    double tolerance;
    double wavenumber;          // of the wave or of the waveform's centre, 1/m
    double highest_wavenumber;  // up to which the waveform's spectrum counts
    double attenuation;         // Np/m
    bool over_time;
    double speed;              // m/s, over time
    WaveformEnds ends;         // over time
    WaveformEnds log_ends;     // ln of the error that each jump leaves, see end_share
    bool of_gradient = false;  // the same error of the pressure's gradient, too, over k
};

QuadratureDemand demand_of(const WaveParameters& wave, double tolerance);
QuadratureDemand demand_of(const ExcitationFunction& waveform, const Medium& medium,
                           double tolerance);

}  // namespace kavro
