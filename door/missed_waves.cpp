#include "door/missed_waves.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/number_text.h"

namespace kavro {
namespace {

bool is_zero(const SolveRequest& request, const SolveResult& result) {
    const auto count = static_cast<std::size_t>(checked_product(result.extents(), "output values"));
    const auto all_are = [count](const double* values, double number) {
        return std::all_of(values, values + count, [=](double value) { return value == number; });
    };
    if (request.measures.empty()) {
        return all_are(result.real, 0.0);
    }
    for (std::size_t m = 0; m < request.measures.size(); ++m) {
        const bool is_instant = request.measures[m] == Measure::time_of_peak;
        if (!all_are(result.measured[m], is_instant ? request.times.time_index_value(0) : 0.0)) {
            return false;
        }
    }
    return true;
}

bool radiates(const Transducer& element) {
    const ExcitationFunction& waveform = *element.excitation;
    const auto is_nothing = [](double value) { return value == 0.0; };
    return !element.is_silent() &&
           !(waveform.has_complex_decomposition() &&
             std::all_of(waveform.signal.begin(), waveform.signal.end(), is_nothing));
}

// Becomes the list of those points that the element's face looks at.
void take_points_ahead(const CoordinateGrid& points, Transducer& element, CoordinateGrid& ahead) {
    element.InitializeRotationMatrix();
    std::vector<CartesianCoordinate> found;
    for (int i = 0; i < points.npoints; ++i) {
        const CartesianCoordinate point = points.spatial_index_value(i);
        if (element.rotateTranslate(point).z >= 0.0) {
            found.push_back(point);
        }
    }
    std::vector<double> columns(3 * found.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        columns[i] = found[i].x;
        columns[found.size() + i] = found[i].y;
        columns[2 * found.size() + i] = found[i].z;
    }
    if (!found.empty()) {
        ahead.CoordinateGridVector(columns.data(), static_cast<int>(found.size()));
    }
}

// From the first arrival at a point to the end of the last wave (s).
struct Stay {
    double begin = std::numeric_limits<double>::infinity();
    double end = -std::numeric_limits<double>::infinity();

    bool is_empty() const { return !(begin <= end); }
};

Stay stay_of(const SolveRequest& request, Transducer& element) {
    const Method method = request.operation->method;
    CoordinateGrid ahead;
    if (method == Method::fnm_transient_behind_source || method == Method::fnm_tsd_behind_source) {
        ahead = request.points;
    } else {
        take_points_ahead(request.points, element, ahead);
    }
    if (ahead.npoints == 0) {
        return {};
    }
    CoordinateGrid* const points = element.coordinate_grid;
    element.set_global_coordinate_grid(&ahead);
    const TransducerStatus status = element.impulse_begin_and_end_times();
    element.set_global_coordinate_grid(points);
    if (status != status_success) {
        return {};
    }
    return {element.get_impulse_begin_time(),
            element.get_impulse_end_time() + element.excitation->w};
}

}  // namespace

void warn_of_missed_waves(const SolveRequest& request, const SolveResult& result) {
    const std::vector<double>& times = request.times.times;
    if (result.kind != OperationKind::transient || result.status != status_success ||
        times.empty() || request.points.npoints == 0 || !is_zero(request, result)) {
        return;
    }
    Stay all;
    for (Transducer* const element : request.transducers()) {
        const Stay stay = radiates(*element) ? stay_of(request, *element) : Stay{};
        if (stay.is_empty()) {
            continue;
        }
        if (std::any_of(times.begin(), times.end(),
                        [&](double t) { return t >= stay.begin && t <= stay.end; })) {
            return;
        }
        all.begin = std::min(all.begin, stay.begin);
        all.end = std::max(all.end, stay.end);
    }
    if (all.is_empty()) {
        return;
    }
    const auto [first, last] = std::minmax_element(times.begin(), times.end());
    const auto seconds = [](double t) { return number_text(t, "%.4g") + " s"; };
    console::warn(("The pressure is zero everywhere: no instant of the time axis falls into a "
                   "wave. The axis goes from " +
                   seconds(*first) + " to " + seconds(*last) + ", but the first wave arrives at " +
                   seconds(all.begin) + " and the last one is over at " + seconds(all.end) +
                   ". kavro.fit_time_samples makes an axis that holds them all.\n")
                      .c_str());
}

}  // namespace kavro
