// A bowl's transient pressure: directly, decomposed, and in low precision.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "core/console.h"
#include "transducers/blocks/guarded.h"
#include "transducers/decomposition/time_space_decomposition.h"
#include "transducers/methods/direct_transient.h"
#include "transducers/spherical/methods.h"

namespace kavro {
namespace {

// Memory for the series of points that are solved apart.
constexpr std::size_t series_memory = std::size_t{32} << 20;

template <class Real>
auto edge_maker(const SphericalGeometry& geometry, SphericalReach reach) {
    return [geometry, reach](const Transducer& element) {
        return std::make_unique<SphericalEdge<Real>>(element, geometry, reach);
    };
}

// An element with another grid and another output, for the lifetime of the object.
class Borrowed {
public:
    Borrowed(Transducer& element, CoordinateGrid& grid, double* output)
        : element_(element),
          grid_(std::exchange(element.coordinate_grid, &grid)),
          output_(std::exchange(element.transient_pressure, output)) {}
    ~Borrowed() {
        element_.coordinate_grid = grid_;
        element_.transient_pressure = output_;
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

private:
    Transducer& element_;
    CoordinateGrid* grid_;
    double* output_;
};

// Adds the double-precision pressure of some of the points, rounded to single precision.
TransducerStatus add_rounded(Transducer& element, const SphericalGeometry& geometry,
                             const std::vector<int>& points) {
    const CoordinateGrid& grid = *element.coordinate_grid;
    const auto n = points.size();
    std::vector<double> columns(3 * n);
    for (std::size_t k = 0; k < n; ++k) {
        const CartesianCoordinate p = grid.spatial_index_value(points[k]);
        columns[k] = p.x;
        columns[n + k] = p.y;
        columns[2 * n + k] = p.z;
    }
    CoordinateGrid apart;
    apart.CoordinateGridVector(columns.data(), static_cast<int>(n));
    const auto ntimes = static_cast<std::size_t>(element.time_samples->ntimes);
    std::vector<double> series(n * ntimes);
    TransducerStatus status = status_success;
    {
        const Borrowed borrowed(element, apart, series.data());
        status = spherical_fnm_tsd(element, geometry, Decomposition::real, SphericalReach::facing);
    }
    for (std::size_t j = 0; j < ntimes; ++j) {
        double* out = element.transient_pressure + j * static_cast<std::size_t>(grid.npoints);
        for (std::size_t k = 0; k < n; ++k) {
            out[points[k]] += static_cast<double>(static_cast<float>(series[j * n + k]));
        }
    }
    return status;
}

// The points that the single-precision edge leaves out.
std::vector<int> points_apart(const Transducer& element, const SphericalGeometry& geometry) {
    std::vector<int> points;
    for (int i = 0; i < element.coordinate_grid->npoints; ++i) {
        const AxialPoint p =
            axial(element.rotateTranslate(element.coordinate_grid->spatial_index_value(i)));
        const bool near = geometry.pole(p).s < geometry.curvature_radius() / 16.0;
        if ((near || geometry.has_nearly_hemispherical_rim()) && !geometry.is_behind(p)) {
            points.push_back(i);
        }
    }
    return points;
}

TransducerStatus add_points_apart(Transducer& element, const SphericalGeometry& geometry,
                                  const std::vector<int>& points) {
    const auto ntimes = static_cast<std::size_t>(element.time_samples->ntimes);
    const std::size_t at_a_time =
        std::max<std::size_t>(series_memory / (sizeof(double) * (ntimes + 1)), block_lanes);
    const auto all = static_cast<double>(points.size());
    for (std::size_t begin = 0; begin < points.size(); begin += at_a_time) {
        const std::size_t end = std::min(begin + at_a_time, points.size());
        const console::ProgressPart part(static_cast<double>(begin) / all,
                                         static_cast<double>(end) / all);
        const TransducerStatus status =
            add_rounded(element, geometry,
                        {points.begin() + static_cast<std::ptrdiff_t>(begin),
                         points.begin() + static_cast<std::ptrdiff_t>(end)});
        if (status != status_success) {
            return status;
        }
    }
    return status_success;
}

}  // namespace

TransducerStatus spherical_fnm_transient(Transducer& element, const SphericalGeometry& geometry,
                                         SphericalReach reach) {
    if (!element.has_transient_records()) {
        return status_failure;
    }
    if (element.is_silent()) {
        return status_success;
    }
    element.InitializeRotationMatrix();
    return guarded([&] {
        return solve_direct_transient(element, SphericalEdge<double>(element, geometry, reach),
                                      ArrivalWindow::inward);
    });
}

TransducerStatus spherical_fnm_tsd(Transducer& element, const SphericalGeometry& geometry,
                                   Decomposition kind, SphericalReach reach) {
    Transducer* const one = &element;
    const DecompositionMethod<double> method{
        .kind = kind,
        .edge_of = edge_maker<double>(geometry, reach),
        .direct_wave = DirectWaveBy::decomposition,
        .direct = reach == SphericalReach::everywhere ? &Transducer::fnm_transient_behind_source
                                                      : &Transducer::fnm_transient};
    return solve_by_decomposition({&one, 1}, method);
}

// Points within d / 16 of the focus are computed in double precision and rounded at the end: rim
// waves and direct wave nearly cancel there, and single-precision coefficients of size d / s would
// leave a thousandth and more. So are all points of a nearly hemispherical bowl.
TransducerStatus spherical_fnm_tsd_low_precision(Transducer& element,
                                                 const SphericalGeometry& geometry) {
    if (!element.has_transient_records()) {
        return status_failure;
    }
    if (element.is_silent()) {
        return status_success;
    }
    if (!is_decomposable(element)) {
        return element.fnm_transient();
    }
    element.InitializeRotationMatrix();
    return guarded([&] {
        const std::vector<int> apart = points_apart(element, geometry);
        const double share =
            1.0 - static_cast<double>(apart.size()) / std::max(element.coordinate_grid->npoints, 1);
        if (!geometry.has_nearly_hemispherical_rim()) {
            const console::ProgressPart part(0.0, share);
            Transducer* const one = &element;
            const TransducerStatus status = solve_in_single_precision(
                {&one, 1}, {.kind = Decomposition::real,
                            .edge_of = edge_maker<float>(geometry, SphericalReach::off_focus),
                            .window_rule = WindowRule::rounded_to<double>,
                            .direct_wave = DirectWaveBy::decomposition});
            if (status != status_success) {
                return status;
            }
        }
        const console::ProgressPart part(share, 1.0);
        return add_points_apart(element, geometry, apart);
    });
}

}  // namespace kavro
