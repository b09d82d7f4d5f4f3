#include "door/echo_request.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

#include "core/console.h"
#include "core/input_error.h"
#include "door/advised.h"
#include "door/checks.h"
#include "door/excitation.h"
#include "door/medium.h"
#include "door/options.h"
#include "door/time_samples.h"
#include "door/transducers.h"

namespace kavro {
namespace {

struct EchoOption {
    enum Place : std::size_t {
        time,
        excitation,
        f0,
        tolerance,
        delays,
        apodization,
        events,
        receivers,
        response,
        transmit_response,
        receive_response,
        threads,
        progress
    };
};

constexpr std::array option_names{
    "time",    "excitation", "f0",       "tolerance",         "delays",           "apodization",
    "events",  "receivers",  "response", "transmit_response", "receive_response", "threads",
    "progress"};
static_assert(option_names.size() == EchoOption::progress + 1);

std::string size_of(const Value* value) {
    return std::to_string(rows_of(value)) + " x " + std::to_string(columns_of(value));
}

std::string size_of(std::size_t rows, std::size_t columns) {
    return std::to_string(rows) + " x " + std::to_string(columns);
}

// ---- arrays

// Elements of one number are wired together; those of the number before the first one, or of none,
// are each their own. Channels are counted in the order of these numbers, then the others in
// theirs.
std::vector<std::int32_t> channels_from(const Value* array, std::size_t count) {
    if (!has_field(array, "channel")) {
        return {};
    }
    const double own = static_cast<double>(host_words.first) - 1.0;
    std::vector<double> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        const Record record(array, "Transducer", "element", i);
        const double number = record.number("channel");
        if (!(number >= own && std::isfinite(number)) || number != std::floor(number)) {
            record.refuse("channel", "must be a whole number of at least " + shown(own) +
                                         ", but holds " + shown(number));
        }
        numbers.push_back(number);
    }
    std::vector<double> known;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(known),
                 [&](double number) { return number != own; });
    std::sort(known.begin(), known.end());
    known.erase(std::unique(known.begin(), known.end()), known.end());
    std::vector<std::int32_t> channels;
    auto next = static_cast<std::int32_t>(known.size());
    for (const double number : numbers) {
        const auto at = std::lower_bound(known.begin(), known.end(), number);
        channels.push_back(number != own ? static_cast<std::int32_t>(at - known.begin()) : next++);
    }
    return channels;
}

EchoArray array_from(const Value* value, Medium& medium) {
    if (count_of_elements(value) == 0) {
        throw InputError("The transducer array has no elements.");
    }
    EchoArray array;
    array.elements = elements_from(value, ShapeName::whole);
    check_elements(value, array.elements);
    set_phases(array.elements, value);
    array.channels = channels_from(value, array.elements.size());
    for (const RequestedElement& element : array.elements) {
        element.transducer->set_exact(true);
        element.transducer->set_medium(&medium);
        array.transducers.push_back(element.transducer.get());
    }
    return array;
}

void check_areas(const EchoArray& receivers) {
    for (std::size_t i = 0; i < receivers.transducers.size(); ++i) {
        if (!(receivers.transducers[i]->face_area() > 0.0)) {
            throw InputError("pulse_echo, element " + std::to_string(i + host_words.first) +
                             " of those that listen: a face without an area hears nothing.");
        }
    }
}

// ---- scatterers

const Value* numbers_of(const Record& record, const char* name, const std::string& expected) {
    const Value* value = record.field(name);
    if (!is_numeric(value) || is_complex(value)) {
        record.refuse(name, "must hold " + expected + ", but " + described(value));
    }
    return value;
}

const Value* positions_of(const Value* scatterers) {
    require_record(scatterers, "Scatterers");
    const Record record(scatterers, "Scatterers");
    const std::string expected = "n x 3 real numbers";
    const Value* value = numbers_of(record, "positions", expected);
    if (entries_of(value) > 0 && (dimensions_of(value) != 2 || columns_of(value) != 3)) {
        record.refuse("positions", "must hold " + expected + ", but is " + size_of(value));
    }
    return value;
}

const Value* strengths_of(const Value* scatterers, std::size_t count) {
    const Record record(scatterers, "Scatterers");
    const std::string expected =
        std::to_string(count) + " real number(s), one for each of the positions";
    const Value* value = numbers_of(record, "strengths", expected);
    if (entries_of(value) != count) {
        record.refuse("strengths", "must hold " + expected + ", but " + described(value));
    }
    return value;
}

void check_finite(const char* field, std::span<const double> numbers, std::size_t count) {
    const auto wrong = std::find_if_not(numbers.begin(), numbers.end(),
                                        [](double number) { return std::isfinite(number); });
    if (wrong != numbers.end()) {
        const std::size_t scatterer = static_cast<std::size_t>(wrong - numbers.begin()) % count;
        throw InputError(std::string("Scatterers field '") + field +
                         "' must be finite, but holds " + shown(*wrong) + " (scatterer " +
                         std::to_string(scatterer + host_words.first) + ").");
    }
}

// ---- events

