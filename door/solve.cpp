#include "door/solve.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <new>
#include <utility>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "door/advised.h"
#include "door/call_threads.h"
#include "door/march.h"
#include "door/spectrum.h"
#include "door/values.h"

namespace kavro {
namespace {

using Kind = OperationKind;

bool is_march(Kind kind) {
    return kind == Kind::kzk_transient || kind == Kind::kzk_cw;
}

bool is_complex(Kind kind) {
    return kind == Kind::continuous_wave || kind == Kind::kzk_cw;
}

std::string short_text(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", number);
    return text;
}

void warn_of_missed_tolerance(const SolveRequest& request, const QuadratureReport& report) {
    if (report.unreached == 0) {
        return;
    }
    const CartesianCoordinate worst = request.points.spatial_index_value(report.worst_point);
    console::warn(("The tolerance is not reached at " + std::to_string(report.unreached) + " of " +
                   std::to_string(report.points) + " points; the worst error there is about " +
                   short_text(report.worst_error) + " of an element's field, at [" +
                   short_text(worst.x) + " " + short_text(worst.y) + " " + short_text(worst.z) +
                   "] m. " + text_of(report.reason) +
                   (report.reason == Shortfall::band
                        ? " Take a larger tolerance, or a lossless method.\n"
                        : " Take a larger tolerance, or give more abscissas by 'ndiv'.\n"))
                      .c_str());
}

void append_sizes(SolveResult& result, std::initializer_list<int> sizes) {
    for (const int size : sizes) {
        result.sizes[result.dimensions++] = size;
    }
}

void set_sizes(SolveResult& result, const SolveRequest& request) {
    const CoordinateGrid& points = request.points;
    const auto elements = static_cast<int>(request.elements.size());
    if (result.kind == Kind::arrival_times) {
        return append_sizes(result, {elements, 2});
    }
    if (is_march(result.kind)) {
        append_sizes(result, {points.nx, points.nz});
    } else if (points.regular) {
        append_sizes(result, {points.nx, points.ny, points.nz});
    } else {
        append_sizes(result, {points.npoints});
    }
    if (result.kind == Kind::kzk_cw) {
        append_sizes(result, {harmonics_of(request)});
    } else if (result.kind != Kind::continuous_wave && request.measures.empty()) {
        append_sizes(result, {request.times.ntimes});
    } else if (!request.frequencies.empty()) {
        append_sizes(result, {count_of(request.frequencies.size(), "frequencies")});
    }
    if (request.per_element) {
        append_sizes(result, {elements});
    }
}

// How many values there are of the field of one element, and so of all.
std::size_t field_size(const SolveRequest& request, Kind kind) {
    const auto points = static_cast<std::size_t>(request.points.npoints);
    switch (kind) {
        case Kind::continuous_wave:
            return points * std::max<std::size_t>(request.frequencies.size(), 1);
        case Kind::kzk_cw:
            return points * static_cast<std::size_t>(harmonics_of(request));
        default:
            return points * static_cast<std::size_t>(request.times.ntimes);
    }
}

// The extents of the pressure with three components more: behind the points, before the elements.
void make_velocity(const SolveRequest& request, SolveResult& result) {
    constexpr const char* what = "output values";
    SolveResult shape = result;
    if (request.per_element) {
        --shape.dimensions;
        append_sizes(shape, {3, static_cast<int>(request.elements.size())});
    } else {
        append_sizes(shape, {3});
    }
    const std::int32_t count = checked_product(shape.extents(), what);
    require_memory(static_cast<std::size_t>(count), 2 * sizeof(double), what);
    result.velocity = new_zeros(shape.extents(), true);
    result.velocity_values = {real_parts(result.velocity), imaginary_parts(result.velocity)};
}

// Checked here because a host that runs out of memory may not live to tell.
void make_values(const SolveRequest& request, SolveResult& result) {
    constexpr const char* what = "output values";
    const bool complex = is_complex(result.kind);
    const std::int32_t count = checked_product(result.extents(), what);
    const std::size_t arrays = complex ? 2 : std::max<std::size_t>(request.measures.size(), 1);
    require_memory(static_cast<std::size_t>(count), arrays * sizeof(double), what);
    if (!request.measures_in_record) {
        result.values = new_zeros(result.extents(), complex);
        result.measured[0] = real_parts(result.values);
        if (request.velocity) {
            make_velocity(request, result);
        }
        return;
    }
    result.values = new_record();
    for (std::size_t i = 0; i < request.measures.size(); ++i) {
        Result* measure = new_zeros(result.extents(), false);
        result.measured[i] = real_parts(measure);
        add_field(result.values, measure_names()[static_cast<std::size_t>(request.measures[i])],
                  measure);
    }
}

// Element by element in order; `after` is told when element i is solved.
template <class After>
TransducerStatus solve_each(SolveRequest& request, After after) {
    const auto all = static_cast<double>(request.elements.size());
    for (std::size_t i = 0; i < request.elements.size(); ++i) {
        const console::ProgressPart part(static_cast<double>(i) / all,
                                         static_cast<double>(i + 1) / all);
        Transducer& element = *request.elements[i].transducer;
        request.working_rule = request.rule;  // the element before may have refilled it
        const TransducerStatus status = is_march(request.operation->kind)
                                            ? march(request, element)
                                            : (element.*request.operation->solve)();
        if (status != status_success) {
            return status;
        }
        after(i);
        console::progress(1.0);
        if (console::interrupted()) {
            return status_interrupted;
        }
    }
    return status_success;
}

// The next element's output begins `stride` values later.
void set_outputs(const SolveRequest& request, double* real, double* imaginary, std::size_t stride) {
    std::size_t begin = 0;
    for (const RequestedElement& element : request.elements) {
        if (is_complex(request.operation->kind)) {
            element.transducer->set_complex_pressure_pointers(real + begin, imaginary + begin);
        } else {
            element.transducer->set_transient_pressure_pointer(real + begin);
        }
        begin += stride;
    }
}

// Where the measures of element i go, or of all.
std::vector<MeasureOutput> measure_outputs(const SolveRequest& request, const SolveResult& result,
                                           std::size_t i = 0) {
    std::vector<MeasureOutput> outputs;
    for (std::size_t m = 0; m < request.measures.size(); ++m) {
        outputs.push_back(
            {request.measures[m],
             result.measured[m] + i * static_cast<std::size_t>(request.points.npoints)});
    }
    return outputs;
}

// Adds the report of element or frequency i to that of those before.
void add_all_but_counts(const QuadratureReport& own, std::size_t i, QuadratureReport& all) {
    if (own.fewest > 0) {
        all.fewest = all.fewest > 0 ? std::min(all.fewest, own.fewest) : own.fewest;
    }
    all.most = std::max(all.most, own.most);
    all.mean += (own.mean - all.mean) / static_cast<double>(i + 1);
    if (own.worst_error > all.worst_error) {
        all.worst_error = own.worst_error;
        all.worst_point = own.worst_point;
        all.reason = own.reason;
    }
}

// Element by element, each by itself: `solve` is told its number and where its report goes.
template <class Solve>
TransducerStatus solve_apart(std::size_t elements, QuadratureReport& report, Solve solve) {
    const auto all = static_cast<double>(elements);
    for (std::size_t i = 0; i < elements; ++i) {
        const console::ProgressPart part(static_cast<double>(i) / all,
                                         static_cast<double>(i + 1) / all);
        QuadratureReport own;
        const TransducerStatus status = solve(i, own);
        add_all_but_counts(own, i, report);
        // A point counts for each element.
        report.points += own.points;
        report.unreached += own.unreached;
        if (status != status_success) {
            return status;
        }
    }
    return status_success;
}

TransducerStatus solve_measures(SolveRequest& request, SolveResult& result) {
    const std::vector<Transducer*> elements = request.transducers();
    const Method method = request.operation->method;
    if (!request.per_element) {
        return measure(method, elements, measure_outputs(request, result), &result.quadrature);
    }
    return solve_apart(elements.size(), result.quadrature, [&](std::size_t i, auto& report) {
        return measure(method, {&elements[i], 1}, measure_outputs(request, result, i), &report);
    });
}

TransducerStatus solve_with_velocity(SolveRequest& request, SolveResult& result) {
    const std::vector<Transducer*> elements = request.transducers();
    if (!request.per_element) {
        return solve_velocity(elements, result.velocity_values, Output::all_zero,
                              &result.quadrature);
    }
    const std::size_t stride = 3 * field_size(request, result.kind);
    return solve_apart(elements.size(), result.quadrature, [&](std::size_t i, auto& report) {
        const VelocityOutput own{result.velocity_values.real + i * stride,
                                 result.velocity_values.imaginary + i * stride};
        return solve_velocity({&elements[i], 1}, own, Output::all_zero, &report);
    });
}

// In reference mode a method may refill its rule, and none is to read what another has left.
class OwnRules {
public:
    explicit OwnRules(const SolveRequest& request) {
        rules_.reserve(request.elements.size());
        for (const RequestedElement& element : request.elements) {
            if (!element.transducer->exact()) {
                element.transducer->set_integral_pointer(&rules_.emplace_back(request.rule));
            }
        }
    }

private:
    std::vector<NumericalIntegration> rules_;
};

// At all frequencies, the field of one behind that of the one before.
TransducerStatus solve_frequencies(SolveRequest& request, SolveResult& result, std::size_t stride) {
    const std::vector<double>& frequencies = request.frequencies;
    if (is_solved_as_comb(request)) {
        drop_delays_that_do_not_count(request);
        set_outputs(request, result.real, result.imaginary, stride);
        return solve_spectrum(request.transducers(), frequencies, &result.quadrature);
    }
    PhasesByFrequency phases(request);
    const auto all = static_cast<double>(frequencies.size());
    const auto points = static_cast<std::size_t>(request.points.npoints);
    for (std::size_t f = 0; f < frequencies.size(); ++f) {
        const console::ProgressPart part(static_cast<double>(f) / all,
                                         static_cast<double>(f + 1) / all);
        const OwnRules rules(request);
        phases.turn_to(frequencies[f]);
        set_outputs(request, result.real + f * points, result.imaginary + f * points, stride);
        QuadratureReport own;
        const TransducerStatus status =
            request.operation->solve_array(request.transducers(), Output::all_zero, &own);
        add_all_but_counts(own, f, result.quadrature);
        result.quadrature.points = std::max(result.quadrature.points, own.points);
        result.quadrature.unreached = std::max(result.quadrature.unreached, own.unreached);
        if (status != status_success) {
            return status;
        }
    }
    return status_success;
}

// The results of all elements, added up by themselves in the output.
TransducerStatus solve_added(SolveRequest& request, SolveResult& result) {
    const std::size_t stride = request.per_element ? field_size(request, result.kind) : 0;
    if (!request.frequencies.empty()) {
        return solve_frequencies(request, result, stride);
    }
    const OwnRules rules(request);
    if (!request.measures.empty()) {
        return solve_measures(request, result);
    }
    set_outputs(request, result.real, result.imaginary, stride);
    if (request.velocity) {
        return solve_with_velocity(request, result);
    }
    return request.operation->solve_array(request.transducers(), Output::all_zero,
                                          &result.quadrature);
}

// The marches store their results: each element's is added from a buffer of its own.
TransducerStatus solve_stored(SolveRequest& request, SolveResult& result) {
    const bool complex = is_complex(result.kind);
    const bool measures = !request.measures.empty();
    const std::size_t count = field_size(request, result.kind);
    require_memory(count, (complex || measures ? 2 : 1) * sizeof(double), "output values");
    // One more value than needed, so that there is a place to point to.
    std::vector<double> real(count + 1), imaginary(complex ? count + 1 : 0);
    std::vector<double> sum(measures ? count + 1 : 0);
    set_outputs(request, real.data(), imaginary.data(), 0);
    const auto add = [count](std::vector<double>& values, double* to) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] += std::exchange(values[i], 0.0);
        }
    };
    return solve_each(request, [&](std::size_t i) {
        const std::size_t begin = request.per_element ? i * count : 0;
        add(real, measures ? sum.data() : result.real + begin);
        if (complex) {
            add(imaginary, result.imaginary + begin);
        }
        if (measures && (request.per_element || i + 1 == request.elements.size())) {
            measure_field(request.times, sum.data(), request.points.npoints,
                          measure_outputs(request, result, request.per_element ? i : 0));
            std::fill(sum.begin(), sum.end(), 0.0);
        }
    });
}

