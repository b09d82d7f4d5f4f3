#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "core/constants.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "transducers/echo/plan.h"
#include "transducers/echo/pulse.h"
#include "transducers/shape.h"
#include "transducers/spectral/spectral_pulse.h"

namespace kavro {
namespace {

void require_reference(const Medium& medium, double default_reference) {
    if (medium._dBcmMHz != 0.0 && !(medium._reference_frequency > 0.0) &&
        !(default_reference > 0.0)) {
        throw InputError(
            "A medium with losses must have a reference frequency, its own or that of the drive.");
    }
}

const Medium& medium_of(const EchoScene& scene) {
    return *scene.transmitters.elements[0]->medium;
}

const EchoScene& checked(const EchoScene& scene) {
    echo::check_scene(scene);
    return scene;
}

// Whether all frequencies are the first plus whole steps, to rounding.
bool is_evenly_spaced(std::span<const double> frequencies) {
    const std::size_t n = frequencies.size();
    if (n < 2 || !(frequencies[n - 1] > frequencies[0])) {
        return false;
    }
    const double step = (frequencies[n - 1] - frequencies[0]) / static_cast<double>(n - 1);
    for (std::size_t f = 0; f < n; ++f) {
        const double expected = frequencies[0] + static_cast<double>(f) * step;
        if (!(std::fabs(frequencies[f] - expected) <= 1e-14 * frequencies[n - 1])) {
            return false;
        }
    }
    return true;
}

echo::DelayReach reach_of(const EchoExtent& extent, double speed) {
    return {extent.longest_way / speed, 0.5 * extent.spread / speed};
}

}  // namespace

echo::Plan::Plan(const EchoScene& scene, bool is_continuous_wave)
    : wiring(checked(scene), is_continuous_wave),
      speed(medium_of(scene)._soundspeed),
      density(medium_of(scene)._rho_density),
      law(medium_of(scene), 0.0),
      lines(law, speed, 0.0, 0.0, 0, {}, scene.tolerance) {}

void echo::Plan::require_room(std::size_t count) const {
    require_memory(count * wiring.rows() * receivers(), 4 * sizeof(std::complex<double>),
                   "spectra of echoes");
}

void echo::Plan::prepare(double wavenumber, double highest, double tolerance) {
    demand_ = {tolerance, wavenumber, std::fmax(wavenumber, highest), 0.0, false, 0.0, {}, {}};
    for (Transducer* const element : wiring.faces) {
        element->InitializeRotationMatrix();
        faces.push_back({element, element->edge({Method::fnm_spectral, 0, no_rule_, &demand_})});
    }
    // (s / c gamma)^2 belongs to the two ways.
    factor.resize(frequencies());
    for (std::size_t q = 0; q < factor.size(); ++q) {
        const std::complex<double> s = lines.s(static_cast<int>(q));
        const std::complex<double> ratio = s == 0.0 ? 0.0 : s / (s + lines.mu(static_cast<int>(q)));
        factor[q] = s == 0.0 ? 0.0 : 4.0 * pi / (s * density) * ratio * ratio;
    }
    const auto at_all = [&](std::vector<std::complex<double>>& to, auto weight) {
        for (int q = 0; q < lines.count(); ++q) {
            to.push_back(weight(lines.s(q)));
        }
    };
    if (!wiring.has_pairs) {
        require_memory(wiring.events * wiring.senders.size() * frequencies(),
                       sizeof(std::complex<double>), "weights of events");
        for (std::size_t j = 0; j < wiring.events; ++j) {
            for (std::size_t c = 0; c < wiring.senders.size(); ++c) {
                at_all(weights_, [&](auto s) { return wiring.weight(j, c, s); });
            }
        }
    }
    if (!wiring.is_shared) {
        for (const std::vector<echo::Sender>& channel : wiring.senders) {
            for (const echo::Sender& sender : channel) {
                at_all(own_weights_, [&](auto s) { return echo::Wiring::weight(sender, s); });
            }
        }
    }
    report.frequencies = lines.count();
    if (report.frequencies > 0) {
        report.first_frequency = lines.s(0).imag() / two_pi;
        report.last_frequency = lines.s(lines.count() - 1).imag() / two_pi;
    }
}

EchoPlan::EchoPlan(const EchoScene& scene, const EchoSignal& signal, const EchoExtent& extent)
    : parts_(std::make_unique<echo::Plan>(scene, false)) {
    echo::Plan& parts = *parts_;
    const Medium& medium = medium_of(scene);
    const double reference = reference_frequency_of(signal.excitation, medium);
    require_reference(medium, reference);
    parts.law = PowerLaw(medium, reference);
    parts.times = &signal.times;
    const echo::EchoPulse pulse(signal, scene.exponent, scene.reference_frequency);
    const echo::TimeFrame& frame =
        parts.frame.emplace(pulse, parts.law, signal.times, extent, scene.tolerance);
    parts.require_room(static_cast<std::size_t>(frame.frequencies));
    parts.lines = echo::Lines(parts.law, parts.speed, frame.damping,
                              frame.frequencies > 0 ? two_pi / frame.period : 0.0,
                              frame.frequencies, reach_of(extent, parts.speed), scene.tolerance);
    const double smooth = two_pi * signal.excitation.highest_frequency(scene.tolerance);
    parts.prepare(two_pi * pulse.mean_frequency(frame.band) / parts.speed, frame.band / parts.speed,
                  scene.tolerance);

    std::vector<std::complex<double>> s(parts.frequencies()), E(s.size());
    for (std::size_t q = 0; q < s.size(); ++q) {
        s[q] = parts.lines.s(static_cast<int>(q));
    }
    pulse.transform(E.data(), s.data(), static_cast<int>(s.size()));
    for (std::size_t q = 0; q < s.size(); ++q) {
        parts.factor[q] *= E[q];
    }
    parts.report.first_arrival = frame.begin;
    parts.report.last_arrival = frame.end;
    parts.report.period = frame.period;
    parts.report.pulse_delay = pulse.delay(std::fmin(frame.full_band, smooth));
}

EchoPlan::EchoPlan(const EchoScene& scene, std::span<const double> frequencies,
                   const EchoExtent& extent)
    : parts_(std::make_unique<echo::Plan>(scene, true)) {
    echo::Plan& parts = *parts_;
    const Medium& medium = medium_of(scene);
    require_reference(medium, medium._f0);
    parts.law = PowerLaw(medium, medium._f0);
    std::vector<double> omegas;
    double lowest = std::numeric_limits<double>::infinity();
    for (const double frequency : frequencies) {
        if (!(frequency >= 0.0 && std::isfinite(frequency))) {
            throw InputError("A frequency must be a finite number and not negative, not " +
                             std::to_string(frequency) + " Hz.");
        }
        omegas.push_back(two_pi * frequency);
        lowest = frequency > 0.0 ? std::fmin(lowest, omegas.back()) : lowest;
    }
    parts.require_room(frequencies.size());
    const echo::DelayReach reach = reach_of(extent, parts.speed);
    if (is_evenly_spaced(frequencies)) {
        const double step = (omegas.back() - omegas[0]) / static_cast<double>(omegas.size() - 1);
        parts.lines = echo::Lines(parts.law, parts.speed, {0.0, omegas[0]}, step,
                                  static_cast<int>(omegas.size()), reach, scene.tolerance);
    } else {
        parts.lines = echo::Lines(parts.law, parts.speed, omegas, reach, scene.tolerance);
    }
    parts.prepare((std::isfinite(lowest) ? lowest : 1.0) / parts.speed,
                  parts.lines.highest_node() / parts.speed, scene.tolerance);
    for (std::size_t q = 0; q < omegas.size(); ++q) {
        parts.factor[q] *= echo::strength_at(parts.lines.s(static_cast<int>(q)), scene.exponent,
                                             two_pi * scene.reference_frequency);
    }
}

EchoPlan::~EchoPlan() = default;
EchoPlan::EchoPlan(EchoPlan&& other) noexcept = default;
EchoPlan& EchoPlan::operator=(EchoPlan&& other) noexcept = default;

std::size_t EchoPlan::sum_size() const {
    return parts_->sum_size();
}

std::size_t EchoPlan::receivers() const {
    return parts_->receivers();
}

std::size_t EchoPlan::events() const {
    return parts_->wiring.events;
}

const EchoReport& EchoPlan::report() const {
    return parts_->report;
}

}  // namespace kavro
