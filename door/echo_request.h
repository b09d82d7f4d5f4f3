// One question for echoes: what is asked, free of the host's values but for large lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/medium.h"
#include "core/time_samples.h"
#include "door/call_console.h"
#include "door/host.h"
#include "door/request.h"
#include "door/values.h"
#include "excitation/excitation_function.h"
#include "transducers/pulse_echo.h"

namespace kavro {

// An array as a user describes it, with its channels.
struct EchoArray {
    std::vector<RequestedElement> elements;
    std::vector<Transducer*> transducers;
    std::vector<std::int32_t> channels;  // none: each element is its own

    EchoElements echo_elements() const { return {transducers, channels}; }
    std::size_t channel_count() const { return echo_elements().channel_count(); }
};

// Scatterers where they lie in the host.
class GivenScatterers {
public:
    // The record's fields are `positions` (n x 3, m), `strengths` (n, m) and, where strengths
    // depend on the frequency, `exponent` and `reference_frequency` (Hz). Throws InputError.
    explicit GivenScatterers(const Value* value);

    std::size_t count() const { return strengths_.span().size(); }
    double exponent() const { return exponent_; }
    double reference_frequency() const { return reference_frequency_; }

    // Chunk number i of `echo_chunk` scatterers; the last one may be shorter.
    std::size_t chunks() const { return (count() + echo_chunk - 1) / echo_chunk; }
    void read_chunk(std::size_t i, std::vector<Scatterer>& chunk) const;

private:
    Numbers positions_;
    Numbers strengths_;
    double exponent_ = 0.0;
    double reference_frequency_ = 0.0;
};

// It stays where it is, because its elements point to its medium.
struct EchoRequest {
    EchoArray transmitters;
    std::optional<EchoArray> receivers;  // none: the transmitters listen
    std::optional<GivenScatterers> scatterers;
    Medium medium;
    double tolerance = 0.0;
    int threads = 0;  // 0: as many as the environment says

    std::size_t events = 1;
    std::optional<Numbers> delays, apodization;  // events x channels; none: the elements' own

    std::vector<double> frequencies;  // Hz; none: over time
    TimeSamples times;
    std::unique_ptr<ExcitationFunction> excitation;
    std::unique_ptr<ExcitationFunction> transmit_response, receive_response;  // or none

    EchoRequest() = default;
    EchoRequest(const EchoRequest&) = delete;
    EchoRequest& operator=(const EchoRequest&) = delete;

    bool is_over_time() const { return frequencies.empty(); }
    EchoScene scene() const;
    std::size_t receiving_channels() const;

    // The extent of all scatterers.
    EchoExtent extent() const;
    EchoPlan plan(const EchoExtent& extent) const;

    // When each channel fires (s), events x channels; NaN where it is silent.
    std::vector<double> firing_times() const;
};

// Fills the request from the arguments of `pulse_echo`: elements, scatterers, a medium, and then
// options by name and value. The console gets what the options say of progress. Throws InputError.
void read(EchoRequest& request, CallConsole& console, std::span<const Value* const> arguments);

}  // namespace kavro