TransducerStatus solve_arrival_times(SolveRequest& request, SolveResult& result) {
    const std::size_t n = request.elements.size();
    return solve_each(request, [&](std::size_t i) {
        const Transducer& element = *request.elements[i].transducer;
        result.real[i] = element.get_impulse_begin_time();
        result.real[n + i] = element.get_impulse_end_time();
    });
}

void check_status(TransducerStatus status) {
    switch (status) {
        case status_success:
            return;
        case status_not_implemented:
            throw InputError("This function is not implemented for this transducer shape.");
        case status_out_of_memory:
            throw std::bad_alloc();
        case status_interrupted:
            throw InputError("The call was interrupted.");
        default:
            throw InputError(
                "An unspecified error occurred. See this function's documentation for details.");
    }
}

}  // namespace

void SolveRequest::attach() {
    working_rule = rule;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Transducer& element = *elements[i].transducer;
        element.set_global_coordinate_grid(&points);
        element.set_time_vector(&times);
        element.set_medium(&medium);
        element.set_integral_pointer(&working_rule);
        if (!waveforms.empty()) {
            element.excitation = waveforms[waveforms.size() > 1 ? i : 0].get();
        }
    }
}

std::vector<Transducer*> SolveRequest::transducers() const {
    std::vector<Transducer*> all;
    for (const RequestedElement& element : elements) {
        all.push_back(element.transducer.get());
    }
    return all;
}

