#include "door/read.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include "core/console.h"
#include "core/input_error.h"
#include "door/checks.h"
#include "door/coordinate_grid.h"
#include "door/excitation.h"
#include "door/march.h"
#include "door/medium.h"
#include "door/options.h"
#include "door/time_samples.h"
#include "door/transducers.h"
#include "door/values.h"

namespace kavro {
namespace {

using Kind = OperationKind;

const Operation& operation_from(const Value* name) {
    const std::optional<std::string> text = text_of(name);
    if (!text) {
        throw InputError("The first argument must be the name of a method.");
    }
    const Operation* operation = operation_of(*text);
    if (operation == nullptr) {
        std::string known;
        for (const Operation& other : operations()) {
            known.append(known.empty() ? "" : ", ").append(other.name);
        }
        throw InputError("There is no method '" + shown(*text) + "'. The methods are " + known +
                         ".");
    }
    return *operation;
}

// The option's value, without which the operation cannot do.
const Value* needed(const SolveRequest& request, const SolveOptions& options, Option option,
                    const std::string& described) {
    if (!options.given(option)) {
        request.lack("the option " + described);
    }
    return options.value(option);
}

void read_manners(SolveRequest& request, CallConsole& console, const SolveOptions& options) {
    request.threads = options.count(Option::threads).value_or(0);
    const Value* progress = options.value(Option::progress);
    if (progress != nullptr && is_function(progress)) {
        console.hand_progress_to(progress);
    } else if (const auto on = options.yes_or_no(
                   Option::progress, std::string("true, false or a ") + host_words.function)) {
        console.show_progress_line(*on);
    }
}

void check_that_shapes_have_it(const SolveRequest& request) {
    for (std::size_t i = 0; i < request.elements.size(); ++i) {
        const Shape& shape = *request.elements[i].shape;
        if (!implements(*request.operation, shape)) {
            throw InputError(std::string(request.operation->name) + ", shape '" + shape.identifier +
                             "' (" + shape.name + "), element " +
                             std::to_string(i + host_words.first) +
                             ": This function is not implemented for this transducer shape.");
        }
    }
}

void read_elements(SolveRequest& request, const SolveOptions& options, const Value* array) {
    count_of_elements(array);
    request.elements = elements_from(array, ShapeName::whole);
    check_that_shapes_have_it(request);
    check_elements(array, request.elements);
    set_phases(request.elements, array);
    if (request.operation->uses(input_apodization)) {
        set_apodizations(request.elements, array, options.value(Option::apodization));
    }
    const bool exact = options.yes_or_no(Option::exact).value_or(true);
    for (const RequestedElement& element : request.elements) {
        element.transducer->set_exact(exact);
    }
}

void read_frequency(SolveRequest& request, const SolveOptions& options, const Value* medium) {
    // A medium of the library has a centre frequency; the host's may have.
    const std::optional<double> own = single_number(field_of(medium, 0, "f0"));
    const double f0 = options.frequency(Option::f0).value_or(own.value_or(0.0));
    if (!(f0 > 0.0) || std::isinf(f0)) {
        request.lack("the option 'f0' (Hz)");
    }
    request.medium._f0 = f0;
}

// The reader prints every instant of a list, which was wanted of it once and is not here.
void read_times_quietly(TimeSamples& times, const Value* value) {
    std::optional<console::Connection> quiet;
    if (is_record(value) && holds_real_numbers(field_of(value, 0, "time_samples"))) {
        quiet.emplace(console::Port{.print = [](const char*) {}});
    }
    read_times(times, value);
}

void check_waveform(const SolveRequest& request, std::size_t i) {
    const ExcitationFunction& waveform = *request.waveforms[i];
    const WaveformDemand demand = request.operation->waveform_demand;
    const bool sampled = waveform.has_complex_decomposition();
    if (demand == WaveformDemand::sampled && !sampled) {
        request.refuse(i, "this method needs a sampled waveform, not a pulse.");
    }
    if (demand == WaveformDemand::centre_frequency && !(waveform.f0 > 0.0)) {
        request.refuse(
            i, sampled
                   ? "this method needs a pulse with a centre frequency, not a sampled "
                     "waveform."
                   : "this method needs a pulse of positive 'f0', not " + shown(waveform.f0) + ".");
    }
    if (request.operation->method == Method::fnm_spectral && request.medium._dBcmMHz != 0.0 &&
        !(waveform.centre_frequency() > 0.0) && request.medium._reference_frequency == 0.0) {
        request.refuse(i,
                       "a waveform without a centre frequency needs the medium's field "
                       "'referencefrequency' (Hz).");
    }
}

void read_waveforms(SolveRequest& request, const SolveOptions& options) {
    const Value* value = needed(request, options, Option::excitation,
                                std::string("'excitation', made by ") + host_words.waveform_maker);
    // A waveform that says whether it is exact is believed, unless the option says otherwise.
    const std::optional<bool> exact = options.yes_or_no(Option::exact);
    request.waveforms = waveforms_from(value, request.elements.size(), true);
    check_excitation(value);
    // Where there are no elements, nobody asks for the waveform that all would share.
    const std::size_t count = std::min(request.waveforms.size(), request.elements.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (exact && request.waveforms[i]->exact() != *exact) {
            request.waveforms[i]->set_exact(*exact);
        }
        check_waveform(request, i);
    }
}

void read_options(SolveRequest& request, const SolveOptions& options) {
    const Operation& operation = *request.operation;
    if (operation.uses(input_time)) {
        const Value* times = needed(request, options, Option::time,
                                    std::string("'time', made by ") + host_words.times_maker);
        check_times(times);
        read_times_quietly(request.times, times);
    }
    if (operation.uses(input_excitation)) {
        read_waveforms(request, options);
    }
    const int ndiv = options.count(Option::ndiv).value_or(std::max(operation.default_ndiv, 1));
    request.rule.allocate_memory(abscissas(ndiv, operation.ndiv_multiple));
    request.rule.gauss_quadrature();
    if (operation.uses(input_kzk)) {
        const std::string described =
            std::string("'kzk', a ") + host_words.options + " with the march's parameters";
        read_march_parameters(request, needed(request, options, Option::kzk, described));
        check_march(request);
    }
}

}  // namespace

void read(SolveRequest& request, CallConsole& console, std::span<const Value* const> arguments) {
    if (arguments.size() < 4) {
        throw InputError(
            "This function needs a method, elements, a grid and a medium; then options by name "
            "and value.");
    }
    const Operation& operation = operation_from(arguments[0]);
    request.operation = &operation;
    const SolveOptions options(operation, arguments, 4);
    read_manners(request, console, options);
    read_elements(request, options, arguments[1]);
    check_grid(arguments[2]);
    read_grid(request.points, arguments[2]);
    check_medium(arguments[3]);
    request.medium = medium_from(arguments[3]);
    const bool exact = options.yes_or_no(Option::exact).value_or(true);
    if (operation.method == Method::fnm_spectral ||
        (operation.kind == Kind::continuous_wave && exact)) {
        read_power_law(request.medium, arguments[3]);
    } else if (operation.kind == Kind::transient || operation.kind == Kind::impulse_response) {
        warn_of_ignored_attenuation(request.medium);
    }
    if (operation.uses(input_frequency)) {
        read_frequency(request, options, arguments[3]);
    }
    read_options(request, options);
}

int abscissas(double n, int multiple) {
    constexpr int smallest = std::numeric_limits<int>::min();
    if (!(n >= smallest)) {
        return smallest;
    }
    const double rounded = n > 0.0 ? std::ceil(n / multiple) * multiple : n;
    if (rounded > std::numeric_limits<int>::max()) {
        throw InputError("Computed number of abscissas is too large.");
    }
    return static_cast<int>(rounded);
}

}  // namespace kavro
