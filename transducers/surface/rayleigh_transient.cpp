#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/counts.h"
#include "transducers/blocks/point_series.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {
namespace {

// What a thread computes with.
struct Room {
    SurfaceRow<double> row{0};
    PointSeries series;

    explicit Room(const PointTile& tile) : series(tile.times().ntimes) {}
};

class RayleighTransient : public Share {
public:
    RayleighTransient(const Transducer& element, std::unique_ptr<SurfaceRows<double>> surface,
                      const SurfaceManners& manners, double prefactor)
        : element_(element),
          surface_(std::move(surface)),
          averaged_within_(averaged_within(manners.means_within_rounding)),
          factor_(element.amplitude * prefactor),
          times_(*element.time_samples) {}

    std::size_t bytes() const override {
        return static_cast<std::size_t>(surface_->samples_per_row()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        constexpr int steps_of_sample = 2 * block_lanes;  // without the waveform's
        Room& room = tile.room<Room>([&] { return std::make_shared<Room>(tile); });
        room.row.resize(surface_->samples_per_row());
        for (int b = 0; b < tile.blocks(); ++b) {
            Lanes<CartesianCoordinate> points;
            tile.place(element_, b, points);
            room.series.begin(tile.present(b), tile.spend());
            for (int i = 0; i < surface_->rows(); ++i) {
                tile.spend()(std::int64_t{steps_of_sample} * surface_->samples_per_row());
                surface_->fill(i, room.row);
                for (int lane = 0; lane < tile.present(b); ++lane) {
                    const CartesianCoordinate& p = points[static_cast<std::size_t>(lane)];
                    if (surface_->reaches(p)) {
                        add_row(room, tile.spend(), lane, surface_->turned(p));
                    }
                }
            }
            room.series.add_to(tile, b, factor_);
        }
    }

private:
    void add_row(Room& room, const Spend& spend, int lane, const CartesianCoordinate& p) const {
        const SurfaceRow<double>& row = room.row;
        const double c = element_.medium->_soundspeed;
        for (std::size_t s = 0; s < row.x.size(); ++s) {
            const double dx = p.x - row.x[s];
            const double dy = p.y - row.y[s];
            const double dz = p.z - row.z[s];
            const double R = std::sqrt(dx * dx + dy * dy + dz * dz);
            const double area = row.row_weight * row.weight[s];
            const bool near = R * R <= std::abs(area) * averaged_within_;
            add_wave(room.series, spend, lane, R / c, near ? mean_share(area) : area / R);
        }
    }

    void add_wave(PointSeries& series, const Spend& spend, int lane, double tau,
                  double weight) const {
        const SampleWindow window = samples_with_pulse(tau + element_.time_delay);
        double* values = series.touch(lane, window);
        const std::int64_t steps = 1 + std::int64_t{element_.excitation->n_terms};
        const auto together = static_cast<int>(std::max<std::int64_t>(4096 / steps, 1));
        for (int j = window.begin; j < window.end; ++j) {
            if ((j - window.begin) % together == 0) {
                spend(steps * std::min(together, window.end - j));
            }
            const double t = times_.time_index_value(j);
            values[j] += element_.excitation->derivative(t - tau - element_.time_delay) * weight;
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

    const Transducer& element_;
    const std::unique_ptr<SurfaceRows<double>> surface_;
    const double averaged_within_;
    const double factor_;
    const TimeSamples& times_;
};

}  // namespace

std::unique_ptr<Share> rayleigh_transient_share(const Transducer& element,
                                                std::unique_ptr<SurfaceRows<double>> surface,
                                                const SurfaceManners& manners, double prefactor) {
    return std::make_unique<RayleighTransient>(element, std::move(surface), manners, prefactor);
}

}  // namespace kavro
