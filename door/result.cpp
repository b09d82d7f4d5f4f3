#include "door/result.h"

#include <algorithm>
#include <initializer_list>
#include <limits>

#include "core/counts.h"
#include "door/advised.h"
#include "door/march.h"
#include "door/values.h"

namespace kavro {

using Kind = OperationKind;

bool is_march(Kind kind) {
    return kind == Kind::kzk_transient || kind == Kind::kzk_cw;
}

bool is_complex(Kind kind) {
    return kind == Kind::continuous_wave || kind == Kind::kzk_cw;
}

namespace {

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

}  // namespace

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

}  // namespace kavro
