// Echoes of point scatterers, as the channels of an array receive them.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "../core/time_samples.h"
#include "../excitation/excitation_function.h"
#include "scatterer.h"
#include "transducer.h"

namespace kavro {

namespace echo {
struct Plan;
}

// An element sends with the normal velocity v_n; a scatterer of the strength sigma (m) at x answers
// the pressure p there with sigma p(t - r/c) / r; a channel that listens hears the mean over the
// faces of its elements of the pressure on them, which their rigid baffle doubles (Pa):
//
//     S(omega) = 4 pi E / (j omega rho A) * sum over scatterers of sigma P(x) H_in(x),
//     P(x) = sum over senders n of v_n e^(-j omega T_n) H_n(x),
//
// with H the transfer functions of fnm_spectral (pressure per normal velocity, losses and
// dispersion on both ways), H_in the sum and A the area of all faces of the channel that listens,
// and E the spectra of the excitation and of the responses, plain Fourier integrals over their
// duration. Exact in the near field; echoes of echoes, and echoes off the faces, are left out.
// Nothing is shifted: t = 0 is that of the delays, and an undelayed pulse begins then.
//
// All functions throw InputError for what makes no sense, with field, expectation and value;
// MemoryError, before any is taken, where memory does not suffice; Interrupted where the console
// port asks to stop. They report progress to the port. Results are the same to the last bit for any
// number of threads and any width of vectors, and however chunks are shared out.

// Elements of any shapes that offer fnm_spectral, exact whatever their mode. Of their records only
// place, shape and medium are read, and of senders amplitude (or weight) and delay; all media are
// one and the same. Rotation matrices are set.
struct EchoElements {
    std::span<Transducer* const> elements;
    // Of each element, from 0 on: those of one channel are wired together. Empty: each is its own.
    // Numbers may be left out; nobody sends on them, and who listens there hears nothing.
    std::span<const std::int32_t> channels{};

    // The largest channel and one; 0 without elements.
    std::size_t channel_count() const;
};

// Entry (event, channel of the senders) at event + channel * count.
struct EchoEvents {
    std::size_t count = 1;
    // s, in place of the elements' own; NaN: the channel is silent in that event. Empty: their own.
    std::span<const double> delays{};
    // Times the elements' own amplitude. Empty: 1.
    std::span<const double> apodization{};
};

struct EchoScene {
    EchoElements transmitters;
    EchoElements receivers{};  // without elements: the transmitters listen
    EchoEvents events{};
    // The strength sigma of a scatterer (m, its amplitude) counts at reference_frequency (Hz), that
    // at f is sigma (f / reference_frequency)^exponent: an exponent of 2 is Rayleigh's. 0: of all.
    double exponent = 0.0;
    double reference_frequency = 0.0;
    // The quadrature's error of each transfer function stays below this share of the element's
    // field at the scatterer, and what is left out of the band below this share of the echo.
    double tolerance = 1e-3;

    const EchoElements& listening() const {
        return receivers.elements.empty() ? transmitters : receivers;
    }
};

// Over time. All belong to the caller and outlive the plan.
struct EchoSignal {
    const TimeSamples& times;              // evenly spaced or a list
    const ExcitationFunction& excitation;  // v(t) of an amplitude of 1 m/s
    // The electromechanical ways out and in: impulse responses r(t), 1/s, each a factor
    // R(omega) = integral of r e^(-j omega t) dt as it stands, which is not normalised. Null: 1.
    const ExcitationFunction* transmit_response = nullptr;
    const ExcitationFunction* receive_response = nullptr;
};

// What must be known of all scatterers before any is computed. Those of parts join to that of all,
// in any order.
struct EchoExtent {
    double nearest = std::numeric_limits<double>::infinity();  // both ways, m
    double farthest = 0.0;
    // One way, m: the longest to any point of a face, and the largest difference within a face.
    double longest_way = 0.0;
    double spread = 0.0;
    // Of an impulse over both ways, with the delays of the elements or of the events, s.
    double earliest = std::numeric_limits<double>::infinity();
    double latest = -std::numeric_limits<double>::infinity();

    void include(const EchoExtent& other);
};

struct EchoReport {
    std::int64_t scatterers = 0;
    int frequencies = 0;
    double first_frequency = 0.0, last_frequency = 0.0;  // Hz
    // Over time; 0 without scatterers.
    double first_arrival = 0.0;  // s: before that there is no echo,
    double last_arrival = 0.0;   // and none after that
    double period = 0.0;         // s: of the frequencies, their inverse spacing
    // s, the pulse's own delay: the middle of the energy of the envelope of excitation and
    // responses convolved. Half the duration of a tone burst or Hanning pulse of whole periods. An
    // echo with the delay tau on both ways is centred at tau + pulse_delay.
    double pulse_delay = 0.0;
};

// Scatterers are added up in chunks of this many, in their given order (the last one may be
// shorter): each chunk's sum is formed from zero, within the chunk in an order of its own, and the
// sums of chunks are added one after the other. Who shares chunks out does the same.
inline constexpr std::size_t echo_chunk = 16384;

// The extent of some scatterers, or of all.
EchoExtent echo_extent(const EchoScene& scene, std::span<const Scatterer> scatterers);

// An echo's computation in parts that can be shared out:
//
//     plan, for which all machines know the extent of all scatterers;
//     sum of each chunk, anywhere, in any order: `sum_size` numbers;
//     these added, in the order of the chunks and beginning with zeros;
//     signals or spectrum of their total.
//
// pulse_echo below is no more than that. A plan is immutable, but for the elements' rotation
// matrices; the scene's elements, channels, delays and apodization belong to the caller and outlive
// it.
class EchoPlan {
public:
    // Over time.
    EchoPlan(const EchoScene& scene, const EchoSignal& signal, const EchoExtent& extent);
    // At frequencies (Hz, not negative), without excitation and responses (E = 1) and with the
    // elements' complex weights. Evenly spaced, ascending frequencies take a fraction of the time
    // of others.
    EchoPlan(const EchoScene& scene, std::span<const double> frequencies, const EchoExtent& extent);
    ~EchoPlan();
    EchoPlan(EchoPlan&& other) noexcept;
    EchoPlan& operator=(EchoPlan&& other) noexcept;

    // Complex numbers of a chunk's sum. For few events these are the echoes' spectra, for many
    // those of all pairs of channels, from which events follow at the end.
    std::size_t sum_size() const;

    // Writes the sum over one chunk, of at most echo_chunk scatterers, which begins from zero.
    void sum_chunk(std::span<const Scatterer> chunk, std::span<std::complex<double>> sum) const;

    // Writes (Pa) sample t of receiver m in event j to t + ntimes * (m + receivers * j).
    void signals(std::span<const std::complex<double>> total, double* out) const;
    // Writes (Pa) receiver m in event j at frequency f to m + receivers * (j + events * f).
    void spectrum(std::span<const std::complex<double>> total, std::complex<double>* out) const;

    std::size_t receivers() const;  // channels that listen
    std::size_t events() const;

    // But for the number of scatterers.
    const EchoReport& report() const;

private:
    std::unique_ptr<echo::Plan> parts_;
};

// All at once: ntimes x receivers x events values, or receivers x events x frequencies. The report,
// if one is wanted, is written.
std::vector<double> pulse_echo(const EchoScene& scene, const EchoSignal& signal,
                               std::span<const Scatterer> scatterers, EchoReport* report = nullptr);
std::vector<std::complex<double>> pulse_echo(const EchoScene& scene,
                                             std::span<const double> frequencies,
                                             std::span<const Scatterer> scatterers,
                                             EchoReport* report = nullptr);

}  // namespace kavro