// What says when channels fire, and how strongly; null where the elements' own counts.
struct GivenEvents {
    const Value* delays;
    const Value* apodization;
    bool in_record;

    std::string title(const char* name) const {
        return std::string(in_record ? "Events field '" : "The option '") + name + "'";
    }
};

GivenEvents events_from(const Options& options) {
    const Value* delays = options.value(EchoOption::delays);
    const Value* apodization = options.value(EchoOption::apodization);
    const Value* events = options.value(EchoOption::events);
    if (events == nullptr) {
        return {delays, apodization, false};
    }
    if (delays != nullptr || apodization != nullptr) {
        throw InputError("The options 'events' and '" +
                         std::string(delays != nullptr ? "delays" : "apodization") +
                         "' exclude each other.");
    }
    require_record(events, "Events");
    return {field_of(events, 0, "delays"), field_of(events, 0, "apodization"), true};
}

void check_size(const std::string& title, const Value* value, std::size_t channels) {
    const std::string size = "events x channels, n x " + std::to_string(channels);
    if (!holds_real_numbers(value)) {
        throw InputError(title + " must hold " + size + " real numbers, but " + described(value) +
                         ".");
    }
    if (dimensions_of(value) != 2 || columns_of(value) != channels) {
        throw InputError(title + " must be " + size + ", but is " + size_of(value) + ".");
    }
}

void read_events(EchoRequest& request, const Options& options) {
    const GivenEvents given = events_from(options);
    const std::size_t channels = request.transmitters.channel_count();
    if (given.delays != nullptr) {
        check_size(given.title("delays"), given.delays, channels);
        request.events = rows_of(given.delays);
        request.delays.emplace(given.delays);
        for (const double delay : request.delays->span()) {
            if (std::isinf(delay)) {
                throw InputError(given.title("delays") +
                                 " must be finite, or NaN for silence, but holds " + shown(delay) +
                                 ".");
            }
        }
    }
    if (given.apodization != nullptr) {
        check_size(given.title("apodization"), given.apodization, channels);
        if (request.delays && rows_of(given.apodization) != request.events) {
            throw InputError(given.title("apodization") + " must be as large as the delays, " +
                             size_of(request.events, channels) + ", but is " +
                             size_of(given.apodization) + ".");
        }
        request.events = rows_of(given.apodization);
        request.apodization.emplace(given.apodization);
        for (const double factor : request.apodization->span()) {
            if (!std::isfinite(factor)) {
                throw InputError(given.title("apodization") + " must be finite, but holds " +
                                 shown(factor) + ".");
            }
        }
    }
}

// ---- what goes out and comes back

std::unique_ptr<ExcitationFunction> waveform_from(const Options& options, std::size_t option) {
    const Value* value = options.value(option);
    if (is_record(value) && entries_of(value) != 1) {
        options.refuse(option, "one waveform for all elements, not " +
                                   std::to_string(entries_of(value)) + " of them");
    }
    check_excitation(value);
    Waveforms waveforms = waveforms_from(value, 1, true);
    waveforms.front()->set_exact(true);
    return std::move(waveforms.front());
}

void read_signal(EchoRequest& request, const Options& options) {
    if (!options.given(EchoOption::time) || !options.given(EchoOption::excitation)) {
        throw InputError(std::string("pulse_echo needs the options 'time', made by ") +
                         host_words.times_maker + ", and 'excitation', made by " +
                         host_words.waveform_maker + ", or 'f0' (Hz).");
    }
    check_times(options.value(EchoOption::time));
    advised("Take a larger step or a shorter time axis.",
            [&] { read_times_quietly(request.times, options.value(EchoOption::time)); });
    request.excitation = waveform_from(options, EchoOption::excitation);
    const bool both = options.given(EchoOption::response);
    const auto response = [&](std::size_t option) {
        if (both && options.given(option)) {
            throw InputError(
                std::string("The option 'response' acts both ways: it and the option '") +
                option_names[option] + "' exclude each other.");
        }
        const std::size_t given = both ? EchoOption::response : option;
        return options.given(given) ? waveform_from(options, given) : nullptr;
    };
    request.transmit_response = response(EchoOption::transmit_response);
    request.receive_response = response(EchoOption::receive_response);
}

// What losses by a power law leave open, the frequency at which the speed of sound is the medium's,
// becomes the middle of the band.
void read_frequencies(EchoRequest& request, const Options& options) {
    for (const std::size_t option : {EchoOption::time, EchoOption::excitation, EchoOption::response,
                                     EchoOption::transmit_response, EchoOption::receive_response}) {
        if (options.given(option)) {
            throw InputError(std::string("The options 'f0' (spectra) and '") +
                             option_names[option] + "' (signals over time) exclude each other.");
        }
    }
    request.frequencies = options.frequencies(EchoOption::f0);
    if (request.medium._reference_frequency == 0.0) {
        const auto [least, most] =
            std::minmax_element(request.frequencies.begin(), request.frequencies.end());
        request.medium._reference_frequency = 0.5 * (*least + *most);
    }
}

