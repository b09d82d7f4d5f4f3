#include "transducers/methods/wave_parameters.h"

#include "core/console.h"

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

WaveParameters rounded_wave(const Medium& medium) {
    const auto wavelength = static_cast<float>(wavelength_of(medium));
    const auto attenuation = static_cast<float>(attenuation_of(medium));
    return {static_cast<double>(6.2831855f / wavelength), static_cast<double>(attenuation)};
}

}  // namespace kavro
