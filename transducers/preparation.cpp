#include "transducers/preparation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/constants.h"
#include "core/quadrature_rule.h"
#include "transducers/blocks/point_series.h"
#include "transducers/methods/continuous_velocity.h"
#include "transducers/methods/continuous_wave.h"
#include "transducers/methods/direct_transient.h"
#include "transducers/methods/jump_waves.h"
#include "transducers/spectral/power_law.h"
#include "transducers/spectral/spectrum.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {
namespace {

bool is_rayleigh(Method method) {
    return method == Method::rayleigh_cw || method == Method::rayleigh_cw_apodized ||
           method == Method::rayleigh_cw_sse;
}

// P = rho c w times the scale. With losses the exact one has the Rayleigh integral's factor, too.
std::complex<double> edge_prefactor(const Transducer& element, Method method,
                                    const Departures& departures, const WaveParameters& wave) {
    const Medium& medium = *element.medium;
    const EdgeScale scale = element.edge_scale(method);
    const std::complex<double> reference = medium._rho_density * medium._soundspeed * scale.factor *
                                           element.complex_weight / scale.divisor;
    return departures.without_loss_factor
               ? reference
               : reference * loss_factor(wave, two_pi / wavelength_of(medium));
}

QuadratureRule as_it_stands(const NumericalIntegration& shared) {
    QuadratureRule rule;
    for (int i = 0; i < shared.get_npoints(); ++i) {
        rule.abscissas.push_back(shared.get_abscissa(i));
        rule.weights.push_back(shared.get_weight(i));
    }
    return rule;
}

// The field's magnitude is least where it follows the wavenumber at the lowest frequency, and at
// the highest where it follows the inverse root, as edge waves do; phases turn most at the highest.
QuadratureDemand demand_of(const Band& band, const Transducer& element) {
    const Medium& medium = *element.medium;
    const PowerLaw law(medium, medium._f0);
    const auto [least, most] =
        std::minmax_element(band.frequencies.begin(), band.frequencies.end());
    const auto wavenumber_at = [&](double frequency) {
        return two_pi * frequency / medium._soundspeed +
               law.excess({0.0, two_pi * frequency}).imag();
    };
    const double highest = wavenumber_at(*most);
    // Next to frequency 0 there is nothing to be accurate about.
    const double lowest = std::fmax(wavenumber_at(*least), 1e-2 * highest);
    QuadratureDemand demand =
        demand_of(WaveParameters{lowest, law.attenuation(two_pi * *most)},
                  highest > 0.0 ? element.get_tolerance() * std::sqrt(lowest / highest) : 1.0);
    demand.highest_wavenumber = highest;
    return demand;
}

// Losses by a power law have a reference frequency: the medium's own, or the drive's.
bool has_power_law(const Transducer& element) {
    const Medium& medium = *element.medium;
    return PowerLaw::holds_for(medium) &&
           (medium._dBcmMHz == 0.0 || medium._reference_frequency > 0.0 ||
            reference_frequency_of(*element.excitation, medium) > 0.0);
}

}  // namespace

EdgeUnits Wanted::units() const {
    return is_continuous_wave(method) ? EdgeUnits::lengths : EdgeUnits::times;
}

bool Preparation::keeps_tolerance(const Transducer& element) const {
    return element.get_tolerance() > 0.0 && element.exact() && takes_tolerance(method_);
}

bool Preparation::has_records(const Transducer& element) const {
    constexpr double least_of_single = 1e-5;
    const bool tolerates = keeps_tolerance(element);
    if (tolerates && is_single(method_) && element.get_tolerance() < least_of_single) {
        return false;
    }
    const bool has_scene = element.coordinate_grid != nullptr && element.medium != nullptr;
    const bool has_rule = tolerates || element.integral != nullptr;
    if (element.departures().writes_nothing) {
        return has_scene && has_rule;
    }
    if (is_continuous_wave(method_)) {
        return has_rule && element.has_continuous_wave_outputs();
    }
    if (method_ == Method::fnm_spectral && element.medium != nullptr &&
        element.excitation != nullptr && !has_power_law(element)) {
        return false;
    }
    const bool has_axis =
        has_scene && element.time_samples != nullptr &&
        (destination_ == Destination::measures || element.transient_pressure != nullptr);
    return has_axis &&
           (method_ == Method::impulse_response || (has_rule && element.excitation != nullptr));
}

// Two methods make no amplitude test: an element of amplitude zero is computed in full.
bool Preparation::passes_over(const Transducer& element, const Departures& departures) const {
    const bool tests =
        method_ != Method::fnm_cw_sse &&
        (method_ != Method::impulse_response || departures.silent_without_impulse_response);
    return tests && element.is_silent();
}