double tolerance_from(const Options& options) {
    constexpr double usual = 1e-3;
    if (!options.given(EchoOption::tolerance)) {
        return usual;
    }
    const std::optional<double> tolerance = single_number(options.value(EchoOption::tolerance));
    if (!tolerance || !(*tolerance >= 1e-12 && *tolerance <= 0.1)) {
        options.refuse(EchoOption::tolerance, "one number from 1e-12 to 0.1" +
                                                  (tolerance ? ", not " + shown(*tolerance) : ""));
    }
    return *tolerance;
}

Options options_of(std::span<const Value* const> arguments) {
    std::vector<OptionName> names;
    for (const char* name : option_names) {
        names.push_back({name});
    }
    return {"pulse_echo", names, arguments, 3};
}

}  // namespace

GivenScatterers::GivenScatterers(const Value* value)
    : positions_(positions_of(value)),
      strengths_(strengths_of(value, positions_.span().size() / 3)) {
    check_finite("positions", positions_.span(), count());
    check_finite("strengths", strengths_.span(), count());
    const Record record(value, "Scatterers");
    exponent_ = has_field(value, "exponent") ? record.number("exponent") : 0.0;
    if (!std::isfinite(exponent_)) {
        record.refuse("exponent", "must be finite, but holds " + shown(exponent_));
    }
    if (exponent_ != 0.0) {
        reference_frequency_ = record.number("reference_frequency");
        if (!(reference_frequency_ > 0.0) || std::isinf(reference_frequency_)) {
            record.refuse("reference_frequency",
                          "must be finite and positive, but holds " + shown(reference_frequency_));
        }
    }
}

void GivenScatterers::read_chunk(std::size_t i, std::vector<Scatterer>& chunk) const {
    const std::span<const double> xyz = positions_.span();
    const std::size_t n = count();
    chunk.clear();
    for (std::size_t k = i * echo_chunk; k < std::min((i + 1) * echo_chunk, n); ++k) {
        chunk.emplace_back(CartesianCoordinate{xyz[k], xyz[n + k], xyz[2 * n + k]},
                           strengths_.span()[k]);
    }
}

EchoScene EchoRequest::scene() const {
    const auto span = [](const std::optional<Numbers>& numbers) {
        return numbers ? numbers->span() : std::span<const double>();
    };
    return {.transmitters = transmitters.echo_elements(),
            .receivers = receivers ? receivers->echo_elements() : EchoElements{},
            .events = {events, span(delays), span(apodization)},
            .exponent = scatterers->exponent(),
            .reference_frequency = scatterers->reference_frequency(),
            .tolerance = tolerance};
}

std::size_t EchoRequest::receiving_channels() const {
    return (receivers ? *receivers : transmitters).channel_count();
}

EchoExtent EchoRequest::extent() const {
    EchoExtent all;
    std::vector<Scatterer> chunk;
    const auto chunks = static_cast<double>(scatterers->chunks());
    for (std::size_t i = 0; i < scatterers->chunks(); ++i) {
        const console::ProgressPart part(static_cast<double>(i) / chunks,
                                         static_cast<double>(i + 1) / chunks);
        scatterers->read_chunk(i, chunk);
        all.include(echo_extent(scene(), chunk));
    }
    return all;
}

EchoPlan EchoRequest::plan(const EchoExtent& extent) const {
    if (!is_over_time()) {
        return {scene(), frequencies, extent};
    }
    return {scene(),
            EchoSignal{times, *excitation, transmit_response.get(), receive_response.get()},
            extent};
}

std::vector<double> EchoRequest::firing_times() const {
    if (delays) {
        return {delays->span().begin(), delays->span().end()};
    }
    const EchoElements senders = transmitters.echo_elements();
    const std::size_t channels = transmitters.channel_count();
    std::vector<double> first(channels, std::numeric_limits<double>::infinity());
    for (std::size_t i = 0; i < senders.elements.size(); ++i) {
        const std::size_t channel =
            senders.channels.empty() ? i : static_cast<std::size_t>(senders.channels[i]);
        first[channel] = std::min(first[channel], senders.elements[i]->time_delay);
    }
    std::vector<double> times;
    for (const double time : first) {
        times.insert(times.end(), events, time);
    }
    return times;
}

void read(EchoRequest& request, CallConsole& console, std::span<const Value* const> arguments) {
    if (arguments.size() < 3) {
        throw InputError(
            "This function needs elements, scatterers and a medium; then options by name and "
            "value.");
    }
    const Options options = options_of(arguments);
    request.threads = options.count(EchoOption::threads).value_or(0);
    options.read_progress(console, EchoOption::progress);
    request.transmitters = array_from(arguments[0], request.medium);
    if (options.given(EchoOption::receivers)) {
        request.receivers = array_from(options.value(EchoOption::receivers), request.medium);
    }
    check_areas(request.receivers ? *request.receivers : request.transmitters);
    check_medium(arguments[2]);
    request.medium = medium_from(arguments[2]);
    read_power_law(request.medium, arguments[2]);
    if (options.given(EchoOption::f0)) {
        read_frequencies(request, options);
    } else {
        read_signal(request, options);
    }
    request.tolerance = tolerance_from(options);
    read_events(request, options);
    request.scatterers.emplace(arguments[1]);
}

}  // namespace kavro
