#include "transducers/methods/point_series.h"

#include <memory>

#include "transducers/methods/point_tiles.h"

namespace kavro {
namespace {

using Fill = std::function<void(const CartesianCoordinate&, double*)>;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const Fill& fill)
        : element_(element), fill_(fill), series_(*element.time_samples) {}

    void work(int first, int count) override {
        series_.begin();
        for (int lane = 0; lane < count; ++lane) {
            double* values = series_.touch(lane, {0, element_.time_samples->ntimes});
            fill_(element_.rotateTranslate(
                      element_.coordinate_grid->spatial_index_value(first + lane)),
                  values);
        }
        series_.add_to(element_.transient_pressure, element_.coordinate_grid->npoints, first, count,
                       element_.amplitude);
    }

private:
    Transducer& element_;
    const Fill& fill_;
    PointSeries series_;
};

}  // namespace

TransducerStatus add_point_series(Transducer& element, const Fill& fill) {
    return work_in_tiles(element.coordinate_grid->npoints, block_lanes,
                         [&] { return std::make_unique<Worker>(element, fill); });
}

}  // namespace kavro
