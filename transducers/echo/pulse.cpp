#include "transducers/echo/pulse.h"

#include <cmath>
#include <vector>

#include "core/constants.h"
#include "core/interrupted.h"
#include "transducers/spectral/pulse_reach.h"

namespace kavro::echo {
namespace {

double duration(const EchoSignal& signal) {
    double all = signal.excitation.w;
    for (const ExcitationFunction* response : {signal.transmit_response, signal.receive_response}) {
        all += response != nullptr ? response->w : 0.0;
    }
    return all;
}

}  // namespace

std::complex<double> strength_at(std::complex<double> s, double exponent, double reference) {
    if (exponent == 0.0) {
        return 1.0;
    }
    return s == 0.0 ? 0.0 : std::pow(s / std::complex<double>(0.0, reference), exponent);
}

EchoPulse::EchoPulse(const EchoSignal& signal, double exponent, double reference_frequency)
    : ExcitationFunction(signal.excitation.centre_frequency(), duration(signal), 0.0),
      signal_(signal),
      exponent_(exponent),
      reference_(two_pi * reference_frequency) {
    n_terms = signal.excitation.n_terms;
    for (const ExcitationFunction* response : {signal.transmit_response, signal.receive_response}) {
        n_terms += response != nullptr ? response->n_terms : 0;
    }
}

void EchoPulse::transform(std::complex<double>* out, const std::complex<double>* s, int count,
                          double exponent) const {
    signal_.excitation.transform(out, s, count);
    std::vector<std::complex<double>> factor(static_cast<std::size_t>(count));
    for (const ExcitationFunction* response :
         {signal_.transmit_response, signal_.receive_response}) {
        if (response != nullptr) {
            response->transform(factor.data(), s, count);
            for (int i = 0; i < count; ++i) {
                out[i] *= factor[static_cast<std::size_t>(i)];
            }
        }
    }
    for (int i = 0; i < count; ++i) {
        out[i] *= strength_at(s[i], exponent, reference_);
    }
}

void EchoPulse::transform(std::complex<double>* out, const std::complex<double>* s,
                          int count) const {
    transform(out, s, count, exponent_);
}

// Through frequencies so close that the pulse's whole duration is resolved.
template <class Take>
void EchoPulse::walk(double highest, double exponent, Take take) const {
    constexpr int at_a_time = 128;
    const double step = two_pi / (8.0 * w);
    const auto count = static_cast<std::int64_t>(std::fmin(highest / step, 1e6)) + 1;
    InterruptCheck check;
    std::complex<double> s[at_a_time], E[at_a_time];
    for (std::int64_t q = 0; q < count; q += at_a_time) {
        for (int i = 0; i < at_a_time; ++i) {
            s[i] = {0.0, step * static_cast<double>(q + i)};
        }
        check.spend(at_a_time * steps_of_transform(*this));
        transform(E, s, at_a_time, exponent);
        for (int i = 0; i < at_a_time; ++i) {
            take(s[i].imag(), E[i]);
        }
    }
}

double EchoPulse::mean_frequency(double highest) const {
    double power = 0.0, moment = 0.0;
    walk(highest, exponent_, [&](double omega, std::complex<double> E) {
        const double part = omega * omega * std::norm(E);
        power += part;
        moment += omega * part;
    });
    return power > 0.0 ? moment / power / two_pi : 1.0 / w;
}

// By Parseval the sum of E_q* E_(q+1) is that of the envelope's energy, each instant turned by its
// part of the period.
double EchoPulse::delay(double highest) const {
    std::complex<double> turned = 0.0, former = 0.0;
    walk(highest, 0.0, [&](double, std::complex<double> E) {
        turned += std::conj(former) * E;
        former = E;
    });
    return turned == 0.0 ? 0.5 * w : -std::arg(turned) / two_pi * 8.0 * w;
}

}  // namespace kavro::echo
