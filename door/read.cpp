#include "door/read.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "door/advised.h"
#include "door/checks.h"
#include "door/choice.h"
#include "door/coordinate_grid.h"
#include "door/excitation.h"
#include "door/march.h"
#include "door/medium.h"
#include "door/options.h"
#include "door/spectrum.h"
#include "door/time_samples.h"
#include "door/transducers.h"
#include "door/values.h"

namespace kavro {
namespace {

using Kind = OperationKind;

const Operation& operation_from(const Value* name) {
    const std::optional<std::string> text = text_of(name);
    if (!text) {
        throw InputError("The first argument must be the name of a method" + contrasted(name) +
                         ".");
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

// What is kept where neither a tolerance nor a number of abscissas is given.
constexpr double default_tolerance_of_waves = 1e-4;
constexpr double default_tolerance = 1e-3;

double tolerance_from(const Operation& operation, const SolveOptions& options) {
    constexpr double least = 1e-12;
    constexpr double most = 0.1;
    const std::optional<double> tolerance = single_number(options.value(Option::tolerance));
    if (options.given(Option::ndiv)) {
        const std::optional<double> ndiv = single_number(options.value(Option::ndiv));
        throw InputError(
            "The options 'tolerance' and 'ndiv' exclude each other: give an accuracy or a number "
            "of abscissas" +
            (tolerance && ndiv ? ", not both " + shown(*tolerance) + " and " + shown(*ndiv) : "") +
            ".");
    }
    const bool single = is_single(operation.method);
    if (!tolerance ||
        !(*tolerance >= (single ? least_tolerance_of_single : least) && *tolerance <= most)) {
        options.refuse(Option::tolerance, std::string("one number from ") +
                                              (single ? "1e-5 (in single precision)" : "1e-12") +
                                              " to 0.1");
    }
    return *tolerance;
}

// The option's value, without which the operation cannot do.
const Value* needed(const SolveRequest& request, const SolveOptions& options, Option::Place option,
                    const std::string& described) {
    if (!options.given(option)) {
        request.lack("the option " + described);
    }
    return options.value(option);
}

void read_manners(SolveRequest& request, CallConsole& console, const SolveOptions& options) {
    request.threads = options.count(Option::threads).value_or(0);
    options.read_progress(console, Option::progress);
}

void check_that_shapes_have_it(const SolveRequest& request) {
    for (std::size_t i = 0; i < request.elements.size(); ++i) {
        const Shape& shape = *request.elements[i].shape;
        if (!implements(*request.operation, shape)) {
            throw InputError(std::string(request.operation->name) + ", shape '" + shape.name +
                             "', element " + std::to_string(i + host_words.first) +
                             ": This function is not implemented for this transducer shape.");
        }
    }
}

void read_elements(SolveRequest& request, const SolveOptions& options, const Value* array) {
    if (count_of_elements(array) == 0) {
        throw InputError("The transducer array has no elements.");
    }
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

}  // namespace

void warn_of_delays_without_phases(const SolveRequest& request) {
    const auto& elements = request.elements;
    const double delay = elements.front().transducer->time_delay;
    const bool delays = std::any_of(elements.begin(), elements.end(), [&](const auto& element) {
        return element.transducer->time_delay != delay;
    });
    const bool phases = std::any_of(elements.begin(), elements.end(), [](const auto& element) {
        return element.transducer->phase != 0.0;
    });
    if (delays && !phases) {
        console::warn(
            "A continuous wave does not read the elements' delays, and their phases are all 0. For "
            "the same focus they must be -2*pi*f0*time_delay.\n");
    }
}

namespace {

void read_frequency(SolveRequest& request, const SolveOptions& options, const Value* medium) {
    if (request.operation->kind == Kind::continuous_wave && options.given(Option::f0)) {
        read_frequencies(request, options);
        return;
    }
    // A medium of the library has a centre frequency; the host's may have.
    const std::optional<double> own = single_number(field_of(medium, 0, "f0"));
    const double f0 = options.frequency(Option::f0).value_or(own.value_or(0.0));
    if (!(f0 > 0.0) || std::isinf(f0)) {
        request.lack("the option 'f0' (Hz)");
    }
    request.medium._f0 = f0;
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
    check_excitation(value);
    request.waveforms = waveforms_from(value, request.elements.size(), true);
    // Where there are no elements, nobody asks for the waveform that all would share.
    const std::size_t count = std::min(request.waveforms.size(), request.elements.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (exact && request.waveforms[i]->exact() != *exact) {
            request.waveforms[i]->set_exact(*exact);
        }
        check_waveform(request, i);
    }
}

// Between limits that are alike but for the sign, what is zero but for rounding.
void set_exact_zero(std::vector<double>& axis, double min, double max, double spacing) {
    for (double& value : axis) {
        if (min == -max && std::fabs(value) < 1e-9 * spacing) {
            value = 0.0;
        }
    }
}

void set_exact_zeros(CoordinateGrid& grid) {
    if (grid.regular) {
        set_exact_zero(grid.xcoords, grid.xmin, grid.xmax, grid.deltax);
        set_exact_zero(grid.ycoords, grid.ymin, grid.ymax, grid.deltay);
        set_exact_zero(grid.zcoords, grid.zmin, grid.zmax, grid.deltaz);
    }
}

// A tolerance, given or by default, or else a rule.
void read_accuracy(SolveRequest& request, const SolveOptions& options) {
    const Operation& operation = *request.operation;
    const bool exact = options.yes_or_no(Option::exact).value_or(true);
    if (options.given(Option::tolerance)) {
        request.tolerance = tolerance_from(operation, options);
        if (!exact) {
            throw InputError(
                "The option 'tolerance' needs 'exact' to be true: the reference counts "
                "abscissas, by 'ndiv'.");
        }
    } else if (takes_tolerance(operation.method) && exact && !options.given(Option::ndiv)) {
        request.tolerance = operation.kind == Kind::continuous_wave ? default_tolerance_of_waves
                                                                    : default_tolerance;
    }
    if (request.tolerance > 0.0) {
        for (const RequestedElement& element : request.elements) {
            element.transducer->set_tolerance(request.tolerance);
        }
        return;
    }
    const int ndiv = options.count(Option::ndiv).value_or(std::max(operation.default_ndiv, 1));
    advised("Take a smaller 'ndiv'.",
            [&] { request.rule.allocate_memory(abscissas(ndiv, operation.ndiv_multiple)); });
    request.rule.gauss_quadrature();
}

void read_measures(SolveRequest& request, const SolveOptions& options) {
    if (!options.given(Option::measure)) {
        return;
    }
    const Value* value = options.value(Option::measure);
    const std::string expected =
        "one of " + quoted_list(measure_names()) + ", or a " + host_words.list + " of them";
    const auto names = texts_of(value);
    if (!names || names->empty()) {
        options.refuse(Option::measure, expected);
    }
    for (const std::string& name : *names) {
        const std::optional<Measure> measure = measure_of(name);
        if (!measure) {
            options.refuse(Option::measure, expected, ", not '" + shown(name) + "'");
        }
        if (std::find(request.measures.begin(), request.measures.end(), *measure) !=
            request.measures.end()) {
            throw InputError("The measure '" + name + "' is given twice.");
        }
        request.measures.push_back(*measure);
    }
    request.measures_in_record = !is_text(value) && !text_of(value);
}

void read_options(SolveRequest& request, const SolveOptions& options) {
    const Operation& operation = *request.operation;
    if (operation.uses(input_time)) {
        const Value* times = needed(request, options, Option::time,
                                    std::string("'time', made by ") + host_words.times_maker);
        check_times(times);
        advised("Take a larger step or a shorter time axis.",
                [&] { read_times_quietly(request.times, times); });
    }
    if (operation.uses(input_excitation)) {
        read_waveforms(request, options);
    }
    read_accuracy(request, options);
    read_measures(request, options);
    request.per_element = options.yes_or_no(Option::per_element).value_or(false);
    request.velocity = options.yes_or_no(Option::velocity).value_or(false);
    if (request.velocity && !request.frequencies.empty()) {
        throw InputError("The option 'velocity' takes one frequency, not several.");
    }
    if (operation.uses(input_kzk)) {
        read_march_parameters(request, options.value(Option::kzk));
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
    request.explains_silence = true;
    const bool names_none = text_of(arguments[0]) == "auto";
    if (names_none) {
        console.speak_for("kavro.pressure");
    }
    const Operation& operation = names_none
                                     ? operation_asked_for(arguments.subspan(4), arguments[3])
                                     : operation_from(arguments[0]);
    request.operation = &operation;
    const SolveOptions options(operation, arguments, 4);
    read_manners(request, console, options);
    read_elements(request, options, arguments[1]);
    check_grid(arguments[2]);
    advised("Take larger spacings, or compute in parts: several grids of fewer points.",
            [&] { read_grid(request.points, arguments[2]); });
    set_exact_zeros(request.points);
    check_medium(arguments[3]);
    request.medium = medium_from(arguments[3]);
    const bool exact = options.yes_or_no(Option::exact).value_or(true);
    if (operation.method == Method::fnm_spectral ||
        (operation.kind == Kind::continuous_wave && exact)) {
        read_power_law(request.medium, arguments[3]);
    } else if (operation.kind == Kind::transient || operation.kind == Kind::impulse_response) {
        warn_of_ignored_attenuation(request.medium);
    }
    if (operation.kind == Kind::continuous_wave && !names_none) {
        warn_of_delays_without_phases(request);
    }
    if (operation.uses(input_frequency)) {
        read_frequency(request, options, arguments[3]);
    }
    read_options(request, options);
    if (names_none && operation.kind == Kind::continuous_wave) {
        request.delays_count = delays_stand_for_phases(request);
        if (request.delays_count && request.frequencies.empty()) {
            turn_delays_into_phases(request);
        }
    } else if (names_none && operation.method == Method::fnm_tsd && request.tolerance > 0.0) {
        request.attach();
        request.operation = goes_by_frequencies(request) ? operation_of("fnm_spectral")
                                                         : &in_fitting_precision(request);
    }
}

int abscissas(double n, int multiple) {
    constexpr int smallest = std::numeric_limits<int>::min();
    if (!(n >= smallest)) {
        return smallest;
    }
    const double rounded = n > 0.0 ? std::ceil(n / multiple) * multiple : n;
    if (rounded > std::numeric_limits<int>::max()) {
        refuse_count(rounded, "abscissas");
    }
    return static_cast<int>(rounded);
}

}  // namespace kavro
