#include "door/solve.h"

#include <algorithm>
#include <new>
#include <utility>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/number_text.h"
#include "door/call_threads.h"
#include "door/march.h"
#include "door/missed_waves.h"
#include "door/result.h"
#include "door/spectrum.h"

namespace kavro {
namespace {

using Kind = OperationKind;

std::string short_text(double number) {
    return number_text(number, "%.3g");
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
    if (request.explains_silence) {
        warn_of_missed_waves(request, result);
    }
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