TransducerStatus Preparation::add(Transducer* element) {
    if (element == nullptr) {
        return status_failure;
    }
    if (!element->methods().contains(method_)) {
        return status_not_implemented;
    }
    if (!has_records(*element)) {
        return status_failure;
    }
    if (method_ == Method::fnm_fdtsd && !element->excitation->has_complex_decomposition()) {
        return status_not_implemented;
    }
    const Departures departures = element->departures();
    WaveParameters wave{};
    if (is_continuous_wave(method_)) {
        wave = wave_of_method(*element, departures);  // it warns, of a silent element, too
        if (element->exact()) {
            wave = with_power_law(*element->medium, wave);
        }
    }
    if (passes_over(*element, departures)) {
        return status_success;
    }
    element->InitializeRotationMatrix();
    find_demand(*element, wave);
    if (!is_continuous_wave(method_)) {
        add_transient(*element, departures);
    } else if (is_rayleigh(method_)) {
        add_rayleigh(*element, departures, wave);
    } else if (method_ == Method::fnm_cw_sse || method_ == Method::fnm_cw_sse2) {
        add_single_wave(*element, departures, wave);
    } else if (method_ == Method::fnm_cw || method_ == Method::fnm_cw_apodized ||
               method_ == Method::fnm_cw_single) {
        add_continuous_wave(*element, departures, wave);
    } else {
        append(*element, element->own_share({method_, wave}));
    }
    return status_success;
}

void Preparation::append(const Transducer& element, std::unique_ptr<Share> share) {
    if (share) {
        bytes_ += share->bytes();
        shares_.push_back({&element, std::move(share)});
    }
}

void Preparation::find_demand(const Transducer& element, const WaveParameters& wave) {
    demand_.reset();
    if (!keeps_tolerance(element)) {
        return;
    }
    const double tolerance = element.get_tolerance();
    if (is_continuous_wave(method_)) {
        demand_ = demand_of(wave, tolerance);
        demand_->of_gradient = velocity_.has_value();
        return;
    }
    const ExcitationFunction& waveform = *element.excitation;
    if (known_.waveform == nullptr || !known_.waveform->same_waveform(waveform) ||
        known_.medium != element.medium || known_.demand.tolerance != tolerance) {
        known_ = {&waveform, element.medium, demand_of(waveform, *element.medium, tolerance)};
    }
    demand_ = known_.demand;
}

Wanted Preparation::wanted(Transducer& element, Method method) {
    if (demand_) {
        rule_ = {};
        return {method, 0, rule_, &*demand_};
    }
    NumericalIntegration& shared = *element.integral;
    const int order = shared.get_npoints();
    const RuleInterval interval = element.rule_interval(method);
    if (interval == RuleInterval::none) {
        rule_ = {};
    } else if (element.exact() || method_ == Method::fnm_spectral) {
        const QuadratureRule& standard = *gauss_rule(order);
        rule_ = interval == RuleInterval::half_circle ? standard.mapped(0, pi) : standard;
    } else {
        // Whatever the last method asked for is what the next one reads, on purpose.
        if (interval == RuleInterval::half_circle) {
            shared.gauss_quadrature(0, pi);
        }
        rule_ = as_it_stands(shared);
    }
    return {method, order, rule_, nullptr};
}

// ---- continuous wave

WaveParameters Preparation::wave_of_method(const Transducer& element,
                                           const Departures& departures) const {
    const Medium& medium = *element.medium;
    switch (method_) {
        case Method::fnm_cw_apodized:
        case Method::rayleigh_cw_apodized:
            return wave_of(medium);
        case Method::rayleigh_cw:
            return departures.defaults_frequency ? wave_with_default_frequency(medium)
                                                 : wave_with_default_speed(medium);
        case Method::fnm_cw_sse:
        case Method::rayleigh_cw_sse:
            return departures.defaults_frequency ? wave_with_default_frequency(medium)
                                                 : wave_of(medium);
        default:
            return wave_with_default_frequency(medium);
    }
}

void Preparation::add_continuous_wave(Transducer& element, const Departures& departures,
                                      const WaveParameters& wave) {
    std::unique_ptr<EdgeGenerator<double>> edge = element.edge(wanted(element, method_));
    if (!edge) {
        return;
    }
    const std::complex<double> prefactor = edge_prefactor(element, method_, departures, wave);
    if (velocity_) {
        append(element,
               continuous_velocity_share(element, std::move(edge), wave, prefactor, *velocity_));
        return;
    }
    const bool rounds = departures.rounds_wave && method_ == Method::fnm_cw_single;
    append(element,
           continuous_wave_share(element, std::move(edge),
                                 rounds ? rounded_wave(*element.medium, wave) : wave, prefactor));
}

