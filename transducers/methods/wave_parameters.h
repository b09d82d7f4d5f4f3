// What a continuous-wave method takes from the medium.
#pragma once

#include <complex>

#include "core/constants.h"
#include "core/medium.h"

namespace kavro {

// 1/m, for the propagation factor e^(-(alpha + jk) R) over a path R.
struct WaveParameters {
    double wavenumber;   // k
    double attenuation;  // alpha
};

// alpha in nepers per metre at the medium's own frequency.
inline double attenuation_of(const Medium& medium) {
    return medium._dBcmMHz * 100 * (medium._f0 / 1e6) / 8.685889638065037;
}

// The medium's wave.
inline WaveParameters wave_of(const Medium& medium) {
    return {two_pi / (medium._soundspeed / medium._f0), attenuation_of(medium)};
}

// c / f0 in metres; without a frequency, c / 1 MHz.
double wavelength_of(const Medium& medium);

// The medium's wave; without a frequency, that of 1 MHz, and warns. The attenuation keeps the
// frequency as it stands on purpose, so none then means no losses.
WaveParameters wave_with_default_frequency(const Medium& medium);

// The medium's wave; without a speed of sound, with 1500 m/s, and warns.
WaveParameters wave_with_default_speed(const Medium& medium);

// A wave of the medium with all quantities, 2 pi and the wavelength among them, rounded to single
// precision.
WaveParameters rounded_wave(const Medium& medium, const WaveParameters& wave);

// The wave of a medium whose losses follow a power law, the exponent of which is not 1 or whose
// speed of sound is that at another frequency: the given one, for all that it lacks, and its
// wavenumber and attenuation by the law. Any other wave as it is.
WaveParameters with_power_law(const Medium& medium, const WaveParameters& wave);

// The factor by which the rim form of the Rayleigh integral of a lossy medium differs from that of
// a lossless one of the wavenumber omega / c, j omega / c over (alpha + jk): the exact
// fast-nearfield pressure carries it, the reference one does not.
inline std::complex<double> loss_factor(const WaveParameters& wave, double lossless_wavenumber) {
    if (wave.attenuation == 0.0) {
        return 1.0;
    }
    return std::complex<double>(0.0, lossless_wavenumber) /
           std::complex<double>(wave.attenuation, wave.wavenumber);
}

}  // namespace kavro
