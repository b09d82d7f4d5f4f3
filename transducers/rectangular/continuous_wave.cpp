// The rectangle's continuous-wave pressure by the fast nearfield method, in its precisions.
#include "transducers/methods/continuous_wave.h"

#include <complex>

#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/rectangular/rectangular_edge.h"
#include "transducers/rectangular/rectangular_transducer.h"
#include "transducers/rectangular/single_wave.h"

namespace kavro {
namespace {

// As the variant of rounded abscissas has it.
constexpr double rounded_two_pi = 6.2831854820251465;

// P = -rho c w / (2 pi). With losses the exact one has the Rayleigh integral's factor, too.
std::complex<double> prefactor(const RectangularTransducer& rectangle, const WaveParameters& wave,
                               double literal_two_pi) {
    const Medium& medium = *rectangle.medium;
    const std::complex<double> reference =
        medium._rho_density * medium._soundspeed * rectangle.complex_weight / -literal_two_pi;
    return rectangle.exact() ? reference * loss_factor(wave) : reference;
}

TransducerStatus solve_double(RectangularTransducer& rectangle, const WaveParameters& wave,
                              Abscissas abscissas, std::complex<double> P) {
    rectangle.InitializeRotationMatrix();
    return guarded([&] {
        const RectangularEdge<double> edge(rectangle, EdgeUnits::lengths, abscissas);
        return solve_continuous_wave(rectangle, edge, wave, P);
    });
}

TransducerStatus solve_single(RectangularTransducer& rectangle, const WaveParameters& wave,
                              EdgeDamping damping) {
    rectangle.InitializeRotationMatrix();
    return guarded([&] {
        const RectangularEdge<float> edge(rectangle, EdgeUnits::lengths, Abscissas::in_fours);
        return solve_continuous_wave_single(rectangle, edge, single_wave(*rectangle.medium),
                                            prefactor(rectangle, wave, two_pi), damping);
    });
}

}  // namespace

TransducerStatus RectangularTransducer::fnm_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent() ? status_success
                       : solve_double(*this, wave, Abscissas::all, prefactor(*this, wave, two_pi));
}

// Abscissas, wave and the literal of 2 pi rounded to single precision, sums in double.
TransducerStatus RectangularTransducer::fnm_cw_single() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    if (is_silent()) {
        return status_success;
    }
    return solve_double(*this, single_wave(*medium), Abscissas::rounded_to_single,
                        prefactor(*this, wave, rounded_two_pi));
}

// The one operation without an amplitude test: an element of amplitude zero is computed in full.
TransducerStatus RectangularTransducer::fnm_cw_sse() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    return solve_single(*this, wave_with_default_frequency(*medium), EdgeDamping::damped);
}

// The reference damps the direct wave only, on purpose; exactly, the edge waves too.
TransducerStatus RectangularTransducer::fnm_cw_sse2() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent()
               ? status_success
               : solve_single(*this, wave, exact() ? EdgeDamping::damped : EdgeDamping::undamped);
}

}  // namespace kavro