void Preparation::add_single_wave(Transducer& element, const Departures& departures,
                                  const WaveParameters& wave) {
    std::unique_ptr<EdgeGenerator<float>> edge = element.single_edge(wanted(element, method_));
    const std::complex<double> prefactor = edge_prefactor(element, method_, departures, wave);
    if (!edge) {
        append(element, continuous_wave_share(element, element.edge(wanted(element, method_)), wave,
                                              prefactor));
    } else if (departures.single_wave != SingleWaveBy::delays) {
        append(element, single_excess_share(element, std::move(edge), departures.single_wave, wave,
                                            departures.in_fours, prefactor));
    } else {
        const WaveParameters used =
            departures.rounds_wave ? rounded_wave(*element.medium, wave) : wave;
        const bool damped = method_ != Method::fnm_cw_sse2 || !departures.undamped_edges;
        append(element, single_wave_share(
                            element, std::move(edge),
                            {static_cast<float>(used.wavenumber),
                             static_cast<float>(used.attenuation), damped, departures.in_fours},
                            prefactor));
    }
}

// p = j rho f0 w * sum of dA e^(-(alpha + jk) R) / R, twice that for half an aperture.
void Preparation::add_rayleigh(Transducer& element, const Departures& departures,
                               WaveParameters wave) {
    const Medium& medium = *element.medium;
    const auto prefactor = [&](bool is_half) {
        const double density = is_half ? 2 * medium._rho_density : medium._rho_density;
        return std::complex<double>(0.0, density * medium._f0) * element.complex_weight;
    };
    const SurfaceManners manners{departures.means_within_rounding, departures.in_fours,
                                 departures.single_wave == SingleWaveBy::from_middle};
    if (method_ == Method::rayleigh_cw_sse) {
        std::unique_ptr<SurfaceRows<float>> surface =
            element.single_surface(wanted(element, method_));
        const std::complex<double> Q = prefactor(surface->is_half_of_axisymmetric());
        const bool rounds = departures.rounds_wave && !manners.from_middle;
        append(element,
               rayleigh_share<float>(element, std::move(surface),
                                     rounds ? rounded_wave(medium, wave) : wave, manners, Q));
        return;
    }
    std::unique_ptr<SurfaceRows<double>> surface = element.surface(wanted(element, method_));
    const std::complex<double> Q = prefactor(surface->is_half_of_axisymmetric());
    if (departures.rayleigh_grows) {
        wave.attenuation = -wave.attenuation;
    }
    append(element, rayleigh_share<double>(element, std::move(surface), wave, manners, Q));
}

// ---- over time

void Preparation::add_transient(Transducer& element, const Departures& departures) {
    switch (method_) {
        case Method::impulse_response:
            add_impulse_response(element);
            break;
        case Method::rayleigh_transient:
            add_rayleigh_transient(element, departures);
            break;
        case Method::fnm_transient:
        case Method::fnm_transient_behind_source:
            add_direct_transient(element, method_, departures);
            break;
        default:
            if (goes_by_frequencies(element)) {
                add_lossy_transient(element);
            } else if (is_decomposable(element)) {
                add_decomposition(element, departures);
            } else {
                add_direct_transient(element,
                                     method_ == Method::fnm_tsd_behind_source
                                         ? Method::fnm_transient_behind_source
                                         : Method::fnm_transient,
                                     departures);
            }
    }
}

void Preparation::add_decomposition(Transducer& element, const Departures& departures) {
    require_room_for_a_tile(*element.time_samples);
    const Wanted wanted =
        this->wanted(element, method_ == Method::fnm_spectral ? Method::fnm_tsd : method_);
    if (method_ != Method::fnm_tsd_low_precision && method_ != Method::fnm_tsd_sse) {
        const Decomposition kind =
            method_ == Method::fnm_fdtsd ? Decomposition::complex : Decomposition::real;
        append(element,
               decomposition_share(element, element.edge(wanted), kind, departures, factors_));
        return;
    }
    std::unique_ptr<EdgeGenerator<float>> edge = element.single_edge(wanted);
    std::unique_ptr<EdgeGenerator<double>> rounded = element.rounded_edge(wanted);
    // Where single precision holds; the exact geometry is in double.
    if (element.exact() && (edge || !rounded)) {
        append(element, exact_single_decomposition_share(element, element.edge(wanted), departures,
                                                         exact_single_factors_, factors_));
    } else if (edge) {
        append(element, single_decomposition_share(element, std::move(edge), departures,
                                                   single_factors_, factors_));
    }
    if (rounded) {
        append(element,
               rounded_decomposition_share(element, std::move(rounded), departures, factors_));
    }
}

