// The rectangle's far field, with losses and without.
#include <cmath>
#include <complex>

#include "core/numeric_kernels.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_pressures.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {
namespace {

// sin(s) / s; 1 on the axis.
double sinc(double s) {
    return s != 0.0 ? std::sin(s) / s : 1.0;
}

// p = j f0 rho w (width height) e^(-(alpha + jk) R) / R sinc(kx x / R) sinc(ky y / R), kx = k
// width/2, ky = k height/2 (Fraunhofer). Nothing behind the face and at the centre.
TransducerStatus solve(RectangularTransducer& rectangle, const WaveParameters& wave) {
    const Medium& medium = *rectangle.medium;
    const double half_width = rectangle.width * 0.5;
    const double half_height = rectangle.height * 0.5;
    const std::complex<double> F =
        std::complex<double>(0.0, medium._f0 * medium._rho_density * 4 * half_width * half_height) *
        rectangle.complex_weight;
    const double kx = half_width * wave.wavenumber;
    const double ky = half_height * wave.wavenumber;
    rectangle.InitializeRotationMatrix();
    return guarded([&] {
        return add_point_pressures(
            rectangle, [&](const CartesianCoordinate& p) -> std::complex<double> {
                const double R = std::sqrt(p.z * p.z + p.x * p.x + p.y * p.y);
                if (p.z < 0.0 || !(R > 0.0)) {
                    return 0.0;
                }
                const std::complex<double> spherical =
                    smart_exp(-wave.attenuation * R, -wave.wavenumber * R) * F / R;
                return spherical * (sinc(p.x * kx / R) * sinc(p.y * ky / R));
            });
    });
}

}  // namespace

TransducerStatus RectangularTransducer::farfield_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent() ? status_success : solve(*this, wave);
}

TransducerStatus RectangularTransducer::farfield_cw_lossless() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent() ? status_success : solve(*this, {wave.wavenumber, 0.0});
}

}  // namespace kavro
