#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

#include "core/counts.h"
#include "transducers/blocks/point_series.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {
namespace {

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const SurfaceRows<double>& surface, double prefactor)
        : element_(element),
          surface_(surface),
          factor_(element.amplitude * prefactor),
          times_(*element.time_samples),
          row_(surface.samples_per_row()),
          series_(times_, element.coordinate_grid->npoints) {}

    void work(int first, int count) override {
        series_.begin();
        Lanes<CartesianCoordinate> points;
        for (int lane = 0; lane < count; ++lane) {
            points[static_cast<std::size_t>(lane)] = element_.rotateTranslate(
                element_.coordinate_grid->spatial_index_value(first + lane));
        }
        for (int i = 0; i < surface_.rows(); ++i) {
            surface_.fill(i, row_);
            for (int lane = 0; lane < count; ++lane) {
                const CartesianCoordinate& p = points[static_cast<std::size_t>(lane)];
                if (surface_.reaches(p)) {
                    add_row(lane, p);
                }
            }
        }
        series_.add_to(element_.transient_pressure, element_.coordinate_grid->npoints, first, count,
                       factor_);
    }

private:
    void add_row(int lane, CartesianCoordinate p) {
        if (surface_.is_half_of_axisymmetric()) {
            p = {std::sqrt(p.x * p.x + p.y * p.y), 0.0, p.z};
        }
        const double c = element_.medium->_soundspeed;
        for (std::size_t s = 0; s < row_.x.size(); ++s) {
            const double dx = p.x - row_.x[s];
            const double dy = p.y - row_.y[s];
            const double dz = p.z - row_.z[s];
            const double R = std::sqrt(dx * dx + dy * dy + dz * dz);
            const double area = row_.row_weight * row_.weight[s];
            const bool near = R * R <= std::abs(area) * averaged_within(element_);
            add_wave(lane, R / c, near ? mean_share(area) : area / R);
        }
    }

    void add_wave(int lane, double tau, double weight) {
        const SampleWindow window = samples_with_pulse(tau + element_.time_delay);
        double* series = series_.touch(lane, window);
        for (int j = window.begin; j < window.end; ++j) {
            spend(1 + element_.excitation->n_terms);
            const double t = times_.time_index_value(j);
            series[j] += element_.excitation->derivative(t - tau - element_.time_delay) * weight;
        }
    }

    // Every sample at which a pulse that arrives at `arrival` may not be zero.
    SampleWindow samples_with_pulse(double arrival) const {
        if (times_.deltat() == 0.0) {
            return {0, times_.ntimes};
        }
        const double u = (arrival - times_.time_index_value(0)) / times_.deltat();
        const double length = element_.excitation->w / times_.deltat();
        return {clamped_index(std::floor(u) - 1.0, times_.ntimes),
                clamped_index(std::ceil(u + length) + 2.0, times_.ntimes)};
    }

    Transducer& element_;
    const SurfaceRows<double>& surface_;
    const double factor_;
    const TimeSamples& times_;
    SurfaceRow<double> row_;
    PointSeries series_;
};

}  // namespace

TransducerStatus solve_rayleigh_transient(Transducer& element, const SurfaceRows<double>& surface,
                                          double prefactor) {
    return work_in_tiles(element.coordinate_grid->npoints, block_lanes,
                         [&] { return std::make_unique<Worker>(element, surface, prefactor); });
}

}  // namespace kavro
