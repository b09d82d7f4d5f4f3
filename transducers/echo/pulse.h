// What a transmission sends and a channel makes of it, as one waveform.
#pragma once

#include <complex>

#include "excitation/excitation_function.h"
#include "transducers/pulse_echo.h"

namespace kavro::echo {

// Excitation and responses convolved, with the scatterers' dependence on frequency: known by its
// transform only. Its duration is that of all together.
class EchoPulse : public ExcitationFunction {
public:
    EchoPulse(const EchoSignal& signal, double exponent, double reference_frequency);

    void transform(std::complex<double>* out, const std::complex<double>* s,
                   int count) const override;

    // Hz, the mean up to the highest frequency (rad/s), by the power of an echo from far away.
    double mean_frequency(double highest) const;

    // s, the middle of the envelope's energy, up to the highest frequency (rad/s).
    double delay(double highest) const;

private:
    void transform(std::complex<double>* out, const std::complex<double>* s, int count,
                   double exponent) const;
    template <class Take>
    void walk(double highest, double exponent, Take take) const;

    const EchoSignal& signal_;
    double exponent_;
    double reference_;  // rad/s
};

// (s / j omega_r)^exponent.
std::complex<double> strength_at(std::complex<double> s, double exponent, double reference);

}  // namespace kavro::echo
