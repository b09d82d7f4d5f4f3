#include "transducers/echo/wiring.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>

#include "core/input_error.h"
#include "transducers/spectral/power_law.h"

namespace kavro {

std::size_t EchoElements::channel_count() const {
    if (channels.empty()) {
        return elements.size();
    }
    return static_cast<std::size_t>(*std::max_element(channels.begin(), channels.end())) + 1;
}

namespace echo {
namespace {

constexpr std::int32_t most_channels = 1 << 16;

std::string shown(double value) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", value);
    return digits;
}

void check_elements(const EchoElements& elements, const char* name, const Medium* medium) {
    const std::string field = name;
    if (!elements.channels.empty()) {
        if (elements.channels.size() != elements.elements.size()) {
            throw InputError("The channels of the " + field + " must be as many as elements, " +
                             std::to_string(elements.elements.size()) + ", not " +
                             std::to_string(elements.channels.size()) + ".");
        }
        for (const std::int32_t channel : elements.channels) {
            if (channel < 0 || channel >= most_channels) {
                throw InputError("A channel of the " + field + " must be from 0 to " +
                                 std::to_string(most_channels - 1) + ", not " +
                                 std::to_string(channel) + ".");
            }
        }
    }
    for (std::size_t i = 0; i < elements.elements.size(); ++i) {
        const Transducer* element = elements.elements[i];
        const std::string place = "Element " + std::to_string(i) + " of the " + field + " ";
        if (element == nullptr || element->medium == nullptr) {
            throw InputError(place + (element == nullptr ? "is null." : "has no medium."));
        }
        if (!element->methods().contains(Method::fnm_spectral)) {
            throw InputError(place + "has no transfer function: its shape lacks fnm_spectral.");
        }
        if (element->medium != medium) {
            throw InputError(place + "must have the medium of all others.");
        }
    }
}

void check_medium(const Medium& medium) {
    if (!(medium._soundspeed > 0.0 && std::isfinite(medium._soundspeed))) {
        throw InputError("The speed of sound must be a positive number, not " +
                         shown(medium._soundspeed) + ".");
    }
    if (!(medium._rho_density > 0.0 && std::isfinite(medium._rho_density))) {
        throw InputError("The density must be a positive number, not " +
                         shown(medium._rho_density) + ".");
    }
    if (!PowerLaw::holds_for(medium)) {
        throw InputError(
            "Losses must be those of a power law: an attenuation of 0 or more, an exponent over 0 "
            "and up to 2, not " +
            shown(medium._dBcmMHz) + " and " + shown(medium._b) + ".");
    }
}

void check_events(const EchoEvents& events, std::size_t channels) {
    const auto size = [&](std::span<const double> values, const char* name) {
        if (!values.empty() && values.size() != events.count * channels) {
            throw InputError(std::string("The ") + name + " must be events x channels, " +
                             std::to_string(events.count) + " x " + std::to_string(channels) +
                             ", not " + std::to_string(values.size()) + " numbers.");
        }
    };
    size(events.delays, "delays");
    size(events.apodization, "apodization");
    for (const double delay : events.delays) {
        if (std::isinf(delay)) {
            throw InputError("A delay must be a finite number, or NaN for silence, not " +
                             shown(delay) + ".");
        }
    }
    for (const double weight : events.apodization) {
        if (!std::isfinite(weight)) {
            throw InputError("The apodization must be finite numbers, not " + shown(weight) + ".");
        }
    }
}

}  // namespace

void check_scene(const EchoScene& scene) {
    if (scene.transmitters.elements.empty()) {
        throw InputError("The transmitters must be one element at least.");
    }
    const Transducer* const first = scene.transmitters.elements[0];
    const Medium* const medium = first == nullptr ? nullptr : first->medium;
    check_elements(scene.transmitters, "transmitters", medium);
    check_elements(scene.receivers, "receivers", medium);
    check_medium(*medium);
    const EchoElements& listening = scene.listening();
    for (std::size_t i = 0; i < listening.elements.size(); ++i) {
        const double area = listening.elements[i]->face_area();
        if (!(area > 0.0 && std::isfinite(area))) {
            throw InputError("Receiver " + std::to_string(i) + " must have an area, not " +
                             shown(area) + " m^2.");
        }
    }
    check_events(scene.events, scene.transmitters.channel_count());
    if (!(scene.tolerance >= 1e-12 && scene.tolerance <= 0.1)) {
        throw InputError("The tolerance must be between 1e-12 and 0.1, not " +
                         shown(scene.tolerance) + ".");
    }
    if (!std::isfinite(scene.exponent)) {
        throw InputError("The exponent of the strengths must be a finite number, not " +
                         shown(scene.exponent) + ".");
    }
    if (scene.exponent != 0.0 &&
        !(scene.reference_frequency > 0.0 && std::isfinite(scene.reference_frequency))) {
        throw InputError("Strengths with an exponent need a positive reference frequency, not " +
                         shown(scene.reference_frequency) + " Hz.");
    }
}

void check_scatterers(std::span<const Scatterer> scatterers) {
    for (std::size_t i = 0; i < scatterers.size(); ++i) {
        const Scatterer& at = scatterers[i];
        for (const double coordinate : {at.position.x, at.position.y, at.position.z}) {
            if (!std::isfinite(coordinate)) {
                throw InputError("Scatterer " + std::to_string(i) +
                                 " must be at finite coordinates, not " + shown(coordinate) + ".");
            }
        }
        if (!std::isfinite(at.amplitude)) {
            throw InputError("The strength of scatterer " + std::to_string(i) +
                             " must be a finite number, not " + shown(at.amplitude) + ".");
        }
    }
}

Wiring::Wiring(const EchoScene& scene, bool is_continuous_wave)
    : events(scene.events.count), events_(scene.events) {
    std::map<const Transducer*, std::size_t> known;
    const auto face_of = [&](Transducer* element) {
        const auto [at, is_new] = known.try_emplace(element, faces.size());
        if (is_new) {
            faces.push_back(element);
        }
        return at->second;
    };
    const auto channel_of = [](const EchoElements& elements, std::size_t i) {
        return elements.channels.empty() ? i : static_cast<std::size_t>(elements.channels[i]);
    };
    const EchoElements& receivers = scene.listening();
    listeners.resize(receivers.channel_count());
    areas.resize(listeners.size());
    for (std::size_t i = 0; i < receivers.elements.size(); ++i) {
        const std::size_t channel = channel_of(receivers, i);
        listeners[channel].push_back(face_of(receivers.elements[i]));
        areas[channel] += receivers.elements[i]->face_area();
    }
    senders.resize(scene.transmitters.channel_count());
    for (std::size_t i = 0; i < scene.transmitters.elements.size(); ++i) {
        Transducer* const element = scene.transmitters.elements[i];
        senders[channel_of(scene.transmitters, i)].push_back(
            {face_of(element), is_continuous_wave ? element->complex_weight : element->amplitude,
             events_.delays.empty() ? element->time_delay : 0.0});
    }
    is_shared = senders.size() == listeners.size();
    for (std::size_t c = 0; is_shared && c < senders.size(); ++c) {
        is_shared = senders[c].size() == listeners[c].size();
        for (std::size_t i = 0; is_shared && i < senders[c].size(); ++i) {
            const Sender& sender = senders[c][i];
            is_shared = sender.face == listeners[c][i] &&
                        sender.velocity == senders[c][0].velocity &&
                        sender.delay == senders[c][0].delay;
        }
    }
    has_pairs = events > senders.size() / 4 && events > 1;
}

std::complex<double> Wiring::weight(std::size_t event, std::size_t channel,
                                    std::complex<double> s) const {
    const std::size_t at = event + channel * events;
    const double apodization = events_.apodization.empty() ? 1.0 : events_.apodization[at];
    const double delay = events_.delays.empty() ? 0.0 : events_.delays[at];
    if (apodization == 0.0 || std::isnan(delay) || senders[channel].empty()) {
        return 0.0;
    }
    const std::complex<double> own = apodization * std::exp(-s * delay);
    return is_shared ? own * weight(senders[channel][0], s) : own;
}

}  // namespace echo
}  // namespace kavro