void Preparation::add_direct_transient(Transducer& element, Method method,
                                       const Departures& departures) {
    append(element, direct_transient_share(element, element.edge(wanted(element, method)),
                                           departures.arrival_window));
}

TransducerStatus Preparation::can_add_spectrum(const Transducer* element,
                                               std::span<const double> frequencies) const {
    if (element == nullptr) {
        return status_failure;
    }
    if (!element->methods().contains(method_)) {
        return status_not_implemented;
    }
    const Medium* const medium = element->medium;
    if (!element->has_continuous_wave_outputs() || !PowerLaw::holds_for(*medium) ||
        (element->integral == nullptr && !keeps_tolerance(*element))) {
        return status_failure;
    }
    if (medium->_dBcmMHz > 0.0 && !(medium->_reference_frequency > 0.0) && !(medium->_f0 > 0.0)) {
        return status_failure;
    }
    for (const double frequency : frequencies) {
        if (!(frequency >= 0.0 && std::isfinite(frequency))) {
            return status_failure;
        }
    }
    return status_success;
}

TransducerStatus Preparation::add_spectrum(Transducer& element, const Band& band) {
    if (element.is_silent()) {
        return status_success;
    }
    element.InitializeRotationMatrix();
    // Chords of the law: far below rounding of the field's largest values, or what the tolerance
    // leaves beside the quadrature where terms exceed the field a thousandfold.
    double chords = 1e-11;
    demand_.reset();
    if (keeps_tolerance(element)) {
        chords = std::fmax(chords, 1e-2 * element.get_tolerance());
        demand_ = demand_of(band, element);
    }
    append(element, spectrum_share(element, element.edge(wanted(element, Method::fnm_transient)),
                                   band, element.medium->_f0, chords));
    return status_success;
}

bool Preparation::has_pulse(const Transducer& element) const {
    const double duration = element.excitation->w;
    return duration > 0.0 && std::isfinite(duration) && element.time_samples->ntimes > 0;
}

// Abscissas that are chosen by the tolerance leave far less than half of it; frequencies take half.
double Preparation::tolerance_of_frequencies(const Transducer& element) const {
    constexpr double default_tolerance = 1e-4;
    const double own = element.get_tolerance() > 0.0 ? element.get_tolerance() : default_tolerance;
    return demand_ ? 0.5 * own : own;
}

bool Preparation::goes_by_frequencies(const Transducer& element) {
    if (method_ != Method::fnm_spectral || element.medium->_dBcmMHz != 0.0) {
        return method_ == Method::fnm_spectral;
    }
    return demand_ && has_pulse(element) &&
           is_faster_by_frequencies(element, tolerance_of_frequencies(element), pulses_);
}

void Preparation::add_lossy_transient(Transducer& element) {
    if (!has_pulse(element)) {
        return;
    }
    const double tolerance = tolerance_of_frequencies(element);
    if (demand_) {
        // Losses of the centre of the spectrum: of what is above it, they leave less.
        const double centre = reference_frequency_of(*element.excitation, *element.medium);
        demand_->attenuation = PowerLaw(*element.medium, centre).attenuation(two_pi * centre);
    }
    append(element,
           lossy_transient_share(element, element.edge(wanted(element, Method::fnm_transient)),
                                 pulses_.of(element, tolerance)));
}

void Preparation::add_rayleigh_transient(Transducer& element, const Departures& departures) {
    std::unique_ptr<SurfaceRows<double>> surface = element.surface(wanted(element, method_));
    const double prefactor =
        element.medium->_rho_density / (surface->is_half_of_axisymmetric() ? pi : two_pi);
    append(element, rayleigh_transient_share(
                        element, std::move(surface),
                        {departures.means_within_rounding, departures.in_fours, false}, prefactor));
    if (!departures.without_jump_waves) {
        append(element, jump_waves_share(element));
    }
}

void Preparation::add_impulse_response(const Transducer& element) {
    append(element, point_series_share(element, [&element](const CartesianCoordinate& point,
                                                           SampleWindow samples, double* values) {
               element.write_impulse_response(point, samples, 0.0, values);
           }));
}

}  // namespace kavro
