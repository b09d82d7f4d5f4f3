// What a plan consists of.
#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <vector>

#include "core/quadrature_rule.h"
#include "transducers/echo/frame.h"
#include "transducers/echo/lines.h"
#include "transducers/echo/node_sums.h"
#include "transducers/echo/wiring.h"
#include "transducers/pulse_echo.h"
#include "transducers/tolerance/demand.h"

namespace kavro::echo {

struct Plan {
    Plan(const EchoScene& scene, bool is_continuous_wave);

    // Throws MemoryError where so many frequencies need more memory than is left.
    void require_room(std::size_t frequencies) const;

    // Once lines are known: elements, weights, and what all of a frequency is multiplied with.
    void prepare(double wavenumber, double highest, double tolerance);

    std::size_t receivers() const { return wiring.listeners.size(); }
    std::size_t frequencies() const { return static_cast<std::size_t>(lines.count()); }
    std::size_t sum_size() const { return frequencies() * wiring.rows() * receivers(); }
    // Of the channel in the event at all frequencies, where events are few.
    const std::complex<double>* weights(std::size_t event, std::size_t channel) const {
        return weights_.data() + (event * wiring.senders.size() + channel) * frequencies();
    }
    // Of a sender (their numbers go on from channel to channel) where they are not shared.
    const std::complex<double>* own_weights(std::size_t sender) const {
        return own_weights_.data() + sender * frequencies();
    }

    // The echoes' spectrum, receivers x frequencies of an event: entry m + receivers * q.
    void write_event(std::span<const std::complex<double>> total, std::size_t event,
                     std::complex<double>* out) const;

    Wiring wiring;
    double speed, density;
    PowerLaw law;
    Lines lines;
    std::vector<Face> faces;
    std::vector<std::complex<double>> factor;  // of a frequency, E included
    const TimeSamples* times = nullptr;
    std::optional<TimeFrame> frame;
    EchoReport report;

private:
    QuadratureDemand demand_{};
    QuadratureRule no_rule_;
    std::vector<std::complex<double>> weights_, own_weights_;
};

}  // namespace kavro::echo