void SolveRequest::lack(const std::string& what) const {
    throw InputError(std::string(operation->name) + " needs " + what + ".");
}

void SolveRequest::refuse(std::size_t element, const std::string& complaint) const {
    throw InputError(std::string(operation->name) + ", element " +
                     std::to_string(element + host_words.first) + ": " + complaint);
}

SolveResult new_result(const SolveRequest& request) {
    // Nothing here on the heap: a host may fail to make the array, and abandon the call.
    SolveResult result;
    result.kind = request.operation->kind;
    set_sizes(result, request);
    advised(is_march(result.kind) ? "Take fewer points or instants." : host_words.smaller_output,
            [&] { make_values(request, result); });
    static double no_value = 0.0;
    const bool is_array = !request.measures_in_record;
    double* real = is_array ? real_parts(result.values) : nullptr;
    double* imaginary =
        is_array && is_complex(result.kind) ? imaginary_parts(result.values) : nullptr;
    result.real = real != nullptr ? real : &no_value;
    result.imaginary = imaginary != nullptr ? imaginary : &no_value;
    return result;
}

Result* new_report(const SolveRequest& request, const SolveResult& result) {
    Result* report = new_record();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const QuadratureReport& quadrature = result.quadrature;
    add_field(report, "method", new_text(request.operation->name));
    if (request.tolerance > 0.0) {
        add_numbers(report, "tolerance", {request.tolerance});
        add_numbers(report, "abscissas",
                    {static_cast<double>(quadrature.fewest), quadrature.mean,
                     static_cast<double>(quadrature.most)});
    } else {
        const double n = request.rule.get_npoints();
        add_numbers(report, "tolerance", {none});
        add_numbers(report, "abscissas", {n, n, n});
    }
    const bool missed = quadrature.worst_point >= 0;
    const CartesianCoordinate worst =
        missed ? request.points.spatial_index_value(quadrature.worst_point)
               : CartesianCoordinate(none, none, none);
    add_numbers(report, "points", {static_cast<double>(quadrature.points)});
    add_numbers(report, "unreached", {static_cast<double>(quadrature.unreached)});
    add_numbers(report, "worst_error", {quadrature.worst_error});
    add_numbers(report, "worst_point", {worst.x, worst.y, worst.z});
    add_field(report, "reason", new_text(text_of(quadrature.reason)));
    return report;
}

void solve(SolveRequest& request, CallConsole& console, SolveResult& result) {
    console.hold_warnings();
    const CallThreads threads(request.threads);
    request.attach();
    if (is_march(result.kind)) {
        // A march prints its nonlinearity, and a disc's its shock: neither is of use here.
        console.hand_prints_to([](const char*) {});
        result.status = solve_stored(request, result);
    } else if (result.kind == Kind::arrival_times) {
        result.status = solve_arrival_times(request, result);
    } else {
        result.status = solve_added(request, result);
    }
    warn_of_missed_tolerance(request, result.quadrature);
    result.warnings = console.release_warnings();
}

void finish(CallConsole& console, const std::vector<std::string>& warnings,
            TransducerStatus status) {
    for (const std::string& warning : warnings) {
        host_warn(warning.c_str());
    }
    console.end_progress(status == status_success);
    check_status(status);
}

}  // namespace kavro
