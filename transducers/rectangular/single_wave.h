// The wave of the single-precision variants.
#pragma once

#include "transducers/methods/wave_parameters.h"

namespace kavro {

// All quantities, 2 pi and the wavelength among them, rounded to single precision.
inline WaveParameters single_wave(const Medium& medium) {
    const auto wavelength = static_cast<float>(wavelength_of(medium));
    const auto attenuation = static_cast<float>(attenuation_of(medium));
    return {static_cast<double>(6.2831855f / wavelength), static_cast<double>(attenuation)};
}

}  // namespace kavro
