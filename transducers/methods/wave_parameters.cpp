#include "transducers/methods/wave_parameters.h"

#include "core/console.h"
#include "transducers/spectral/power_law.h"

namespace kavro {
namespace {

constexpr double smallest_setting = 1e-10;
constexpr double default_frequency = 1e6;  // Hz
constexpr double default_speed = 1500.0;   // m/s

}  // namespace

double wavelength_of(const Medium& medium) {
    const bool missing = medium._f0 <= smallest_setting;
    return medium._soundspeed / (missing ? default_frequency : medium._f0);
}

WaveParameters wave_with_default_frequency(const Medium& medium) {
    if (medium._f0 <= smallest_setting) {
        console::warn("f0 not set; using default of 1 MHz to calculate wavelength.");
    }
    return {two_pi / wavelength_of(medium), attenuation_of(medium)};
}

WaveParameters wave_with_default_speed(const Medium& medium) {
    const bool missing = medium._soundspeed <= smallest_setting;
    if (missing) {
        console::warn("Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
    }
    const double speed = missing ? default_speed : medium._soundspeed;
    return {medium._f0 * two_pi / speed, attenuation_of(medium)};
}

WaveParameters with_power_law(const Medium& medium, const WaveParameters& wave) {
    const bool is_linear =
        (medium._b == 0.0 || medium._b == 1.0) && medium._reference_frequency == 0.0;
    if (wave.attenuation == 0.0 || is_linear || !PowerLaw::holds_for(medium)) {
        return wave;
    }
    const PowerLaw law(medium, medium._f0);
    const std::complex<double> excess = law.excess({0.0, two_pi * medium._f0});
    return {wave.wavenumber + excess.imag(), law.attenuation(two_pi * medium._f0)};
}

WaveParameters rounded_wave(const Medium& medium, const WaveParameters& wave) {
    const double lossless = wavelength_of(medium);
    const bool is_dispersed = wave.wavenumber != two_pi / lossless;
    const auto wavelength = static_cast<float>(is_dispersed ? two_pi / wave.wavenumber : lossless);
    const auto attenuation = static_cast<float>(wave.attenuation);
    return {static_cast<double>(6.2831855f / wavelength), static_cast<double>(attenuation)};
}

}  // namespace kavro
