// Which faces send and listen on which channel, and how strongly.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "transducers/pulse_echo.h"

namespace kavro::echo {

// Throw InputError.
void check_scene(const EchoScene& scene);
void check_scatterers(std::span<const Scatterer> scatterers);

// A sender of a channel, and what it is weighted with: v e^(-s T).
struct Sender {
    std::size_t face;
    std::complex<double> velocity;  // m/s; times the event's apodization
    double delay;                   // s; 0 where events have their own
};

struct Wiring {
    // Weights are complex of continuous waves, real amplitudes over time.
    Wiring(const EchoScene& scene, bool is_continuous_wave);

    std::vector<Transducer*> faces;                   // of all that send or listen, each once
    std::vector<std::vector<std::size_t>> listeners;  // faces of each channel
    std::vector<double> areas;                        // of each channel's, m^2
    std::vector<std::vector<Sender>> senders;         // of each channel

    // Whether each channel sends as it listens, but for a factor.
    bool is_shared = false;
    // Whether so many events are wanted that the sums are formed of pairs of channels.
    bool has_pairs = false;

    std::size_t events = 0;
    std::size_t rows() const { return has_pairs ? senders.size() : events; }

    // Of the channel in the event: the apodization times e^(-s T); times the senders' own factor
    // where they are shared. 0 for silent ones.
    std::complex<double> weight(std::size_t event, std::size_t channel,
                                std::complex<double> s) const;

    // The factor of a sender at s.
    static std::complex<double> weight(const Sender& sender, std::complex<double> s) {
        return sender.velocity * std::exp(-s * sender.delay);
    }

private:
    EchoEvents events_;
};

}  // namespace kavro::echo
